// Storage that the library's value classes share until one of them changes it.
#pragma once

#include <atomic>
#include <utility>

namespace Pegasus::detail
{

/// A pointer to a node that counts the pointers to it in `std::atomic<unsigned> references`, which
/// begins with 1, and ends with the last of them. Null by default. Different pointers may be
/// copied, changed and destroyed by different threads at once; one pointer may not, as with any
/// value.
template <class Node>
class Counted
{
public:
    Counted() noexcept = default;
    // No moves: the source of a move keeps its value, as everywhere in this library.
    Counted(const Counted& x) noexcept : node_(x.node_)
    {
        if (node_) node_->references.fetch_add(1, std::memory_order_relaxed);
    }
    Counted& operator=(const Counted& x) noexcept
    {
        Counted copy(x);
        std::swap(node_, copy.node_);
        return *this;
    }
    ~Counted() { reset(); }

    /// Points to a new node, which it takes over, or to none.
    void reset(Node* other = nullptr) noexcept
    {
        Node* const node = std::exchange(node_, other);
        if (node && node->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete node;
    }

    Node* get() const noexcept { return node_; }
    Node* operator->() const noexcept { return node_; }
    /// True when nobody else points to the node, which may be changed then.
    bool isOnly() const noexcept
    {
        return node_ && node_->references.load(std::memory_order_acquire) == 1;
    }

private:
    Node* node_ = nullptr;
};

}  // namespace Pegasus::detail
