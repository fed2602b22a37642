// Texts and attributes of XML elements.
#pragma once

#include <Pegasus/Common/CIMName.h>

#include <string>
#include <string_view>

/// Each function appends to a text in UTF-8.
namespace cimom::xml
{

/// Text for use in an element or attribute: `<>&"'`, tab, line ends and DEL as references, a blank
/// as a reference where a reader would drop it (at either end and behind another blank), and U+FFFD
/// in place of other control characters, which no reader takes.
void appendEscaped(std::string& out, std::string_view text);
void appendEscaped(std::string& out, const Pegasus::String& text);

/// ` name="value"`, with the value escaped.
void appendAttribute(std::string& out, std::string_view name, std::string_view value);
/// The same of a value that needs no escapes.
void appendPlain(std::string& out, std::string_view name, std::string_view value);
/// The same of a CIM name, which needs no escapes either.
void appendName(std::string& out, std::string_view name, const Pegasus::CIMName& value);

}  // namespace cimom::xml
