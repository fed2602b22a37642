#include "CimXml/Call.h"

#include <algorithm>

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

constexpr Uint32 defaultTimeout = 30;  // seconds
constexpr Uint32 longestTimeout = 90;
constexpr Uint32 mostAtOnce = 10000;  // elements of an Open operation

/// What a client says of the parts that it wants.
struct OpenRequest
{
    Uint32 timeout;  ///< seconds
    Uint32 most;     ///< elements to return at once
};

Uint32 timeout(const Call& c)
{
    const Uint32 seconds = c.number("OperationTimeout").value_or(defaultTimeout);
    if (seconds == 0) {
        throw CIMException(CIM_ERR_INVALID_OPERATION_TIMEOUT,
                           "Operation timeout value of 0 not allowed.");
    }
    if (seconds <= longestTimeout) return seconds;
    throw CIMException(CIM_ERR_INVALID_OPERATION_TIMEOUT,
                       toString("Operation timeout too large. Maximum allowed: " +
                                std::to_string(longestTimeout) + "."));
}

Uint32 mostElements(const Call& c)
{
    const Uint32 most = c.number("MaxObjectCount").value_or(0);
    if (most <= mostAtOnce) return most;
    throw CIMException(
        CIM_ERR_INVALID_PARAMETER,
        toString("Operation maximum object count argument " + std::to_string(most) +
                 " too large. Maximum allowed: " + std::to_string(mostAtOnce) + "."));
}

void refuseFilter(const Call& c)
{
    const bool hasLanguage = c.text("FilterQueryLanguage").size() != 0;
    const bool hasQuery = c.text("FilterQuery").size() != 0;
    if (hasLanguage && hasQuery) {
        throw CIMException(CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED,
                           "Operation does not support FilterQuery parameters");
    }
    if (hasLanguage) {
        throw CIMException(CIM_ERR_FAILED,
                           "filterQueryLanguage parameter without filterQuery parameter");
    }
    if (hasQuery) {
        throw CIMException(CIM_ERR_FAILED,
                           "filterQuery parameter without filterQueryLanguage parameter");
    }
}

OpenRequest openRequest(const Call& c)
{
    if (c.flag("ContinueOnError", false)) {
        throw CIMException(CIM_ERR_NOT_SUPPORTED, "ContinueOnError = true argument not supported.");
    }
    refuseFilter(c);
    return {timeout(c), mostElements(c)};
}

/// The output parameters; the context is empty when there is nothing left to pull.
void addOutputParameters(ReplyWriter& reply, const std::string& context)
{
    reply.addOutputParameter("EndOfSequence", context.empty() ? "TRUE" : "FALSE");
    reply.addOutputParameter("EnumerationContext", context);
}

/// Keeps what is found behind the first elements for the client to pull.
template <class Item>
std::string keep(const Call& c, const OpenRequest& request, OpenEnumeration::Kind kind,
                 const Array<Item>& found, void (xml::Encoder::*writeItem)(const Item&))
{
    OpenEnumeration kept;
    xml::Encoder encoder(kept.elements);
    for (Uint32 i = request.most; i < found.size(); ++i) {
        (encoder.*writeItem)(found[i]);
        kept.ends.push_back(kept.elements.size());
    }
    if (kept.ends.empty()) return "";
    kept.kind = kind;
    kept.user = c.user();
    kept.nameSpace = c.nameSpace;
    kept.timeout = std::chrono::seconds(request.timeout);
    return c.enumerations.open(std::move(kept));
}

/// Returns the first elements of what `find()` finds, and keeps the others.
template <class Find, class Item>
void open(const Call& c, ReplyWriter& reply, OpenEnumeration::Kind kind, Find find,
          void (xml::Encoder::*writeItem)(const Item&))
{
    const OpenRequest request = openRequest(c);
    const Array<Item> found = find();
    addOutputParameters(reply, keep(c, request, kind, found, writeItem));
    reply.writeEach(Array<Item>(found.getData(), std::min(request.most, found.size())), writeItem);
}

template <class Find>
void openInstances(const Call& c, ReplyWriter& reply, Find find)
{
    open(c, reply, OpenEnumeration::Instances, find, &xml::Encoder::writeInstanceWithPath);
}

template <class Find>
void openPaths(const Call& c, ReplyWriter& reply, Find find)
{
    open(c, reply, OpenEnumeration::Paths, find, &xml::Encoder::writeInstancePath);
}

/// The traversal from an instance.
Traversal fromInstance(const Call& c, Traversal::Kind kind)
{
    const CIMObjectPath path =
        Call::present("InstanceName", c.read("InstanceName", xml::decodeObjectName));
    if (path.getKeyBindings().size() == 0)
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "Full Model Path with keys required.");
    return c.traversal(kind, path);
}

template <Traversal::Kind kind>
void openTraversal(const Call& c, ReplyWriter& reply)
{
    openInstances(c, reply, [&c] {
        return c.broker.traverse(c.identity, c.nameSpace, fromInstance(c, kind), c.instanceView());
    });
}

template <Traversal::Kind kind>
void openTraversalPaths(const Call& c, ReplyWriter& reply)
{
    openPaths(c, reply, [&c] {
        return c.broker.traverseNames(c.identity, c.nameSpace, fromInstance(c, kind));
    });
}

std::string enumerationContext(const Call& c)
{
    return toUtf8(
        Call::present("EnumerationContext", c.read("EnumerationContext", xml::decodeText)));
}

template <OpenEnumeration::Kind kind>
void pull(const Call& c, ReplyWriter& reply)
{
    const Uint32 most = Call::present("MaxObjectCount", c.number("MaxObjectCount"));
    const PulledPart part =
        c.enumerations.pull(enumerationContext(c), c.user(), kind, c.nameSpace, most);
    reply.write(part.elements);
    addOutputParameters(reply, part.context);
}

void closeEnumeration(const Call& c, ReplyWriter&)
{
    if (!c.find("EnumerationContext")) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           "The EnumerationContext input parameter is required.");
    }
    c.enumerations.close(enumerationContext(c), c.user());
}

/// These parameters, and those that all Open operations take.
std::vector<std::string> openParameters(std::vector<std::string> own)
{
    own.insert(own.end(), {"FilterQueryLanguage", "FilterQuery", "OperationTimeout",
                           "ContinueOnError", "MaxObjectCount"});
    return own;
}

}  // namespace

const std::vector<Operation> pullOperations = {
    {"OpenEnumerateInstances",
     openParameters({"ClassName", "DeepInheritance", "IncludeClassOrigin", "PropertyList"}),
     [](const Call& c, ReplyWriter& reply) {
         openInstances(c, reply, [&c] {
             return c.broker.enumerateInstances(c.identity, c.nameSpace, c.requiredClassName(),
                                                c.deep(true), c.instanceView(), PathForm::Full);
         });
     }},
    {"OpenEnumerateInstancePaths", openParameters({"ClassName"}),
     [](const Call& c, ReplyWriter& reply) {
         openPaths(c, reply, [&c] {
             return c.broker.enumerateInstanceNames(c.identity, c.nameSpace, c.requiredClassName(),
                                                    PathForm::Full);
         });
     }},
    {"OpenAssociatorInstances",
     openParameters({"InstanceName", "AssocClass", "ResultClass", "Role", "ResultRole",
                     "IncludeClassOrigin", "PropertyList"}),
     openTraversal<Traversal::Associators>},
    {"OpenAssociatorInstancePaths",
     openParameters({"InstanceName", "AssocClass", "ResultClass", "Role", "ResultRole"}),
     openTraversalPaths<Traversal::Associators>},
    {"OpenReferenceInstances",
     openParameters({"InstanceName", "ResultClass", "Role", "IncludeClassOrigin", "PropertyList"}),
     openTraversal<Traversal::References>},
    {"OpenReferenceInstancePaths", openParameters({"InstanceName", "ResultClass", "Role"}),
     openTraversalPaths<Traversal::References>},
    {"PullInstancesWithPath",
     {"EnumerationContext", "MaxObjectCount"},
     pull<OpenEnumeration::Instances>},
    {"PullInstancePaths", {"EnumerationContext", "MaxObjectCount"}, pull<OpenEnumeration::Paths>},
    {"CloseEnumeration", {"EnumerationContext"}, closeEnumeration},
    {"OpenQueryInstances", openParameters({"ReturnQueryResultClass"}),
     [](const Call&, ReplyWriter&) { throw CIMException(CIM_ERR_NOT_SUPPORTED); }},
};

}  // namespace cimom
