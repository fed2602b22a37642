// A UTF-16 code unit.
#pragma once

#include <Pegasus/Common/Config.h>

namespace Pegasus
{

/// A UTF-16 code unit; zero by default.
class Char16
{
public:
    constexpr Char16() = default;
    constexpr Char16(Uint16 x) : code_(x) {}
    operator Uint16() const { return code_; }

    friend Boolean operator==(Char16 x, Char16 y) { return x.code_ == y.code_; }
    friend Boolean operator==(Char16 x, char y) { return x.code_ == Uint16(y); }
    friend Boolean operator==(char x, Char16 y) { return y == x; }
    friend Boolean operator!=(Char16 x, Char16 y) { return !(x == y); }
    friend Boolean operator!=(Char16 x, char y) { return !(x == y); }
    friend Boolean operator!=(char x, Char16 y) { return !(x == y); }

private:
    Uint16 code_ = 0;
};

}  // namespace Pegasus
