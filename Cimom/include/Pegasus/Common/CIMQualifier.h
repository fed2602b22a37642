// Qualifiers, and what every element that carries qualifiers offers.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

class CIMQualifier;
class CIMConstQualifier;

namespace detail
{

/// What a qualifier answers, changeable or not.
class PEGASUS_COMMON_LINKAGE QualifierReader : public Handle
{
public:
    const CIMName& getName() const;
    CIMType getType() const;
    Boolean isArray() const;
    const CIMValue& getValue() const;
    const CIMFlavor& getFlavor() const;
    /// 1 when inherited from a superclass, else 0.
    Uint32 getPropagated() const;
    /// Same name (ignoring case), value, flavor and propagation.
    Boolean identical(const CIMConstQualifier& x) const;
    /// An independent deep copy.
    CIMQualifier clone() const;

protected:
    QualifierReader() = default;
    /// Throws UninitializedObjectException when the name is null.
    QualifierReader(const CIMName& name, const CIMValue& value, const CIMFlavor& flavor,
                    Boolean propagated);
};

}  // namespace detail

/// A qualifier: a named value with a flavor. A handle.
class PEGASUS_COMMON_LINKAGE CIMQualifier : public detail::QualifierReader
{
public:
    CIMQualifier() = default;
    /// Throws UninitializedObjectException when the name is null.
    CIMQualifier(const CIMName& name, const CIMValue& value,
                 const CIMFlavor& flavor = CIMFlavor(CIMFlavor::NONE), Boolean propagated = false)
        : QualifierReader(name, value, flavor, propagated)
    {
    }

    /// Throws Exception when the qualifier sits in a container and the name differs in more than
    /// case.
    void setName(const CIMName& name);
    /// Accepts a value of any type.
    void setValue(const CIMValue& value);
    /// Replaces the flavor.
    void setFlavor(const CIMFlavor& flavor);
    /// Takes these flavors away.
    void unsetFlavor(const CIMFlavor& flavor);
    void setPropagated(Boolean propagated);
};

/// A handle on a qualifier that offers no setters; made from any CIMQualifier.
class PEGASUS_COMMON_LINKAGE CIMConstQualifier : public detail::QualifierReader
{
public:
    CIMConstQualifier() = default;
    CIMConstQualifier(const CIMQualifier& x) : QualifierReader(x) {}
    CIMConstQualifier(const CIMName& name, const CIMValue& value,
                      const CIMFlavor& flavor = CIMFlavor(CIMFlavor::NONE),
                      Boolean propagated = false)
        : QualifierReader(name, value, flavor, propagated)
    {
    }
};

namespace detail
{

/// The qualifiers of an element, to read.
class PEGASUS_COMMON_LINKAGE QualifiedReader : public Handle
{
public:
    /// The position of the qualifier of that name (ignoring case), or PEG_NOT_FOUND.
    Uint32 findQualifier(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstQualifier getQualifier(Uint32 index) const;
    Uint32 getQualifierCount() const;

protected:
    QualifiedReader() = default;
    void insertQualifier(const CIMQualifier& x);
    CIMQualifier qualifierAt(Uint32 index) const;
    void eraseQualifier(Uint32 index);
};

/// The qualifiers of an element of class Self, to change.
template <class Self, class Reader>
class Qualified : public Reader
{
public:
    /// Stores the handle, not a copy. Throws AlreadyExistsException for a name that is there,
    /// UninitializedObjectException for an uninitialized qualifier.
    Self& addQualifier(const CIMQualifier& x)
    {
        this->insertQualifier(x);
        return static_cast<Self&>(*this);
    }
    using Reader::getQualifier;
    CIMQualifier getQualifier(Uint32 index) { return this->qualifierAt(index); }
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index) { this->eraseQualifier(index); }

protected:
    Qualified() = default;
    using Reader::Reader;
};

}  // namespace detail
}  // namespace Pegasus
