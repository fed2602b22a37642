// Arrays of the library's types.
#pragma once

#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CopyOnWrite.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// An array with value semantics; but elements that are handles stand for the same objects in all
/// copies. Its members are defined in the library, for the library's own types: the basic types,
/// String, CIMName, CIMNamespaceName, CIMKeyBinding, CIMObjectPath, CIMDateTime, CIMValue,
/// CIMQualifier, CIMQualifierDecl, CIMProperty, CIMParameter, CIMMethod, CIMInstance, CIMClass,
/// CIMObject and CIMParamValue. Positions out of range throw IndexOutOfBoundsException.
template <class T>
class PEGASUS_COMMON_LINKAGE Array
{
public:
    Array();
    Array(const Array& x);
    /// Default constructed elements.
    Array(Uint32 size);
    Array(Uint32 size, const T& x);
    Array(const T* items, Uint32 size);
    ~Array();
    Array& operator=(const Array& x);

    void clear();
    void reserveCapacity(Uint32 capacity);
    /// Adds `size` copies of x.
    void grow(Uint32 size, const T& x);
    void swap(Array& x);
    Uint32 size() const;
    Uint32 getCapacity() const;
    /// Valid until the array changes.
    const T* getData() const;
    T& operator[](Uint32 index);
    const T& operator[](Uint32 index) const;

    void append(const T& x);
    void append(const T* x, Uint32 size);
    void appendArray(const Array& x);
    void prepend(const T& x);
    void prepend(const T* x, Uint32 size);
    /// Before the element at index; the size is the end.
    void insert(Uint32 index, const T& x);
    void insert(Uint32 index, const T* x, Uint32 size);
    void remove(Uint32 index);
    void remove(Uint32 index, Uint32 size);

private:
    struct Items;
    detail::CopyOnWrite<Items> _items;
};

}  // namespace Pegasus
