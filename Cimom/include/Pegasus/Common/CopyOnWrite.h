// Storage that the library's value classes share until one of them changes it.
#pragma once

#include <atomic>
#include <utility>

namespace Pegasus::detail
{

/// A value of type T that copies share and the first writer among several copies for itself. Empty
/// (null) when default constructed. Different copies may be read, written and destroyed by
/// different threads at once; one copy may not, as with any value.
template <class T>
class CopyOnWrite
{
public:
    CopyOnWrite() noexcept = default;
    explicit CopyOnWrite(T value) : _node(new Node{std::move(value)}) {}
    // No moves: the source of a move keeps its value, as everywhere in this library.
    CopyOnWrite(const CopyOnWrite& x) noexcept : _node(x._node)
    {
        if (_node) _node->references.fetch_add(1, std::memory_order_relaxed);
    }
    CopyOnWrite& operator=(const CopyOnWrite& x) noexcept
    {
        CopyOnWrite copy(x);
        std::swap(_node, copy._node);
        return *this;
    }
    ~CopyOnWrite() { reset(); }

    void reset() noexcept
    {
        Node* const node = std::exchange(_node, nullptr);
        if (node && node->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete node;
    }

    /// Null when empty.
    const T* get() const noexcept { return _node ? &_node->value : nullptr; }

    /// The value for writing: default constructed if there was none, a copy of its own if shared.
    T& write()
    {
        const bool isOwn = _node && _node->references.load(std::memory_order_acquire) == 1;
        if (!isOwn) *this = CopyOnWrite(_node ? _node->value : T());
        return _node->value;
    }

private:
    struct Node
    {
        T value;
        std::atomic<unsigned> references{1};
    };
    Node* _node = nullptr;
};

}  // namespace Pegasus::detail
