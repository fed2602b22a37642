// Object paths, and CIM-XML elements that hold values: what was read and written reads alike.
#include "CimXml/Decode.h"
#include "CimXml/Encode.h"
#include "Fuzz.h"

#include <QBX_Common.h>

PEGASUS_USING_PEGASUS;

namespace
{

using namespace cimom;

/// The element, as it is written after it was read.
std::string rewritten(const std::string& document)
{
    const XmlElement element = parseXml(document);
    std::string out;
    if (element.name == "INSTANCE")
        xml::appendInstance(out, xml::decodeInstance(element).object());
    else if (element.name == "INSTANCENAME")
        xml::appendInstanceName(out, xml::decodeInstanceName(element));
    else
        xml::appendParamValue(out, xml::decodeParamValue(element));
    return out;
}

void checkElement(const std::string& document)
{
    std::string once;
    try {
        once = rewritten(document);
    } catch (const RequestError& error) {
        fuzz::check(error.status == 400 && isUtf8(error.detail), "a refusal in readable text");
        return;
    }
    fuzz::checkXml(once);
    fuzz::check(rewritten(once) == once, "an element that was written reads alike:\n" + once);
}

void checkPath(const std::string& text)
{
    const CIMObjectPath path(toString(text));
    const CIMObjectPath again(path.toString());
    fuzz::check(again == path && again.toString() == path.toString(),
                "a path that was written reads alike: " + toUtf8(path.toString()));
    fuzz::check(QBX_Common::matchObjectPath(path, again), "a path matches itself");
    if (path.getKeyBindings().size() == 0) return;
    std::string element;
    xml::appendInstanceName(element, path);
    checkElement(element);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::text(data, size);
    try {
        text[0] == '<' ? checkElement(text) : checkPath(text);
    } catch (const Exception&) {
        // What the CIM library refuses.
    }
    return 0;
}
