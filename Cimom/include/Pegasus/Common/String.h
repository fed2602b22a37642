// Strings of UTF-16 code units.
#pragma once

#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CopyOnWrite.h>
#include <Pegasus/Common/Linkage.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace Pegasus
{

/// UTF-8 text made from a String; it lives on when the String changes.
class PEGASUS_COMMON_LINKAGE CString
{
public:
    /// Holds a null pointer.
    CString() = default;
    operator const char*() const { return _text ? _text->c_str() : nullptr; }

private:
    explicit CString(std::string text);
    std::shared_ptr<const std::string> _text;
    friend class String;
};

/// A string of UTF-16 code units with value semantics.
///
/// 8-bit arguments are UTF-8. Text that is not throws Exception ("The byte sequence starting at
/// index N is not valid UTF-8 encoding: ..."); encoded surrogates, U+FFFE and U+FFFF become U+FFFD.
/// A null pointer throws the internal exception NullPointer. Positions past the end throw
/// IndexOutOfBoundsException unless said otherwise. Letter case means ASCII letters only.
class PEGASUS_COMMON_LINKAGE String
{
public:
    static const String EMPTY;

    String();
    String(const String& str);
    /// The first n units.
    String(const String& str, Uint32 n);
    String(const Char16* str);
    String(const Char16* str, Uint32 n);
    String(const char* str);
    /// n counts bytes.
    String(const char* str, Uint32 n);
    ~String();
    String& operator=(const String& str);
    String& assign(const String& str);
    String& assign(const Char16* str);
    String& assign(const Char16* str, Uint32 n);
    String& assign(const char* str);
    String& assign(const char* str, Uint32 n);

    void clear();
    void reserveCapacity(Uint32 capacity);
    Uint32 size() const;
    /// Ends with a zero unit. Valid until the string changes.
    const Char16* getChar16Data() const;
    /// The text in UTF-8.
    CString getCString() const;
    /// The position after the last unit is valid and holds zero; do not write there.
    Char16& operator[](Uint32 index);
    const Char16 operator[](Uint32 index) const;

    String& append(const Char16& c);
    String& append(const Char16* str, Uint32 n);
    String& append(const String& str);
    void remove(Uint32 index, Uint32 size = PEG_NOT_FOUND);
    /// What there is of the n units from index; never throws.
    String subString(Uint32 index, Uint32 n = PEG_NOT_FOUND) const;
    Uint32 find(Char16 c) const;
    Uint32 find(Uint32 index, Char16 c) const;
    /// Not found when s is empty.
    Uint32 find(const String& s) const;
    Uint32 reverseFind(Char16 c) const;
    void toLower();
    PEGASUS_FORMAT(2, 3)
    void appendPrintf(const char* format, ...);

    /// Compares at most n units, and as all compare functions up to the first zero unit only.
    static int compare(const String& s1, const String& s2, Uint32 n);
    static int compare(const String& s1, const String& s2);
    static int compareNoCase(const String& s1, const String& s2);
    static Boolean equal(const String& s1, const String& s2);
    static Boolean equalNoCase(const String& s1, const String& s2);

private:
    String& assignUnits(const Char16* first, const Char16* last);

    // The units and a terminating zero; nothing for the empty string.
    detail::CopyOnWrite<std::vector<Char16>> _units;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const String& str1, const String& str2);
PEGASUS_COMMON_LINKAGE Boolean operator==(const String& str1, const char* str2);
PEGASUS_COMMON_LINKAGE Boolean operator==(const char* str1, const String& str2);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const String& str1, const String& str2);
PEGASUS_COMMON_LINKAGE Boolean operator<(const String& str1, const String& str2);
PEGASUS_COMMON_LINKAGE Boolean operator<=(const String& str1, const String& str2);
PEGASUS_COMMON_LINKAGE Boolean operator>(const String& str1, const String& str2);
PEGASUS_COMMON_LINKAGE Boolean operator>=(const String& str1, const String& str2);
PEGASUS_COMMON_LINKAGE String operator+(const String& str1, const String& str2);
/// Writes units below 256 as one byte each and others as \xHHHH.
PEGASUS_COMMON_LINKAGE std::ostream& operator<<(std::ostream& os, const String& str);

}  // namespace Pegasus
