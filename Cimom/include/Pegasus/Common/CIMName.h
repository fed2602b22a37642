// Names of CIM elements and namespaces.
#pragma once

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

namespace detail
{

/// What names of both kinds have in common. They compare without case (ASCII).
template <class Name>
class NameText
{
public:
    const String& getString() const { return name_; }
    Boolean isNull() const { return name_.size() == 0; }
    void clear() { name_.clear(); }
    Boolean equal(const Name& name) const
    {
        // Most names that are compared differ in length or at the end, and most equal ones share
        // their text.
        const Uint32 size = name_.size();
        if (size != name.name_.size()) return false;
        const Char16* const a = name_.getChar16Data();
        const Char16* const b = name.name_.getChar16Data();
        return a == b || ((a[size - 1] | ' ') == (b[size - 1] | ' ') &&
                          String::equalNoCase(name_, name.name_));
    }

    friend Boolean operator==(const Name& name1, const Name& name2) { return name1.equal(name2); }
    friend Boolean operator!=(const Name& name1, const Name& name2) { return !name1.equal(name2); }

protected:
    String name_;
};

}  // namespace detail

/// The name of a class, property, method or the like; null by default. Every way in but the default
/// constructor throws InvalidNameException for what is not a legal name; an assignment that throws
/// changes nothing.
class CIMName : public detail::NameText<CIMName>
{
public:
    CIMName() = default;
    CIMName(const String& name);
    CIMName(const char* name) : CIMName(String(name)) {}
    CIMName& operator=(const String& name) { return *this = CIMName(name); }

    /// A letter, `_` or a unit from U+0080 to U+FFEF, then also digits.
    static Boolean legal(const String& name);
};

/// The name of a namespace such as "root/cimv2"; null by default. One leading slash is dropped.
/// Throws InvalidNamespaceNameException as CIMName throws.
class CIMNamespaceName : public detail::NameText<CIMNamespaceName>
{
public:
    CIMNamespaceName() = default;
    CIMNamespaceName(const String& name) { *this = name; }
    CIMNamespaceName(const char* name) : CIMNamespaceName(String(name)) {}
    CIMNamespaceName& operator=(const String& name);

    /// Legal names separated by slashes; one slash may lead.
    static Boolean legal(const String& name);
};

}  // namespace Pegasus
