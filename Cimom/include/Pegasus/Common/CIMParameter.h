// Parameters of methods, as a class declares them.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

class CIMParameter;
class CIMConstParameter;

namespace detail
{

/// What a parameter answers, changeable or not.
class PEGASUS_COMMON_LINKAGE ParameterReader : public QualifiedReader
{
public:
    const CIMName& getName() const;
    CIMType getType() const;
    Boolean isArray() const;
    /// The declared size of a fixed-size array, else 0.
    Uint32 getArraySize() const;
    const CIMName& getReferenceClassName() const;
    Boolean identical(const CIMConstParameter& x) const;
    /// An independent deep copy.
    CIMParameter clone() const;

protected:
    ParameterReader() = default;
    ParameterReader(const CIMName& name, CIMType type, Boolean isArray, Uint32 arraySize,
                    const CIMName& referenceClassName);
};

}  // namespace detail

/// The declaration of a method's parameter. A handle.
class PEGASUS_COMMON_LINKAGE CIMParameter
    : public detail::Qualified<CIMParameter, detail::ParameterReader>
{
public:
    CIMParameter() = default;
    /// Throws UninitializedObjectException when the name is null, TypeMismatchException when a
    /// reference has no reference class or something else has one.
    CIMParameter(const CIMName& name, CIMType type, Boolean isArray = false, Uint32 arraySize = 0,
                 const CIMName& referenceClassName = CIMName())
        : Qualified(name, type, isArray, arraySize, referenceClassName)
    {
    }

    /// Throws Exception when the parameter sits in a method and the name differs in more than case.
    void setName(const CIMName& name);
};

/// A handle on a parameter that offers no setters.
class PEGASUS_COMMON_LINKAGE CIMConstParameter : public detail::ParameterReader
{
public:
    CIMConstParameter() = default;
    CIMConstParameter(const CIMParameter& x) : ParameterReader(x) {}
    CIMConstParameter(const CIMName& name, CIMType type, Boolean isArray = false,
                      Uint32 arraySize = 0, const CIMName& referenceClassName = CIMName())
        : ParameterReader(name, type, isArray, arraySize, referenceClassName)
    {
    }
};

}  // namespace Pegasus
