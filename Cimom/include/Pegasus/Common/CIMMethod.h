// Methods of classes.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

class CIMMethod;
class CIMConstMethod;

namespace detail
{

/// What a method answers, changeable or not.
class PEGASUS_COMMON_LINKAGE MethodReader : public QualifiedReader
{
public:
    const CIMName& getName() const;
    /// The type of the return value.
    CIMType getType() const;
    const CIMName& getClassOrigin() const;
    Boolean getPropagated() const;
    /// The position of the parameter of that name (ignoring case), or PEG_NOT_FOUND.
    Uint32 findParameter(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstParameter getParameter(Uint32 index) const;
    Uint32 getParameterCount() const;
    Boolean identical(const CIMConstMethod& x) const;
    /// An independent deep copy.
    CIMMethod clone() const;

protected:
    MethodReader() = default;
    MethodReader(const CIMName& name, CIMType type, const CIMName& classOrigin, Boolean propagated);
};

}  // namespace detail

/// The declaration of a method. A handle.
class PEGASUS_COMMON_LINKAGE CIMMethod : public detail::Qualified<CIMMethod, detail::MethodReader>
{
public:
    CIMMethod() = default;
    /// Throws UninitializedObjectException when the name is null.
    CIMMethod(const CIMName& name, CIMType type, const CIMName& classOrigin = CIMName(),
              Boolean propagated = false)
        : Qualified(name, type, classOrigin, propagated)
    {
    }

    /// Throws Exception when the method sits in a class and the name differs in more than case.
    void setName(const CIMName& name);
    void setType(CIMType type);
    void setClassOrigin(const CIMName& classOrigin);
    void setPropagated(Boolean propagated);

    /// Stores the handle, not a copy. Throws AlreadyExistsException for a name that is there,
    /// UninitializedObjectException for an uninitialized parameter.
    CIMMethod& addParameter(const CIMParameter& x);
    using MethodReader::getParameter;
    CIMParameter getParameter(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeParameter(Uint32 index);
};

/// A handle on a method that offers no setters.
class PEGASUS_COMMON_LINKAGE CIMConstMethod : public detail::MethodReader
{
public:
    CIMConstMethod() = default;
    CIMConstMethod(const CIMMethod& x) : MethodReader(x) {}
    CIMConstMethod(const CIMName& name, CIMType type, const CIMName& classOrigin = CIMName(),
                   Boolean propagated = false)
        : MethodReader(name, type, classOrigin, propagated)
    {
    }
};

}  // namespace Pegasus
