// A UTF-16 code unit.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

/// A UTF-16 code unit; zero by default.
class PEGASUS_COMMON_LINKAGE Char16
{
public:
    Char16() : _code(0) {}
    Char16(Uint16 x) : _code(x) {}
    Char16(const Char16&) = default;
    Char16& operator=(Uint16 x)
    {
        _code = x;
        return *this;
    }
    Char16& operator=(const Char16&) = default;
    operator Uint16() const { return _code; }

private:
    Uint16 _code;
};

inline Boolean operator==(const Char16& x, const Char16& y)
{
    return Uint16(x) == Uint16(y);
}
inline Boolean operator==(const Char16& x, char y)
{
    return Uint16(x) == Uint16(y);
}
inline Boolean operator==(char x, const Char16& y)
{
    return Uint16(x) == Uint16(y);
}
inline Boolean operator!=(const Char16& x, const Char16& y)
{
    return Uint16(x) != Uint16(y);
}
inline Boolean operator!=(const Char16& x, char y)
{
    return Uint16(x) != Uint16(y);
}
inline Boolean operator!=(char x, const Char16& y)
{
    return Uint16(x) != Uint16(y);
}

}  // namespace Pegasus
