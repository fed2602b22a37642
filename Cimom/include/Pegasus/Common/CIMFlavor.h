// How a qualifier is inherited and overridden.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A set of qualifier flavors; combine them with `+`.
class PEGASUS_COMMON_LINKAGE CIMFlavor
{
public:
    /// The set NONE.
    CIMFlavor();
    CIMFlavor(const CIMFlavor&) = default;
    CIMFlavor& operator=(const CIMFlavor&) = default;

    void addFlavor(const CIMFlavor& flavor);
    void removeFlavor(const CIMFlavor& flavor);
    /// True when every flavor of the argument is set.
    Boolean hasFlavor(const CIMFlavor& flavor) const;
    Boolean equal(const CIMFlavor& flavor) const;
    CIMFlavor operator+(const CIMFlavor& flavor) const;
    /// The names of the flavors that are set, separated by blanks.
    String toString() const;

    static const CIMFlavor NONE;
    static const CIMFlavor OVERRIDABLE;
    static const CIMFlavor ENABLEOVERRIDE;  ///< the same as OVERRIDABLE
    static const CIMFlavor DISABLEOVERRIDE;
    static const CIMFlavor TOSUBCLASS;
    static const CIMFlavor RESTRICTED;
    static const CIMFlavor TOINSTANCE;
    static const CIMFlavor TRANSLATABLE;
    static const CIMFlavor DEFAULTS;       ///< OVERRIDABLE and TOSUBCLASS
    static const CIMFlavor TOSUBELEMENTS;  ///< the same as TOSUBCLASS

private:
    explicit constexpr CIMFlavor(Uint32 bits) : _bits(bits) {}
    Uint32 _bits;
};

}  // namespace Pegasus
