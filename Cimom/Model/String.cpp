#include <Pegasus/Common/String.h>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>

#include "Utf8.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace Pegasus
{

namespace
{

using Units = std::vector<Char16>;

template <class T>
const T* notNull(const T* text)
{
    if (!text) throw NullPointer();
    return text;
}

Uint32 length(const Char16* text)
{
    Uint32 n = 0;
    while (Uint16(text[n]) != 0)
        ++n;
    return n;
}

/// The units for writing, terminator included.
Units& open(detail::CopyOnWrite<Units>& units)
{
    Units& own = units.write();
    if (own.empty()) own.emplace_back(Uint16(0));
    return own;
}

Uint16 lower(Char16 c)
{
    return c >= 'A' && c <= 'Z' ? Uint16(c + ('a' - 'A')) : Uint16(c);
}

/// The difference of the first units that differ, up to the first zero, at most n.
template <class Fold>
int compareUnits(const String& s1, const String& s2, Uint32 n, Fold fold)
{
    const Char16* a = s1.getChar16Data();
    const Char16* b = s2.getChar16Data();
    for (; n > 0; --n, ++a, ++b) {
        const int difference = fold(*a) - fold(*b);
        if (difference != 0 || Uint16(*a) == 0) return difference;
    }
    return 0;
}

template <class Fold>
Boolean equalUnits(const String& s1, const String& s2, Fold fold)
{
    const Char16* const a = s1.getChar16Data();
    const Char16* const b = s2.getChar16Data();
    return s1.size() == s2.size() &&
           (a == b || std::equal(a, a + s1.size(), b,
                                 [&](Char16 x, Char16 y) { return fold(x) == fold(y); }));
}

constexpr auto asIs = [](Char16 c) { return Uint16(c); };

Uint32 position(const Char16* begin, const Char16* found, const Char16* end)
{
    return found == end ? PEG_NOT_FOUND : Uint32(found - begin);
}

}  // namespace

CString::CString(std::string text) : _text(std::make_shared<const std::string>(std::move(text))) {}

const String String::EMPTY;

String::String() = default;
String::String(const String& str) = default;
String::~String() = default;
String& String::operator=(const String& str) = default;

String::String(const String& str, Uint32 n)
{
    if (n > str.size()) throw IndexOutOfBoundsException();
    assign(str.getChar16Data(), n);
}

String::String(const Char16* str)
{
    assign(str);
}

String::String(const Char16* str, Uint32 n)
{
    assign(str, n);
}

String::String(const char* str)
{
    assign(str);
}

String::String(const char* str, Uint32 n)
{
    assign(str, n);
}

String& String::assign(const String& str)
{
    return *this = str;
}

String& String::assign(const Char16* str)
{
    return assign(str, length(notNull(str)));
}

String& String::assign(const Char16* str, Uint32 n)
{
    String result;
    result.append(str, n);
    return *this = result;
}

String& String::assign(const char* str)
{
    return assign(str, Uint32(std::strlen(notNull(str))));
}

String& String::assign(const char* str, Uint32 n)
{
    notNull(str);
    detail::CopyOnWrite<Units> result;
    if (n > 0) {
        Units& own = result.write();
        cimom::appendUtf16({str, n}, own);
        own.emplace_back(Uint16(0));
    }
    _units.swap(result);
    return *this;
}

void String::clear()
{
    _units.reset();
}

void String::reserveCapacity(Uint32 capacity)
{
    open(_units).reserve(size_t(capacity) + 1);
}

Uint32 String::size() const
{
    const Units* const units = _units.get();
    return units ? Uint32(units->size() - 1) : 0;
}

const Char16* String::getChar16Data() const
{
    static const Char16 terminator;
    const Units* const units = _units.get();
    return units ? units->data() : &terminator;
}

CString String::getCString() const
{
    return CString(cimom::toUtf8(getChar16Data(), size()));
}

Char16& String::operator[](Uint32 index)
{
    if (index > size()) throw IndexOutOfBoundsException();
    return open(_units)[index];
}

const Char16 String::operator[](Uint32 index) const
{
    if (index > size()) throw IndexOutOfBoundsException();
    return getChar16Data()[index];
}

String& String::append(const Char16& c)
{
    return append(&c, 1);
}

String& String::append(const Char16* str, Uint32 n)
{
    notNull(str);
    if (n == 0) return *this;
    if (detail::isWithin(str, getChar16Data(), size())) {
        const Units copy(str, str + n);
        return append(copy.data(), n);
    }
    Units& own = open(_units);
    own.insert(own.end() - 1, str, str + n);
    return *this;
}

String& String::append(const String& str)
{
    return append(str.getChar16Data(), str.size());
}

void String::remove(Uint32 index, Uint32 size)
{
    const Uint32 length = this->size();
    if (size == PEG_NOT_FOUND) size = length - std::min(index, length);
    if (index > length || size > length - index) throw IndexOutOfBoundsException();
    if (size == 0) return;
    Units& own = _units.write();
    own.erase(own.begin() + index, own.begin() + index + size);
}

String String::subString(Uint32 index, Uint32 n) const
{
    if (index >= size()) return String();
    return String(getChar16Data() + index, std::min(n, size() - index));
}

Uint32 String::find(Char16 c) const
{
    return find(0, c);
}

Uint32 String::find(Uint32 index, Char16 c) const
{
    if (index > size()) throw IndexOutOfBoundsException();
    const Char16* const begin = getChar16Data();
    const Char16* const end = begin + size();
    return position(begin, std::find(begin + index, end, c), end);
}

Uint32 String::find(const String& s) const
{
    if (s.size() == 0) return PEG_NOT_FOUND;
    const Char16* const begin = getChar16Data();
    const Char16* const end = begin + size();
    const Char16* const sought = s.getChar16Data();
    return position(begin, std::search(begin, end, sought, sought + s.size()), end);
}

Uint32 String::reverseFind(Char16 c) const
{
    const Char16* const data = getChar16Data();
    for (Uint32 i = size(); i > 0; --i)
        if (data[i - 1] == c) return i - 1;
    return PEG_NOT_FOUND;
}

void String::toLower()
{
    if (size() == 0) return;
    for (Char16& c : _units.write())
        c = lower(c);
}

void String::appendPrintf(const char* format, ...)
{
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(size < 0 ? 0 : size_t(size), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    append(String(text.data(), Uint32(text.size())));
}

int String::compare(const String& s1, const String& s2, Uint32 n)
{
    return compareUnits(s1, s2, n, asIs);
}

int String::compare(const String& s1, const String& s2)
{
    return compareUnits(s1, s2, PEG_NOT_FOUND, asIs);
}

int String::compareNoCase(const String& s1, const String& s2)
{
    return compareUnits(s1, s2, PEG_NOT_FOUND, lower);
}

Boolean String::equal(const String& s1, const String& s2)
{
    return equalUnits(s1, s2, asIs);
}

Boolean String::equalNoCase(const String& s1, const String& s2)
{
    return equalUnits(s1, s2, lower);
}

Boolean operator==(const String& str1, const String& str2)
{
    return String::equal(str1, str2);
}

Boolean operator==(const String& str1, const char* str2)
{
    return String::equal(str1, String(str2));
}

Boolean operator==(const char* str1, const String& str2)
{
    return String::equal(String(str1), str2);
}

Boolean operator!=(const String& str1, const String& str2)
{
    return !String::equal(str1, str2);
}

Boolean operator<(const String& str1, const String& str2)
{
    return String::compare(str1, str2) < 0;
}

Boolean operator<=(const String& str1, const String& str2)
{
    return String::compare(str1, str2) <= 0;
}

Boolean operator>(const String& str1, const String& str2)
{
    return String::compare(str1, str2) > 0;
}

Boolean operator>=(const String& str1, const String& str2)
{
    return String::compare(str1, str2) >= 0;
}

String operator+(const String& str1, const String& str2)
{
    String result(str1);
    return result.append(str2);
}

std::ostream& operator<<(std::ostream& os, const String& str)
{
    for (Uint32 i = 0; i < str.size(); ++i) {
        const Uint16 unit = str[i];
        if (unit > 0 && unit < 256) {
            os << static_cast<char>(unit);
        } else {
            char text[8];
            std::snprintf(text, sizeof text, "\\x%04X", unit);
            os << text;
        }
    }
    return os;
}

}  // namespace Pegasus
