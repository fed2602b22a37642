#include "CimXml/Service.h"

#include "CimXml/Decode.h"
#include "CimXml/Encode.h"
#include "CimXml/Languages.h"
#include "CimXml/Operations.h"
#include "CimXml/PercentCoding.h"

#include <Pegasus/Common/Exception.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

RequestError mismatch(const std::string& detail)
{
    return RequestError(400, "header-mismatch", detail);
}

String toString(const std::string& text)
{
    return String(text.data(), static_cast<Uint32>(text.size()));
}

bool equalNoCase(const std::string& a, const std::string& b)
{
    return String::equalNoCase(toString(a), toString(b));
}

/// The parts of a message that come before its call.
struct Message
{
    std::string id;
    const XmlElement* call;
};

const XmlElement& childOf(const XmlElement& parent, const std::string& name,
                          const std::string& otherwise)
{
    if (parent.children.empty() || parent.children[0].name != name)
        throw xml::validationError(parent, otherwise);
    return parent.children[0];
}

void checkVersion(const std::string& version, const std::string& what, const std::string& cimError)
{
    if (version.compare(0, 2, "2.") == 0) return;
    throw RequestError(501, cimError, what + " version \"" + version + "\" is not supported.");
}

void checkProtocolVersion(const CimRequest& request, const std::string& version)
{
    const std::string header = request.protocolVersion.value_or("1.0");
    if (header != version) {
        throw mismatch("CIMProtocolVersion value \"" + header +
                       "\" does not match CIM request protocol version \"" + version + "\".");
    }
    if (version.compare(0, 2, "1.") != 0) {
        throw RequestError(501, "unsupported-protocol-version",
                           "CIM protocol version \"" + version + "\" is not supported.");
    }
}

Message readMessage(const CimRequest& request, const XmlElement& root)
{
    if (root.name != "CIM") throw xml::validationError(root, "Expected open of CIM element");
    checkVersion(xml::requiredAttribute(root, "CIMVERSION"), "CIM", "unsupported-cim-version");
    checkVersion(xml::requiredAttribute(root, "DTDVERSION"), "DTD", "unsupported-dtd-version");
    const XmlElement& message = childOf(root, "MESSAGE", "expected MESSAGE element");
    const std::string* id = message.attribute("ID");
    if (!id) throw xml::validationError(message, "Invalid or missing MESSAGE.ID attribute");
    checkProtocolVersion(request, xml::requiredAttribute(message, "PROTOCOLVERSION"));
    if (message.child("MULTIREQ")) {
        if (request.batch) throw RequestError(501, "multiple-requests-unsupported", "");
        throw mismatch("Multi-request is missing CIMBatch HTTP header");
    }
    const XmlElement& simple = childOf(message, "SIMPLEREQ", "Expected open of SIMPLEREQ element");
    const XmlElement* call = simple.children.empty() ? nullptr : &simple.children[0];
    if (!call || (call->name != "IMETHODCALL" && call->name != "METHODCALL")) {
        throw xml::validationError(call ? *call : simple,
                                   "expected IMETHODCALL or METHODCALL element");
    }
    return {*id, call};
}

const std::string& requiredHeader(const std::optional<std::string>& value, const std::string& name)
{
    if (!value) throw mismatch("Missing " + name + " HTTP header.");
    return *value;
}

void checkMethodHeader(const CimRequest& request, const std::string& method, bool anyCase)
{
    const std::string value = percentDecode(requiredHeader(request.method, "CIMMethod"));
    if (value == method || (anyCase && equalNoCase(value, method))) return;
    throw mismatch("CIMMethod value \"" + value + "\" does not match CIM request method \"" +
                   method + "\".");
}

/// The text of a path as the library writes it, with sorted keys; the text itself when it is none.
std::string canonicalPath(const std::string& text)
{
    try {
        return xml::utf8(CIMObjectPath(toString(text)).toString());
    } catch (const Exception&) {
        return text;
    }
}

void checkObjectHeader(const CimRequest& request, const std::string& object, bool isPath)
{
    const std::string value = percentDecode(requiredHeader(request.object, "CIMObject"));
    const std::string bare = value.compare(0, 1, "/") == 0 ? value.substr(1) : value;
    if (equalNoCase(bare, object) || (isPath && equalNoCase(canonicalPath(bare), object))) return;
    throw mismatch("CIMObject value \"" + value + "\" does not match CIM request object \"" +
                   object + "\".");
}

/// The operation's error as a client sees it; code 0 when a provider "failed" with success.
CIMException currentError()
{
    try {
        throw;
    } catch (const CIMException& error) {
        return error;
    } catch (const Exception& error) {
        return CIMException(CIM_ERR_FAILED, error.getMessage());
    } catch (const std::exception& error) {
        return CIMException(CIM_ERR_FAILED, String(error.what()));
    } catch (...) {
        return CIMException(CIM_ERR_FAILED, "Unknown error.");
    }
}

String statusName(CIMStatusCode code)
{
    const bool known = code >= CIM_ERR_FAILED && code <= CIM_ERR_SERVER_IS_SHUTTING_DOWN &&
                       code != 18 && code != 19;
    if (known) return String(cimStatusCodeToString(code));
    const std::string text = "Unrecognized CIM status code \"" + std::to_string(code) + "\"";
    return toString(text);
}

void appendError(std::string& out, const CIMException& error)
{
    if (error.getCode() == CIM_ERR_SUCCESS) return;
    String description = statusName(error.getCode());
    if (error.getMessage().size() != 0) description.append(": ").append(error.getMessage());
    out += "<ERROR CODE=\"" + std::to_string(error.getCode()) + "\" DESCRIPTION=\"";
    xml::appendEscaped(out, description);
    out += "\"/>";
}

/// The whole response; `write` appends the result and may throw.
template <class Write>
std::string response(const std::string& messageId, const std::string& tag, const std::string& name,
                     Write write)
{
    std::string out =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n"
        "<MESSAGE ID=\"";
    xml::appendEscaped(out, toString(messageId));
    out += "\" PROTOCOLVERSION=\"1.0\">\n<SIMPLERSP>\n<" + tag + " NAME=\"" + name + "\">\n";
    const std::size_t start = out.size();
    try {
        write(out);
    } catch (const RequestError&) {
        throw;
    } catch (...) {
        out.resize(start);
        appendError(out, currentError());
    }
    out += "</" + tag + ">\n</SIMPLERSP>\n</MESSAGE>\n</CIM>\n";
    return out;
}

/// Runs a step that only reads the request: what the CIM library refuses in it is not valid.
template <class Read>
auto reading(Read read)
{
    try {
        return read();
    } catch (const CIMException&) {
        throw;
    } catch (const Exception& error) {
        throw RequestError(400, "request-not-valid", xml::utf8(error.getMessage()));
    }
}

CallContext contextOf(ObjectManager& manager, const std::string& hostName,
                      const CimRequest& request)
{
    CallContext context{manager, toString(hostName), OperationContext(), CIMNamespaceName()};
    context.operation.insert(IdentityContainer(toString(request.user)));
    context.operation.insert(
        AcceptLanguageListContainer(parseAcceptLanguage(request.acceptLanguage)));
    context.operation.insert(
        ContentLanguageListContainer(parseContentLanguage(request.contentLanguage)));
    return context;
}

std::string intrinsicResponse(CallContext context, const CimRequest& request,
                              const Message& message)
{
    const XmlElement& call = *message.call;
    const std::string typed = xml::utf8(xml::nameAttribute(call, "NAME").getString());
    const Operation* operation = findOperation(typed);
    const std::string name = operation ? operation->name : typed;
    checkMethodHeader(request, name, true);
    if (call.children.empty())
        throw xml::validationError(call, "expected LOCALNAMESPACEPATH element");
    context.nameSpace = reading([&] { return xml::decodeNamespace(call.children[0]); });
    checkObjectHeader(request, xml::utf8(context.nameSpace.getString()), false);
    return response(message.id, "IMETHODRESPONSE", name, [&](std::string& out) {
        if (!operation) {
            throw CIMException(CIM_ERR_NOT_SUPPORTED,
                               "Unrecognized intrinsic method: " + toString(name));
        }
        const Parameters parameters = reading([&] { return Parameters(*operation, call); });
        operation->run(context, parameters, out);
    });
}

std::string extrinsicResponse(CallContext context, const CimRequest& request,
                              const Message& message)
{
    const XmlElement& call = *message.call;
    const std::string name = xml::utf8(xml::nameAttribute(call, "NAME").getString());
    checkMethodHeader(request, name, false);
    if (call.children.empty() || (call.children[0].name != "LOCALCLASSPATH" &&
                                  call.children[0].name != "LOCALINSTANCEPATH")) {
        throw xml::validationError(call, "Expected LOCALINSTANCEPATH or LOCALCLASSPATH element");
    }
    const CIMObjectPath path = reading([&] { return xml::decodeLocalPath(call.children[0]); });
    context.nameSpace = path.getNameSpace();
    checkObjectHeader(request, xml::utf8(path.toString()), true);
    Array<CIMParamValue> in;
    for (std::size_t i = 1; i < call.children.size(); ++i) {
        if (call.children[i].name != "PARAMVALUE") {
            throw xml::validationError(call.children[i], "Expected PARAMVALUE element");
        }
        in.append(reading([&] { return xml::decodeParamValue(call.children[i]); }));
    }
    return response(message.id, "METHODRESPONSE", name, [&](std::string& out) {
        invokeMethod(context, path, CIMName(toString(name)), in, out);
    });
}

}  // namespace

CimReply answerCimRequest(ObjectManager& manager, const std::string& hostName,
                          const CimRequest& request)
{
    CimReply reply;
    try {
        const XmlElement root = parseXml(request.body, XmlProlog::Required);
        const Message message = readMessage(request, root);
        CallContext context = contextOf(manager, hostName, request);
        const bool intrinsic = message.call->name == "IMETHODCALL";
        reply.body = intrinsic ? intrinsicResponse(std::move(context), request, message)
                               : extrinsicResponse(std::move(context), request, message);
        return reply;
    } catch (const XmlError& error) {
        reply.cimError = error.wellFormed() ? "request-not-valid" : "request-not-well-formed";
        reply.detail = error.what();
        reply.status = 400;
    } catch (const RequestError& error) {
        reply.cimError = error.cimError;
        reply.detail = error.detail;
        reply.status = error.status;
    }
    return reply;
}

}  // namespace cimom
