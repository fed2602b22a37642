// The members of Array, for the sources that instantiate it.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Exception.h>

#include <type_traits>
#include <vector>

namespace Pegasus
{

template <class T>
struct Array<T>::Items
{
    // A vector of bool would pack its elements, so Boolean is wrapped.
    struct Element
    {
        T value;
    };
    using Stored = std::conditional_t<std::is_same_v<T, bool>, Element, T>;

    static const Stored* store(const T* x) { return reinterpret_cast<const Stored*>(x); }
    T* data() { return reinterpret_cast<T*>(list.data()); }
    const T* data() const { return reinterpret_cast<const T*>(list.data()); }

    std::vector<Stored> list;
};

template <class T>
Array<T>::Array() = default;
template <class T>
Array<T>::Array(const Array& x) = default;
template <class T>
Array<T>::~Array() = default;
template <class T>
Array<T>& Array<T>::operator=(const Array& x) = default;

template <class T>
Array<T>::Array(Uint32 size)
{
    if (size > 0) _items.write().list.resize(size);
}

template <class T>
Array<T>::Array(Uint32 size, const T& x)
{
    grow(size, x);
}

template <class T>
Array<T>::Array(const T* items, Uint32 size)
{
    append(items, size);
}

template <class T>
void Array<T>::clear()
{
    _items.reset();
}

template <class T>
void Array<T>::reserveCapacity(Uint32 capacity)
{
    _items.write().list.reserve(capacity);
}

template <class T>
void Array<T>::grow(Uint32 size, const T& x)
{
    if (size == 0) return;
    const T copy(x);  // x may be an element
    _items.write().list.resize(size_t(this->size()) + size, *Items::store(&copy));
}

template <class T>
void Array<T>::swap(Array& x)
{
    _items.swap(x._items);
}

template <class T>
Uint32 Array<T>::size() const
{
    return _items.get() ? Uint32(_items.get()->list.size()) : 0;
}

template <class T>
Uint32 Array<T>::getCapacity() const
{
    return _items.get() ? Uint32(_items.get()->list.capacity()) : 0;
}

template <class T>
const T* Array<T>::getData() const
{
    return _items.get() ? _items.get()->data() : nullptr;
}

template <class T>
T& Array<T>::operator[](Uint32 index)
{
    if (index >= size()) throw IndexOutOfBoundsException();
    return _items.write().data()[index];
}

template <class T>
const T& Array<T>::operator[](Uint32 index) const
{
    if (index >= size()) throw IndexOutOfBoundsException();
    return _items.get()->data()[index];
}

template <class T>
void Array<T>::append(const T& x)
{
    insert(size(), &x, 1);
}

template <class T>
void Array<T>::append(const T* x, Uint32 size)
{
    insert(this->size(), x, size);
}

template <class T>
void Array<T>::appendArray(const Array& x)
{
    append(x.getData(), x.size());
}

template <class T>
void Array<T>::prepend(const T& x)
{
    insert(0, &x, 1);
}

template <class T>
void Array<T>::prepend(const T* x, Uint32 size)
{
    insert(0, x, size);
}

template <class T>
void Array<T>::insert(Uint32 index, const T& x)
{
    insert(index, &x, 1);
}

template <class T>
void Array<T>::insert(Uint32 index, const T* x, Uint32 size)
{
    if (index > this->size()) throw IndexOutOfBoundsException();
    if (size == 0) return;
    if (detail::isWithin(x, getData(), this->size())) {
        const std::vector<typename Items::Stored> copy(Items::store(x), Items::store(x) + size);
        return insert(index, reinterpret_cast<const T*>(copy.data()), size);
    }
    auto& list = _items.write().list;
    list.insert(list.begin() + index, Items::store(x), Items::store(x) + size);
}

template <class T>
void Array<T>::remove(Uint32 index)
{
    remove(index, 1);
}

template <class T>
void Array<T>::remove(Uint32 index, Uint32 size)
{
    if (index > this->size() || size > this->size() - index) throw IndexOutOfBoundsException();
    if (size == 0) return;
    auto& list = _items.write().list;
    list.erase(list.begin() + index, list.begin() + index + size);
}

}  // namespace Pegasus
