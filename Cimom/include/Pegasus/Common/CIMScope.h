// What kinds of CIM elements a qualifier may be put on.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A set of element kinds; combine them with `+`.
class PEGASUS_COMMON_LINKAGE CIMScope
{
public:
    /// The set NONE.
    CIMScope();
    CIMScope(const CIMScope&) = default;
    CIMScope& operator=(const CIMScope&) = default;

    /// True when every kind of the argument is in this set.
    Boolean hasScope(const CIMScope& scope) const;
    void addScope(const CIMScope& scope);
    Boolean equal(const CIMScope& scope) const;
    CIMScope operator+(const CIMScope& scope) const;
    /// The names of the kinds, separated by blanks; ANY is spelled out.
    String toString() const;

    static const CIMScope NONE;
    static const CIMScope CLASS;
    static const CIMScope ASSOCIATION;
    static const CIMScope INDICATION;
    static const CIMScope PROPERTY;
    static const CIMScope REFERENCE;
    static const CIMScope METHOD;
    static const CIMScope PARAMETER;
    static const CIMScope ANY;

private:
    explicit constexpr CIMScope(Uint32 bits) : _bits(bits) {}
    Uint32 _bits;
};

}  // namespace Pegasus
