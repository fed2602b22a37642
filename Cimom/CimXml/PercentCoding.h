// Percent-encoded text in HTTP headers.
#pragma once

#include <string>

namespace cimom
{

/// Letters, digits and "-_.~" stay; everything else becomes %XX.
std::string percentEncode(const std::string& text);
/// Turns %XX back into bytes; a percent sign that starts no such code stays.
std::string percentDecode(const std::string& text);

}  // namespace cimom
