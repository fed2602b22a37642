// Small conversions between the CIM library's text and the standard library's.
#pragma once

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/String.h>

#include <string>

namespace cimom
{

/// The text in UTF-8.
inline std::string utf8(const Pegasus::String& text)
{
    return static_cast<const char*>(text.getCString());
}

/// A key under which names that differ in case only are the same.
inline std::string folded(const Pegasus::String& name)
{
    std::string key = utf8(name);
    for (char& c : key) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return key;
}

/// The text as a String; bytes that are not UTF-8 (a library's own messages may hold any) become
/// question marks.
inline Pegasus::String printable(const std::string& text)
{
    try {
        return Pegasus::String(text.c_str());
    } catch (const Pegasus::Exception&) {
        std::string ascii = text;
        for (char& c : ascii) {
            if (static_cast<unsigned char>(c) > 0x7F) c = '?';
        }
        return Pegasus::String(ascii.c_str());
    }
}

}  // namespace cimom
