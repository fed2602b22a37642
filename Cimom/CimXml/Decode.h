// CIM elements read from CIM-XML.
#pragma once

#include "CimXml/XmlTree.h"
#include "Model/Text.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>

#include <string>
#include <string_view>

/// Each function reads the element it is given. All throw RequestError (400, request-not-valid),
/// with the line, for an invalid element, and Pegasus::Exception for names and paths that the CIM
/// library refuses.
namespace cimom::xml
{

/// The error for the structure of the document at this element.
RequestError validationError(const XmlElement&, const std::string& text);

const std::string& requiredAttribute(const XmlElement&, std::string_view name);
/// An attribute that must hold a CIM name.
Pegasus::CIMName nameAttribute(const XmlElement&, std::string_view name);
/// The only child element, whatever its name.
const XmlElement& onlyChild(const XmlElement&);

/// VALUE with any text.
Pegasus::String decodeText(const XmlElement&);
/// VALUE with TRUE or FALSE.
bool decodeBoolean(const XmlElement&);
/// LOCALNAMESPACEPATH.
Pegasus::CIMNamespaceName decodeNamespace(const XmlElement&);
/// CLASSNAME.
Pegasus::CIMName decodeClassName(const XmlElement&);
/// INSTANCENAME.
Pegasus::CIMObjectPath decodeInstanceName(const XmlElement&);
/// INSTANCENAME, or CLASSNAME as a path without keys.
Pegasus::CIMObjectPath decodeObjectName(const XmlElement&);
/// LOCALCLASSPATH or LOCALINSTANCEPATH.
Pegasus::CIMObjectPath decodeLocalPath(const XmlElement&);
/// INSTANCE, without a path. Qualifiers are skipped: no provider gets to see them.
Pegasus::CIMInstance decodeInstance(const XmlElement&);
/// VALUE.NAMEDINSTANCE; class names that differ are CIM_ERR_INVALID_PARAMETER.
Pegasus::CIMInstance decodeNamedInstance(const XmlElement&);
/// VALUE.ARRAY of property names.
Pegasus::CIMPropertyList decodePropertyList(const XmlElement&);
/// PARAMVALUE. Without PARAMTYPE the value stays text and is marked untyped.
Pegasus::CIMParamValue decodeParamValue(const XmlElement&);
/// The value inside `holder` (its VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY). `type` is
/// that of texts; a null value, when there is none inside, has this type and arrayness.
Pegasus::CIMValue decodeValue(const XmlElement& holder, Pegasus::CIMType type, bool isArray);

/// Runs one of these functions. Names and paths that the CIM library refuses are errors of the
/// request, too.
template <class T>
T reading(T (*decode)(const XmlElement&), const XmlElement& element)
{
    try {
        return decode(element);
    } catch (const Pegasus::CIMException&) {
        throw;
    } catch (const Pegasus::Exception& error) {
        throw notValid(toUtf8(error.getMessage()));
    }
}

}  // namespace cimom::xml
