// The parameters of an intrinsic operation.
#pragma once

#include "CimXml/Decode.h"
#include "CimXml/Operations.h"

#include <map>
#include <optional>
#include <string_view>

namespace cimom
{

/// An intrinsic call. The operation decodes the parameters that it needs. A parameter without a
/// value counts as absent.
class Call : public CallContext
{
public:
    Call(const Operation& operation, const CallContext& context, const XmlElement& call)
        : CallContext(context)
    {
        for (std::size_t i = 1; i < call.children.size(); ++i) {
            const XmlElement& element = call.children[i];
            if (element.name != "IPARAMVALUE")
                throw xml::validationError(element, "Expected IPARAMVALUE element");
            if (!given_.emplace(known(operation, element), &element).second) {
                throw Pegasus::CIMException(Pegasus::CIM_ERR_INVALID_PARAMETER,
                                            "Duplicated request input parameter.");
            }
        }
    }

    /// The parameter's element; null when it is not there.
    const XmlElement* find(std::string_view name) const
    {
        const auto found = given_.find(name);
        return found == given_.end() ? nullptr : found->second;
    }

    bool flag(std::string_view name, bool defaultValue) const
    {
        const XmlElement* found = find(name);
        if (!found) return defaultValue;
        if (found->children.empty()) throw xml::validationError(*found, "Expected VALUE element");
        return xml::decodeBoolean(xml::onlyChild(*found));
    }

    /// Nothing when the parameter is absent.
    template <class T>
    std::optional<T> read(std::string_view name, T (*decode)(const XmlElement&)) const
    {
        const XmlElement* found = find(name);
        if (!found || found->children.empty()) return std::nullopt;
        return xml::reading(decode, xml::onlyChild(*found));
    }

    template <class T>
    T required(std::string_view name, T (*decode)(const XmlElement&)) const
    {
        const std::optional<T> value = read(name, decode);
        if (!value) throw Pegasus::CIMException(Pegasus::CIM_ERR_INVALID_PARAMETER);
        return *value;
    }

    /// The value of a parameter that has to be there.
    template <class T>
    static T present(const std::string& name, const std::optional<T>& value)
    {
        if (value) return *value;
        throw Pegasus::CIMException(
            Pegasus::CIM_ERR_INVALID_PARAMETER,
            toString("Required parameter \"" + name + "\" missing from request."));
    }

    Pegasus::String text(std::string_view name) const
    {
        return read(name, xml::decodeText).value_or(Pegasus::String());
    }
    /// A number of type uint32.
    std::optional<Pegasus::Uint32> number(std::string_view name) const
    {
        const XmlElement* found = find(name);
        if (!found || found->children.empty()) return std::nullopt;
        Pegasus::Uint32 number = 0;
        xml::decodeValue(*found, Pegasus::CIMTYPE_UINT32, false).get(number);
        return number;
    }
    CIMName className(std::string_view name = "ClassName") const
    {
        return read(name, xml::decodeClassName).value_or(CIMName());
    }
    CIMName requiredClassName() const
    {
        return present("ClassName", read("ClassName", xml::decodeClassName));
    }
    /// A name that travels as text.
    CIMName requiredName(std::string_view name) const
    {
        const Pegasus::String value = required(name, xml::decodeText);
        if (CIMName::legal(value)) return CIMName(value);
        throw Pegasus::CIMException(Pegasus::CIM_ERR_INVALID_PARAMETER,
                                    "The CIM name is not valid: " + value);
    }
    CIMObjectPath instanceName() const { return required("InstanceName", xml::decodeInstanceName); }
    bool deep(bool defaultValue) const { return flag("DeepInheritance", defaultValue); }
    CIMPropertyList propertyList() const
    {
        return read("PropertyList", xml::decodePropertyList).value_or(CIMPropertyList());
    }
    ClassView classView() const
    {
        return {flag("LocalOnly", true), flag("IncludeQualifiers", true),
                flag("IncludeClassOrigin", false), propertyList()};
    }
    InstanceView instanceView() const
    {
        flag("LocalOnly", false);  // deprecated: it has to be a boolean, and has no effect
        return {flag("IncludeQualifiers", false), flag("IncludeClassOrigin", false),
                propertyList()};
    }
    Pegasus::String user() const
    {
        const Pegasus::IdentityContainer container = identity.get(Pegasus::IdentityContainer::NAME);
        return container.getUserName();
    }
    /// The classes that an operation on classes enumerates.
    std::vector<CIMName> subclassNames() const
    {
        return schema.subclassNames(nameSpace, className(), deep(false));
    }
    Traversal traversal(Traversal::Kind kind, const CIMObjectPath& source) const
    {
        if (kind == Traversal::References)
            return {kind, source, className("ResultClass"), CIMName(), text("Role"), {}};
        return {kind,
                source,
                className("AssocClass"),
                className("ResultClass"),
                text("Role"),
                text("ResultRole")};
    }

private:
    /// The name in the spelling of the operation's table.
    static std::string_view known(const Operation& operation, const XmlElement& parameter)
    {
        const std::string& given = xml::requiredAttribute(parameter, "NAME");
        for (const std::string& name : operation.parameters) {
            if (equalNoCase(name, given)) return name;
        }
        throw Pegasus::CIMException(
            Pegasus::CIM_ERR_NOT_SUPPORTED,
            toString("Unrecognized or invalid request input parameter \"" + given + "\""));
    }

    std::map<std::string_view, const XmlElement*> given_;
};

}  // namespace cimom
