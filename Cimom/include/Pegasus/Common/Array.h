// Arrays of the library's types.
#pragma once

#include <Pegasus/Common/Counted.h>
#include <Pegasus/Common/Exception.h>

#include <functional>
#include <vector>

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
        if (size > 0) write().assign(size, Item{x});
    }
    Array(const T* items, Uint32 size) { append(items, size); }

    void clear() { node_.reset(); }
    Uint32 size() const { return node_.get() ? Uint32(node_->items.size()) : 0; }
    /// Valid until the array changes.
    const T* getData() const
    {
        return node_.get() ? reinterpret_cast<const T*>(node_->items.data()) : nullptr;
    }
    T& operator[](Uint32 index)
    {
        if (index >= size()) detail::throwOutOfBounds();
        return write()[index].value;
    }
    const T& operator[](Uint32 index) const
    {
        if (index >= size()) detail::throwOutOfBounds();
        return node_->items[index].value;
    }

    // What is appended may be elements of this array: it is copied before anything changes.
    void append(const T& x)
    {
        const T* const data = getData();
        const bool isOwn = std::less_equal<>()(data, &x) && std::less<>()(&x, data + size());
        if (isOwn) return append(T(x));
        std::vector<Item>& items = write();
        if (items.capacity() == 0) items.reserve(4);
        items.push_back(reinterpret_cast<const Item&>(x));
    }
    void append(const T* x, Uint32 size)
    {
        const auto* const first = reinterpret_cast<const Item*>(x);
        const std::vector<Item> items(first, first + size);
        if (size > 0) write().insert(node_->items.end(), items.begin(), items.end());
    }
    void appendArray(const Array& x)
    {
        if (size() > 0) return append(x.getData(), x.size());
        *this = x;  // shares the elements
    }

private:
    // Wrapped, as a vector of bool would pack its elements.
    struct Item
    {
        T value;
    };
    struct Node
    {
        std::vector<Item> items;
        std::atomic<unsigned> references{1};
    };

    /// The items for writing, which copies do not share any more.
    std::vector<Item>& write()
    {
        if (!node_.isOnly()) node_.reset(node_.get() ? new Node{node_->items} : new Node());
        return node_->items;
    }

    detail::Counted<Node> node_;  // null when it is empty
};

}  // namespace Pegasus
