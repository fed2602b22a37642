// CIM-XML requests made of their parts, and replies read.
#pragma once

#include "../Broker/BrokerFixture.h"
#include "CimXml/Enumerations.h"
#include "CimXml/Service.h"
#include "CimXml/XmlTree.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace cimom
{

// ---- Elements of requests ----

/// An element; `start` is its name and its attributes, as in "VALUE" or "CLASSNAME NAME='x'".
inline std::string element(const std::string& start, const std::string& content = "")
{
    return "<" + start + ">" + content + "</" + start.substr(0, start.find(' ')) + ">";
}
inline std::string value(const std::string& content)
{
    return element("VALUE", content);
}

/// INSTANCENAME of a path such as T_Leaf.Id=1, with numeric keys.
inline std::string instanceNameElement(const std::string& path)
{
    const CIMObjectPath name(toString(path));
    std::string keys;
    for (Pegasus::Uint32 i = 0; i < name.getKeyBindings().size(); ++i) {
        const Pegasus::CIMKeyBinding& key = name.getKeyBindings()[i];
        keys += element("KEYBINDING NAME='" + toUtf8(key.getName().getString()) + "'",
                        element("KEYVALUE VALUETYPE='numeric'", toUtf8(key.getValue())));
    }
    const std::string className = toUtf8(name.getClassName().getString());
    return element("INSTANCENAME CLASSNAME='" + className + "'", keys);
}

/// LOCALNAMESPACEPATH of a namespace with two parts.
inline std::string localNamespacePath(const std::string& nameSpace)
{
    const std::size_t slash = nameSpace.find('/');
    return element("LOCALNAMESPACEPATH",
                   element("NAMESPACE NAME='" + nameSpace.substr(0, slash) + "'") +
                       element("NAMESPACE NAME='" + nameSpace.substr(slash + 1) + "'"));
}

// ---- Parameters of intrinsic operations ----

inline std::string parameter(const std::string& name, const std::string& content = "")
{
    return element("IPARAMVALUE NAME='" + name + "'", content);
}
inline std::string flag(const std::string& name, const std::string& text = "TRUE")
{
    return parameter(name, value(text));
}
inline std::string className(const std::string& text, const std::string& name = "ClassName")
{
    return parameter(name, element("CLASSNAME NAME='" + text + "'"));
}
inline std::string instanceName(const std::string& path)
{
    return parameter("InstanceName", instanceNameElement(path));
}
inline std::string objectName(const std::string& path)
{
    return parameter("ObjectName", instanceNameElement(path));
}
inline std::string propertyList(const std::vector<std::string>& names)
{
    std::string values;
    for (const std::string& name : names)
        values += value(name);
    return parameter("PropertyList", element("VALUE.ARRAY", values));
}

// ---- Requests ----

inline CimRequest requestOf(const std::string& method, const std::string& object,
                            const std::string& call)
{
    CimRequest request;
    request.method = method;
    request.object = object;
    request.user = "me";
    request.body =
        "<?xml version=\"1.0\"?>" +
        element("CIM CIMVERSION='2.0' DTDVERSION='2.0'",
                element("MESSAGE ID='7' PROTOCOLVERSION='1.0'", element("SIMPLEREQ", call)));
    return request;
}

/// The call of an intrinsic operation with these IPARAMVALUE elements.
inline CimRequest intrinsic(const std::string& operation, const std::string& parameters = "",
                            const std::string& nameSpace = "root/test")
{
    return requestOf(operation, nameSpace,
                     element("IMETHODCALL NAME='" + operation + "'",
                             localNamespacePath(nameSpace) + parameters));
}

/// The call of a method of T_Machine.Id=1, or another object, with these PARAMVALUE elements.
inline CimRequest extrinsic(const std::string& parameters, const std::string& method = "Run",
                            const std::string& path = "T_Machine.Id=1")
{
    const std::string object =
        element("LOCALINSTANCEPATH", localNamespacePath("root/test") + instanceNameElement(path));
    return requestOf(method, "root/test:" + path,
                     element("METHODCALL NAME='" + method + "'", object + parameters));
}

// ---- Replies ----

/// The attribute's value, nothing when the element does not have it.
inline std::string attribute(const XmlElement& element, const char* name)
{
    const std::string* const found = element.attribute(name);
    return found ? *found : "";
}

/// All elements of that name below this one, in order. They live as long as this one.
inline std::vector<const XmlElement*> all(const XmlElement& parent, const std::string& tag)
{
    std::vector<const XmlElement*> found;
    for (const XmlElement& child : parent.children) {
        if (child.name == tag) found.push_back(&child);
        for (const XmlElement* below : all(child, tag))
            found.push_back(below);
    }
    return found;
}
std::vector<const XmlElement*> all(XmlElement&& parent, const std::string& tag) = delete;

/// The attribute NAME of all elements of that name below.
inline Lines namesOf(const XmlElement& parent, const std::string& tag)
{
    Lines names;
    for (const XmlElement* each : all(parent, tag))
        names.push_back(attribute(*each, "NAME"));
    return names;
}

/// The first element below that has this attribute NAME, or any; throws when there is none.
inline const XmlElement& the(const XmlElement& parent, const std::string& tag,
                             const std::string& name = "")
{
    for (const XmlElement* each : all(parent, tag)) {
        if (name.empty() || attribute(*each, "NAME") == name) return *each;
    }
    throw std::runtime_error("no element " + tag + " " + name + " in " + parent.name);
}

/// A reply with its operation's response; of a refused request only the first line.
struct Reply
{
    std::string refusal;  ///< as in "400 request-not-valid: detail"; empty when it was not refused
    std::string body;
    XmlElement response;  ///< IMETHODRESPONSE or METHODRESPONSE

    /// As in "6 CIM_ERR_NOT_FOUND: text".
    std::string error() const
    {
        const XmlElement* const error = response.child("ERROR");
        if (!error) return refusal.empty() ? "no error" : refusal;
        return attribute(*error, "CODE") + " " + attribute(*error, "DESCRIPTION");
    }
};

/// A broker's test that sends requests.
class ServiceTest : public BrokerTest
{
protected:
    Reply send(const CimRequest& request)
    {
        const CimReply sent = answerCimRequest(*broker, enumerations, request);
        if (sent.status != 200)
            return {std::to_string(sent.status) + " " + sent.cimError + ": " + sent.detail, "", {}};
        Reply reply{"", sent.body, {}};
        while (sent.rest && sent.rest(reply.body)) {
            // Each adds a piece.
        }
        const XmlElement root = parseXml(reply.body);
        reply.response = the(root, "SIMPLERSP").children.at(0);
        return reply;
    }

    Enumerations enumerations{1000000};
};

template <class RowType>
using ServiceTableTest = BrokerTableTest<RowType, ServiceTest>;

}  // namespace cimom
