// CIM elements written as CIM-XML text.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <string>

/// Each function appends one element as UTF-8 text, followed by a line feed.
namespace cimom::xml
{

/// The UTF-8 form of a string, whole: embedded NULs stay, a lone surrogate becomes U+FFFD.
std::string utf8(const Pegasus::String&);

/// Text for use in an element or attribute: `<>&"'` and control characters as references, and a
/// blank as a reference where a reader would drop it (at either end and behind another blank).
void appendEscaped(std::string& out, const Pegasus::String& text);

/// CLASSNAME.
void appendClassName(std::string& out, const Pegasus::CIMName&);
/// INSTANCENAME; host and namespace of the path are left out.
void appendInstanceName(std::string& out, const Pegasus::CIMObjectPath&);
/// INSTANCEPATH or, for a class, CLASSPATH; the path must have host and namespace.
void appendFullPath(std::string& out, const Pegasus::CIMObjectPath&, bool isClass);
/// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; nothing for a null value.
void appendValue(std::string& out, const Pegasus::CIMValue&);
/// INSTANCE with all it carries.
void appendInstance(std::string& out, const Pegasus::CIMConstInstance&);
/// CLASS with all it carries.
void appendClass(std::string& out, const Pegasus::CIMConstClass&);
/// INSTANCE or CLASS.
void appendObject(std::string& out, const Pegasus::CIMConstObject&);
/// QUALIFIER.DECLARATION.
void appendQualifierDecl(std::string& out, const Pegasus::CIMConstQualifierDecl&);
/// PARAMVALUE; an untyped parameter is written without its type.
void appendParamValue(std::string& out, const Pegasus::CIMParamValue&);
/// RETURNVALUE.
void appendReturnValue(std::string& out, const Pegasus::CIMValue&);

}  // namespace cimom::xml
