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
    constexpr Char16(Uint16 x) : _code(x) {}
    operator Uint16() const { return _code; }

    friend Boolean operator==(Char16 x, Char16 y) { return x._code == y._code; }
    friend Boolean operator==(Char16 x, char y) { return x._code == Uint16(y); }
    friend Boolean operator==(char x, Char16 y) { return y == x; }
    friend Boolean operator!=(Char16 x, Char16 y) { return !(x == y); }
    friend Boolean operator!=(Char16 x, char y) { return !(x == y); }
    friend Boolean operator!=(char x, Char16 y) { return !(x == y); }

private:
    Uint16 _code = 0;
};

}  // namespace Pegasus
