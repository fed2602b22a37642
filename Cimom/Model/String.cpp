#include <Pegasus/Common/String.h>

#include "Model/Text.h"

#include <Pegasus/Common/InternalException.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace Pegasus
{

namespace
{

template <class T>
const T* notNull(const T* text)
{
    if (!text) throw NullPointer();
    return text;
}

Uint32 length(const Char16* text)
{
    Uint32 n = 0;
    while (text[n] != '\0')
        ++n;
    return n;
}

Uint32 indexOf(const Char16* begin, const Char16* found, const Char16* end)
{
    return found == end ? PEG_NOT_FOUND : Uint32(found - begin);
}

}  // namespace

const String String::EMPTY;

String::String(const Char16* str) : String(str, length(notNull(str))) {}

String::String(const Char16* str, Uint32 n)
{
    append(str, n);
}

String::String(const char* str) : String(str, Uint32(std::strlen(notNull(str)))) {}

String::String(const char* str, Uint32 n)
{
    notNull(str);
    if (cimom::isAscii({str, n})) {
        std::copy(str, str + n, units_.resize(n));
    } else {
        const std::vector<Char16> units = cimom::toUtf16({str, n});
        append(units.data(), Uint32(units.size()));
    }
}

CString String::getCString() const
{
    return CString(cimom::toUtf8(*this));
}

const Char16 String::operator[](Uint32 index) const
{
    if (index > size()) throw IndexOutOfBoundsException();
    return getChar16Data()[index];
}

String& String::append(const Char16* str, Uint32 n)
{
    if (n == 0) return *this;  // whatever the pointer is
    notNull(str);
    const Uint32 before = size();
    const Char16* const data = getChar16Data();
    const bool isPart = std::less_equal<>()(data, str) && std::less<>()(str, data + before);
    const detail::Units kept = isPart ? units_ : detail::Units();
    std::copy(str, str + n, units_.resize(before + n) + before);
    return *this;
}

String String::subString(Uint32 index, Uint32 n) const
{
    if (index >= size()) return String();
    return String(getChar16Data() + index, std::min(n, size() - index));
}

Uint32 String::find(Uint32 index, Char16 c) const
{
    if (index > size()) throw IndexOutOfBoundsException();
    const Char16* const begin = getChar16Data();
    const Char16* const end = begin + size();
    return indexOf(begin, std::find(begin + index, end, c), end);
}

Uint32 String::find(const String& s) const
{
    if (s.size() == 0) return PEG_NOT_FOUND;
    const Char16* const begin = getChar16Data();
    const Char16* const end = begin + size();
    const Char16* const sought = s.getChar16Data();
    return indexOf(begin, std::search(begin, end, sought, sought + s.size()), end);
}

void String::toLower()
{
    const Uint32 size = this->size();
    Char16* const units = units_.resize(size);
    std::transform(units, units + size, units, cimom::toLower<Uint16>);
}

int String::compareNoCase(const String& s1, const String& s2)
{
    const Char16* a = s1.getChar16Data();
    const Char16* b = s2.getChar16Data();
    const auto lower = cimom::toLower<Uint16>;
    for (; lower(*a) == lower(*b); ++a, ++b) {
        if (*a == '\0') return 0;
    }
    return lower(*a) < lower(*b) ? -1 : 1;
}

Boolean String::equal(const String& s1, const String& s2)
{
    const Char16* const a = s1.getChar16Data();
    const Char16* const b = s2.getChar16Data();
    return s1.size() == s2.size() && (a == b || std::memcmp(a, b, s1.size() * sizeof *a) == 0);
}

Boolean String::equalNoCase(const String& s1, const String& s2)
{
    const auto isSame = [](Uint16 x, Uint16 y) { return cimom::toLower(x) == cimom::toLower(y); };
    const Char16* const a = s1.getChar16Data();
    return s1.size() == s2.size() &&
           (equal(s1, s2) || std::equal(a, a + s1.size(), s2.getChar16Data(), isSame));
}

}  // namespace Pegasus
