// The numbers in keys.
#pragma once

#include <Pegasus/Common/String.h>

#include <optional>

namespace cimom
{

/// An integer of up to 64 bits with its sign apart; zero is not negative.
struct Integer
{
    bool isNegative;
    Pegasus::Uint64 magnitude;
};

/// Reads a decimal number without leading zeros or a hexadecimal one after 0x, with an optional
/// minus sign before either. Nothing when the text is none or beyond both sint64 and uint64.
std::optional<Integer> readInteger(const Pegasus::String& text);

}  // namespace cimom
