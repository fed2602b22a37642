#include "KeyNumber.h"

namespace cimom
{

using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;

namespace
{

unsigned digitValue(Uint16 c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 16;
}

/// The digits from there to the end, at least one.
std::optional<Uint64> readDigits(const String& text, Uint32 at, unsigned base)
{
    if (at >= text.size()) return {};
    Uint64 number = 0;
    for (; at < text.size(); ++at) {
        const unsigned digit = digitValue(text[at]);
        const bool fits = digit < base && !__builtin_mul_overflow(number, base, &number) &&
                          !__builtin_add_overflow(number, digit, &number);
        if (!fits) return {};
    }
    return number;
}

}  // namespace

std::optional<Integer> readInteger(const String& text)
{
    const bool hasMinus = text[0] == '-';
    const Uint32 at = hasMinus ? 1 : 0;
    const bool leadingZero = text.size() > at + 1 && text[at] == '0';
    const bool isHex = leadingZero && (text[at + 1] == 'x' || text[at + 1] == 'X');
    if (leadingZero && !isHex) return {};
    const auto magnitude = readDigits(text, isHex ? at + 2 : at, isHex ? 16 : 10);
    if (!magnitude || (hasMinus && *magnitude > Uint64(1) << 63)) return {};
    return Integer{hasMinus && *magnitude != 0, *magnitude};
}

}  // namespace cimom
