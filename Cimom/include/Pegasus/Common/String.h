// Strings of UTF-16 code units.
#pragma once

#include <Pegasus/Common/Units.h>

#include <memory>
#include <string>

namespace Pegasus
{

/// UTF-8 text made from a String; it lives on when the String changes.
class CString
{
public:
    /// Holds a null pointer.
    CString() = default;
    operator const char*() const { return text_ ? text_->c_str() : nullptr; }

private:
    explicit CString(std::string text) : text_(std::make_shared<const std::string>(std::move(text)))
    {
    }
    std::shared_ptr<const std::string> text_;
    friend class String;
};

/// A string of UTF-16 code units with value semantics.
///
/// 8-bit arguments are UTF-8. Text that is not throws Exception ("The byte sequence starting at
/// index N is not valid UTF-8 encoding: ..."); encoded surrogates, U+FFFE and U+FFFF become U+FFFD.
/// A null pointer throws the internal exception NullPointer. Positions past the end throw
/// IndexOutOfBoundsException unless stated otherwise. Letter case means ASCII letters only.
class String
{
public:
    static const String EMPTY;

    String() = default;
    /// The text up to the first zero.
    String(const Char16* str);
    String(const Char16* str, Uint32 n);
    String(const char* str);
    /// n counts bytes.
    String(const char* str, Uint32 n);

    void clear() { units_.reset(); }
    Uint32 size() const { return units_.size(); }
    /// Ends with a zero unit. Valid until the string changes.
    const Char16* getChar16Data() const { return units_.data(); }
    /// The text in UTF-8.
    CString getCString() const;
    /// The position after the last unit is valid and holds zero.
    const Char16 operator[](Uint32 index) const;

    String& append(const Char16& c) { return append(&c, 1); }
    String& append(const Char16* str, Uint32 n);
    String& append(const String& str) { return append(str.getChar16Data(), str.size()); }
    /// What there is of the n units from index; never throws.
    String subString(Uint32 index, Uint32 n = PEG_NOT_FOUND) const;
    Uint32 find(Char16 c) const { return find(0, c); }
    Uint32 find(Uint32 index, Char16 c) const;
    /// Not found when s is empty.
    Uint32 find(const String& s) const;
    void toLower();

    /// Negative, zero or positive; compares up to the first zero unit only.
    static int compareNoCase(const String& s1, const String& s2);
    static Boolean equal(const String& s1, const String& s2);
    static Boolean equalNoCase(const String& s1, const String& s2);

private:
    detail::Units units_;
};

inline Boolean operator==(const String& str1, const String& str2)
{
    return String::equal(str1, str2);
}
inline Boolean operator!=(const String& str1, const String& str2)
{
    return !String::equal(str1, str2);
}
inline String operator+(const String& str1, const String& str2)
{
    return String(str1).append(str2);
}

}  // namespace Pegasus
