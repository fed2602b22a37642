// CIM elements read from CIM-XML.
#pragma once

#include "CimXml/XmlTree.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>

namespace cimom
{

/// A request that is refused before any operation starts: the HTTP status, the value of the
/// CIMError header (empty: none) and what is wrong.
class RequestError : public std::exception
{
public:
    RequestError(int status, std::string cimError, std::string detail)
        : status(status), cimError(std::move(cimError)), detail(std::move(detail))
    {
    }
    const char* what() const noexcept override { return detail.c_str(); }

    int status;
    std::string cimError;
    std::string detail;
};

}  // namespace cimom

/// Each function reads the element it is given. All throw RequestError (400, request-not-valid),
/// naming the line, for an element that is not what it has to be, and Pegasus::Exception for names
/// and paths that the CIM library refuses.
namespace cimom::xml
{

/// What is wrong with the structure of the document at this element.
RequestError validationError(const XmlElement&, const std::string& text);
/// What is wrong with a value at this element.
RequestError semanticError(const XmlElement&, const std::string& text);

const std::string& requiredAttribute(const XmlElement&, std::string_view name);
/// An attribute that must hold a CIM name.
Pegasus::CIMName nameAttribute(const XmlElement&, std::string_view name);
/// Refuses children other than these.
void allowChildren(const XmlElement&, std::initializer_list<std::string_view> names);
/// The only child element, whatever its name.
const XmlElement& onlyChild(const XmlElement&);

Pegasus::String decodeText(const XmlElement&);
/// VALUE with TRUE or FALSE.
bool decodeBoolean(const XmlElement&);
/// LOCALNAMESPACEPATH.
Pegasus::CIMNamespaceName decodeNamespace(const XmlElement&);
/// CLASSNAME.
Pegasus::CIMName decodeClassName(const XmlElement&);
/// INSTANCENAME, or CLASSNAME as a path without keys.
Pegasus::CIMObjectPath decodeObjectName(const XmlElement&);
/// LOCALCLASSPATH or LOCALINSTANCEPATH.
Pegasus::CIMObjectPath decodeLocalPath(const XmlElement&);
/// INSTANCE, without a path.
Pegasus::CIMInstance decodeInstance(const XmlElement&);
/// VALUE.NAMEDINSTANCE; class names that differ are CIM_ERR_INVALID_PARAMETER.
Pegasus::CIMInstance decodeNamedInstance(const XmlElement&);
/// VALUE.ARRAY of property names.
Pegasus::CIMPropertyList decodePropertyList(const XmlElement&);
/// PARAMVALUE. Without PARAMTYPE the value stays text and is marked untyped.
Pegasus::CIMParamValue decodeParamValue(const XmlElement&);
/// The value inside `holder` (its VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; null when
/// it has none).
Pegasus::CIMValue decodeValue(const XmlElement& holder, Pegasus::CIMType, bool isArray);

/// A text value or array of texts turned into another type. Throws std::invalid_argument when a
/// text is no value of the type.
Pegasus::CIMValue convertText(const Pegasus::CIMValue& text, Pegasus::CIMType);

}  // namespace cimom::xml
