// UTF-8 and UTF-16.
#pragma once

#include <Pegasus/Common/Char16.h>

#include <string>
#include <string_view>
#include <vector>

namespace cimom
{

/// Appends the UTF-16 form of the text. Surrogates that are encoded in it, U+FFFE and
/// U+FFFF become U+FFFD. Throws Pegasus::Exception that names the place when the text is not UTF-8;
/// the units before it have been appended by then.
void appendUtf16(std::string_view utf8, std::vector<Pegasus::Char16>& units);

/// The UTF-8 form; a lone surrogate is encoded as if it were a character.
std::string toUtf8(const Pegasus::Char16* units, size_t count);

}  // namespace cimom
