// Qualifier declarations (qualifier types).
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

class CIMQualifierDecl;
class CIMConstQualifierDecl;

namespace detail
{

/// What a qualifier declaration answers, changeable or not.
class PEGASUS_COMMON_LINKAGE QualifierDeclReader : public Handle
{
public:
    const CIMName& getName() const;
    CIMType getType() const;
    Boolean isArray() const;
    /// The default value.
    const CIMValue& getValue() const;
    const CIMScope& getScope() const;
    const CIMFlavor& getFlavor() const;
    Uint32 getArraySize() const;
    Boolean identical(const CIMConstQualifierDecl& x) const;
    /// An independent deep copy.
    CIMQualifierDecl clone() const;

protected:
    QualifierDeclReader() = default;
    /// Throws UninitializedObjectException when the name is null.
    QualifierDeclReader(const CIMName& name, const CIMValue& value, const CIMScope& scope,
                        const CIMFlavor& flavor, Uint32 arraySize);
};

}  // namespace detail

/// A qualifier declaration: type, default value, scope and flavor. A handle.
class PEGASUS_COMMON_LINKAGE CIMQualifierDecl : public detail::QualifierDeclReader
{
public:
    CIMQualifierDecl() = default;
    CIMQualifierDecl(const CIMName& name, const CIMValue& value, const CIMScope& scope,
                     const CIMFlavor& flavor = CIMFlavor(CIMFlavor::DEFAULTS), Uint32 arraySize = 0)
        : QualifierDeclReader(name, value, scope, flavor, arraySize)
    {
    }

    void setName(const CIMName& name);
    void setValue(const CIMValue& value);
};

/// A handle on a qualifier declaration that offers no setters.
class PEGASUS_COMMON_LINKAGE CIMConstQualifierDecl : public detail::QualifierDeclReader
{
public:
    CIMConstQualifierDecl() = default;
    CIMConstQualifierDecl(const CIMQualifierDecl& x) : QualifierDeclReader(x) {}
    CIMConstQualifierDecl(const CIMName& name, const CIMValue& value, const CIMScope& scope,
                          const CIMFlavor& flavor = CIMFlavor(CIMFlavor::DEFAULTS),
                          Uint32 arraySize = 0)
        : QualifierDeclReader(name, value, scope, flavor, arraySize)
    {
    }
};

}  // namespace Pegasus
