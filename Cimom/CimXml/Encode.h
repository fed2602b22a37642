// CIM elements written as CIM-XML text.
#pragma once

#include "Model/Schema.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParamValue.h>

#include <string>
#include <string_view>
#include <vector>

/// Each function appends one element as UTF-8 text, followed by a line feed.
namespace cimom::xml
{

/// UTF-8 text for use in an element or attribute: `<>&"'`, tab, line ends and DEL as references, a
/// blank as a reference where a reader would drop it (at either end and behind another blank), and
/// U+FFFD in place of other control characters, which no reader takes.
void appendEscaped(std::string& out, std::string_view text);
void appendEscaped(std::string& out, const Pegasus::String& text);

/// CLASSNAME.
void appendClassName(std::string& out, const CIMName&);
/// INSTANCENAME; host and namespace of the path are left out.
void appendInstanceName(std::string& out, const CIMObjectPath&);
/// INSTANCEPATH; the path must have host and namespace.
void appendInstancePath(std::string& out, const CIMObjectPath&);
/// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; nothing for a null value.
void appendValue(std::string& out, const CIMValue&);
/// INSTANCE with all it carries.
void appendInstance(std::string& out, const Instance&);

/// Appends instances one after the other. The instances of a class share what their properties are
/// declared as, so that all of a property but its value is copied from the instance before.
class InstanceWriter
{
public:
    /// INSTANCE with all it carries.
    void append(std::string& out, const Instance&);

private:
    using PropertyPtr = std::shared_ptr<const Property>;
    struct Written
    {
        PropertyPtr property;  ///< the first one that was declared so
        bool isNull;           ///< whether that one has no value
        std::size_t emptyAt;   ///< where its element without a value begins, in empty_
        std::string before;    ///< what stands before a value
        std::string after;     ///< and what after it
    };
    void append(std::string& out, const Instance&, std::size_t position);
    void learn(const PropertyPtr&, std::size_t position);

    std::vector<Written> written_;  // by the position of the property
    std::string empty_;             // the elements without values, one after the other
};

/// CLASS with all it carries.
void appendClass(std::string& out, const Class&);
/// QUALIFIER.DECLARATION.
void appendQualifierDecl(std::string& out, const QualifierDecl&);
/// PARAMVALUE; an untyped parameter is written without its type.
void appendParamValue(std::string& out, const Pegasus::CIMParamValue&);
/// RETURNVALUE.
void appendReturnValue(std::string& out, const CIMValue&);

}  // namespace cimom::xml
