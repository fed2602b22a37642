// Texts that come from outside the CIM library.
#pragma once

#include "Repository/Names.h"

#include <Pegasus/Common/Exception.h>

#include <string>

namespace cimom
{

/// The text as a String; of a text that is not UTF-8 (a library's own messages may hold any bytes)
/// the characters beyond ASCII become question marks.
inline Pegasus::String printable(std::string text)
{
    try {
        return Pegasus::String(text.c_str());
    } catch (const Pegasus::Exception&) {
        for (char& c : text) {
            if (static_cast<unsigned char>(c) > 0x7F) c = '?';
        }
        return Pegasus::String(text.c_str());
    }
}

}  // namespace cimom
