// Arrays of the library's types.
#pragma once

#include <Pegasus/Common/Counted.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

namespace Pegasus
{

/// An array with value semantics; but elements that are handles stand for the same objects in all
/// copies. Positions out of range throw IndexOutOfBoundsException.
template <class T>
class Array
{
public:
    Array() = default;
    /// Default constructed elements.
    Array(Uint32 size) : Array(size, T()) {}
    Array(Uint32 size, const T& x)
    {
        if (size == 0) return;
        reserve(size);
        std::uninitialized_fill_n(node_->items(), size, x);
        node_->size = size;
    }
    Array(const T* items, Uint32 size) { append(items, size); }

    void clear() { node_.reset(); }
    Uint32 size() const { return node_.get() ? node_->size : 0; }
    /// Valid until the array changes.
    const T* getData() const { return node_.get() ? node_->items() : nullptr; }
    T& operator[](Uint32 index)
    {
        if (index >= size()) detail::throwOutOfBounds();
        if (!node_.isOnly()) reserve(size());
        return node_->items()[index];
    }
    const T& operator[](Uint32 index) const
    {
        if (index >= size()) detail::throwOutOfBounds();
        return node_->items()[index];
    }

    // What is appended may be elements of this array.
    void append(const T& x) { append(&x, 1); }
    void append(const T* x, Uint32 size)
    {
        if (size == 0) return;
        const Uint32 before = this->size();
        if (!node_.isOnly() || before + size > node_->capacity) {
            const T* const data = getData();
            const bool isOwn = std::less_equal<>()(data, x) && std::less<>()(x, data + before);
            reserve(std::max({before + size, 2 * before, Uint32(4)}));
            if (isOwn) x = getData() + (x - data);
        }
        std::uninitialized_copy_n(x, size, node_->items() + before);
        node_->size += size;
    }
    void appendArray(const Array& x)
    {
        if (size() > 0) return append(x.getData(), x.size());
        *this = x;  // shares the elements
    }

private:
    /// The items follow it, in one piece of memory.
    struct alignas(std::max_align_t) Node
    {
        explicit Node(Uint32 room) : capacity(room) {}
        ~Node() { std::destroy_n(items(), size); }
        T* items() { return reinterpret_cast<T*>(this + 1); }
        void operator delete(void* node) { ::operator delete(node); }

        std::atomic<unsigned> references{1};
        Uint32 size = 0;
        Uint32 capacity;
    };

    /// Makes room for so many items, which copies do not share any more.
    void reserve(Uint32 room)
    {
        Node* const node = new (::operator new(sizeof(Node) + room * sizeof(T))) Node(room);
        const Uint32 size = this->size();
        if (node_.isOnly()) {
            // What the library's types are made of may be anywhere in memory.
            std::memcpy(static_cast<void*>(node->items()), node_->items(), size * sizeof(T));
            node_->size = 0;
        } else if (size > 0) {
            std::uninitialized_copy_n(node_->items(), size, node->items());
        }
        node->size = size;
        node_.reset(node);
    }

    detail::Counted<Node> node_;  // null when it is empty
};

}  // namespace Pegasus
