// Values of CIM properties, parameters, qualifiers and return values.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>

#include <type_traits>

namespace Pegasus
{

class CIMInstance;
class CIMObject;

namespace detail
{

/// How a value is passed: numbers by value.
template <class T>
using Argument = std::conditional_t<std::is_arithmetic_v<T>, T, const T&>;

}  // namespace detail

/// A typed value, scalar or array, possibly null. Embedded objects and instances are cloned on the
/// way in and out.
///
/// Mind what converts: a pointer to characters becomes the boolean TRUE (write String("...")), and
/// std::uint64_t is ambiguous (write Uint64(...)).
class CIMValue
{
public:
    /// A null boolean.
    CIMValue();
    CIMValue(const CIMValue& x);
    CIMValue& operator=(const CIMValue& x);
    ~CIMValue();
    /// A null value. Throws TypeMismatchException for what is no type.
    CIMValue(CIMType type, Boolean isArray, Uint32 arraySize = 0);

    /// Same type and arrayness.
    Boolean typeCompatible(const CIMValue& x) const
    {
        return getType() == x.getType() && isArray() == x.isArray();
    }
    Boolean isArray() const;
    Boolean isNull() const;
    /// The number of elements; of a null array the size it was made with; of a scalar 0.
    Uint32 getArraySize() const;
    CIMType getType() const;
    void setNullValue(CIMType type, Boolean isArray, Uint32 arraySize = 0);
    /// Same type, arrayness and content; time stamps are compared as text.
    Boolean equal(const CIMValue& x) const;
    /// Array elements are each followed by a blank; null gives the empty string.
    String toString() const;

    // For every type T of values, and for arrays of it:
    //   CIMValue(T)  a value of the matching CIM type; uninitialized objects and instances throw
    //                UninitializedObjectException
    //   get(T&)      leaves the variable as it is when the value is null; throws
    //                TypeMismatchException for any other type, null or not
#define PEGASUS_CIM_VALUE_OF(NAME, TEXT, T) \
    CIMValue(detail::Argument<T> x);        \
    void get(T& x) const;                   \
    CIMValue(const Array<T>& x);            \
    void get(Array<T>& x) const;
    PEGASUS_CIM_TYPES(PEGASUS_CIM_VALUE_OF)
#undef PEGASUS_CIM_VALUE_OF

    struct Content;

private:
    template <class T>
    void hold(const T& x);
    template <class T>
    void copyTo(T& x) const;

    // The Content, in place: numbers and texts need no further memory.
    alignas(void*) unsigned char place_[24];
};

inline Boolean operator==(const CIMValue& x, const CIMValue& y)
{
    return x.equal(y);
}
inline Boolean operator!=(const CIMValue& x, const CIMValue& y)
{
    return !x.equal(y);
}

}  // namespace Pegasus
