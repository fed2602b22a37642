#include "CimXml/Service.h"

#include "CimXml/Decode.h"
#include "CimXml/Operations.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

RequestError mismatch(const std::string& detail)
{
    return {400, "header-mismatch", detail};
}

/// The error for a header that differs from the body of the request.
RequestError mismatch(const std::string& header, const std::string& value, const std::string& what,
                      const std::string& inRequest)
{
    return mismatch(header + " value \"" + value + "\" does not match CIM request " + what + " \"" +
                    inRequest + "\".");
}

/// A message: its ID and the operation or method that it calls.
struct Message
{
    std::string id;
    const XmlElement& call;
};

/// The first child, which must have one of these names.
const XmlElement& childOf(const XmlElement& parent, std::initializer_list<const char*> names,
                          const char* error)
{
    for (const char* name : names) {
        if (!parent.children.empty() && parent.children[0].name == name) return parent.children[0];
    }
    throw xml::validationError(parent, error);
}

XmlElement parseMessage(const std::string& body)
{
    if (body.compare(0, 5, "<?xml") == 0) return parseXml(body);
    throw notValid("Validation error: on line 1: Expected <?xml ... ?> style declaration");
}

void checkVersion(const std::string& version, const std::string& supported, const std::string& what,
                  const std::string& cimError)
{
    if (version.compare(0, supported.size(), supported) == 0) return;
    throw RequestError{501, cimError, what + " version \"" + version + "\" is not supported."};
}

void checkProtocolVersion(const CimRequest& request, const std::string& version)
{
    const std::string header = request.protocolVersion.value_or("1.0");
    if (header != version)
        throw mismatch("CIMProtocolVersion", header, "protocol version", version);
    checkVersion(version, "1.", "CIM protocol", "unsupported-protocol-version");
}

Message readMessage(const CimRequest& request, const XmlElement& root)
{
    if (root.name != "CIM") throw xml::validationError(root, "Expected open of CIM element");
    checkVersion(xml::requiredAttribute(root, "CIMVERSION"), "2.", "CIM",
                 "unsupported-cim-version");
    checkVersion(xml::requiredAttribute(root, "DTDVERSION"), "2.", "DTD",
                 "unsupported-dtd-version");
    const XmlElement& message = childOf(root, {"MESSAGE"}, "expected MESSAGE element");
    const std::string* id = message.attribute("ID");
    if (!id) throw xml::validationError(message, "Invalid or missing MESSAGE.ID attribute");
    checkProtocolVersion(request, xml::requiredAttribute(message, "PROTOCOLVERSION"));
    if (message.child("MULTIREQ")) {
        if (request.batch) throw RequestError{501, "multiple-requests-unsupported", ""};
        throw mismatch("Multi-request is missing CIMBatch HTTP header");
    }
    const XmlElement& simple =
        childOf(message, {"SIMPLEREQ"}, "Expected open of SIMPLEREQ element");
    return {*id, childOf(simple, {"IMETHODCALL", "METHODCALL"},
                         "expected IMETHODCALL or METHODCALL element")};
}

const std::string& requiredHeader(const std::optional<std::string>& value, const char* name)
{
    if (!value) throw mismatch(std::string("Missing ") + name + " HTTP header.");
    return *value;
}

void checkMethodHeader(const CimRequest& request, const std::string& method, bool anyCase)
{
    const std::string& value = requiredHeader(request.method, "CIMMethod");
    if (value == method || (anyCase && equalNoCase(value, method))) return;
    throw mismatch("CIMMethod", value, "method", method);
}

/// The text of a path in the library's form, with sorted keys; other text as it is.
std::string canonicalPath(const std::string& text)
{
    try {
        return toUtf8(CIMObjectPath(toString(text)).toString());
    } catch (const Exception&) {
        return text;
    }
}

void checkObjectHeader(const CimRequest& request, const String& expected, bool isPath)
{
    const std::string object = toUtf8(expected);
    const std::string& value = requiredHeader(request.object, "CIMObject");
    const std::string bare = value.compare(0, 1, "/") == 0 ? value.substr(1) : value;
    if (equalNoCase(bare, object) || (isPath && equalNoCase(canonicalPath(bare), object))) return;
    throw mismatch("CIMObject", value, "object", object);
}

void runIntrinsic(CallContext context, const CimRequest& request, const Message& message,
                  ReplyWriter& reply)
{
    const XmlElement& call = message.call;
    const std::string typed = toUtf8(xml::nameAttribute(call, "NAME").getString());
    const Operation* operation = findOperation(typed);
    const std::string name = operation ? operation->name : typed;
    checkMethodHeader(request, name, true);
    context.nameSpace = xml::decodeNamespace(
        childOf(call, {"LOCALNAMESPACEPATH"}, "expected LOCALNAMESPACEPATH element"));
    checkObjectHeader(request, context.nameSpace.getString(), false);
    reply.writeResponse(message.id, "IMETHODRESPONSE", name, [&] {
        if (!operation) {
            throw CIMException(CIM_ERR_NOT_SUPPORTED,
                               toString("Unrecognized intrinsic method: " + name));
        }
        runOperation(*operation, context, call, reply);
    });
}

void runExtrinsic(CallContext context, const CimRequest& request, const Message& message,
                  ReplyWriter& reply)
{
    const XmlElement& call = message.call;
    const CIMName method = xml::nameAttribute(call, "NAME");
    const std::string name = toUtf8(method.getString());
    checkMethodHeader(request, name, false);
    const CIMObjectPath path =
        xml::decodeLocalPath(childOf(call, {"LOCALCLASSPATH", "LOCALINSTANCEPATH"},
                                     "Expected LOCALINSTANCEPATH or LOCALCLASSPATH element"));
    context.nameSpace = path.getNameSpace();
    checkObjectHeader(request, path.toString(), true);
    reply.writeResponse(message.id, "METHODRESPONSE", name,
                        [&] { runMethod(context, path, method, call, reply); });
}

CimReply run(Broker& broker, Enumerations& enumerations, const CimRequest& request)
{
    const XmlElement root = parseMessage(request.body);
    const Message message = readMessage(request, root);
    CallContext context{broker, broker.schema(), enumerations, {}, {}};
    context.identity.insert(IdentityContainer(toString(request.user)));
    const auto reply = std::make_shared<ReplyWriter>();
    const auto run = message.call.name == "IMETHODCALL" ? runIntrinsic : runExtrinsic;
    run(context, request, message, *reply);
    return ReplyWriter::reply(reply);
}

}  // namespace

CimReply answerCimRequest(Broker& broker, Enumerations& enumerations, const CimRequest& request)
{
    try {
        enumerations.closeExpired();
        return run(broker, enumerations, request);
    } catch (const RequestError& error) {
        return {error.status, error.cimError, error.detail, ""};
    } catch (const Exception& error) {
        // The library has refused a name or path in the request; no operation has started.
        return {400, "request-not-valid", toUtf8(error.getMessage()), ""};
    }
}

}  // namespace cimom
