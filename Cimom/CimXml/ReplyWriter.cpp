#include "CimXml/ReplyWriter.h"

#include "CimXml/XmlText.h"
#include "CimXml/XmlTree.h"
#include "Model/Errors.h"
#include "Model/Text.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

/// The ERROR element; none for the code 0, with which a provider "failed" but succeeded.
void appendError(std::string& out, const CIMException& error)
{
    if (error.getCode() == CIM_ERR_SUCCESS) return;
    out += "<ERROR CODE=\"" + std::to_string(error.getCode()) + "\" DESCRIPTION=\"";
    xml::appendEscaped(out, toUtf8(describe(error)));
    out += "\"/>";
}

}  // namespace

void ReplyWriter::writeResponse(const std::string& messageId, const std::string& tag,
                                const std::string& name, const std::function<void()>& writeResult)
{
    text_ =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n"
        "<MESSAGE ID=\"";
    xml::appendEscaped(text_, messageId);
    text_ += "\" PROTOCOLVERSION=\"1.0\">\n<SIMPLERSP>\n<" + tag + " NAME=\"" + name + "\">\n";
    const std::size_t start = text_.size();
    try {
        writeResult();
    } catch (const RequestError&) {
        throw;
    } catch (...) {
        text_.resize(start);
        writeMore_ = nullptr;
        end_.clear();
        const CIMException error = currentError();
        isDenied_ = error.getCode() == CIM_ERR_ACCESS_DENIED;
        appendError(text_, error);
    }
    finish("</" + tag + ">\n</SIMPLERSP>\n</MESSAGE>\n</CIM>\n");
}

void ReplyWriter::writeReturnValue(const std::function<void()>& writeContent)
{
    const std::size_t start = text_.size();
    text_ += "<IRETURNVALUE>\n";
    const std::size_t content = text_.size();
    writeContent();
    if (text_.size() == content && !keepsEmptyReturnValue_) {
        text_.resize(start);
    } else {
        finish("</IRETURNVALUE>\n");
    }
    finish(outputParameters_);
}

void ReplyWriter::addOutputParameter(const std::string& name, const std::string& value)
{
    outputParameters_ += "<PARAMVALUE NAME=\"" + name + "\">\n<VALUE>";
    xml::appendEscaped(outputParameters_, value);
    outputParameters_ += "</VALUE>\n</PARAMVALUE>\n";
}

/// Ends an element, behind the last piece of its content.
void ReplyWriter::finish(const std::string& end)
{
    (writeMore_ ? end_ : text_) += end;
}

/// Appends the next piece of the body; false when that was the last.
bool ReplyWriter::next(std::string& out)
{
    text_.swap(out);  // so that nothing is copied
    const bool hasMore = writeMore_();
    if (!hasMore) text_ += end_;
    text_.swap(out);
    return hasMore;
}

CimReply ReplyWriter::reply(std::shared_ptr<ReplyWriter> writer)
{
    CimReply reply;
    reply.isDenied = writer->isDenied_;
    reply.body.swap(writer->text_);
    if (writer->writeMore_) reply.rest = [writer](std::string& out) { return writer->next(out); };
    return reply;
}

}  // namespace cimom
