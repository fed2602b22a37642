// The storage of strings.
#pragma once

#include <Pegasus/Common/Char16.h>

#include <atomic>
#include <new>
#include <utility>

namespace Pegasus::detail
{

/// UTF-16 units that end with a zero, in one piece of memory, which copies share until one of them
/// changes it. Different copies may be read, written and destroyed by different threads at once.
class Units
{
public:
    Units() noexcept = default;
    Units(const Units& x) noexcept : _node(x._node)
    {
        if (_node) _node->references.fetch_add(1, std::memory_order_relaxed);
    }
    Units& operator=(const Units& x) noexcept
    {
        Units copy(x);
        std::swap(_node, copy._node);
        return *this;
    }
    ~Units() { reset(); }

    void reset() noexcept
    {
        Node* const node = std::exchange(_node, nullptr);
        if (node && node->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            ::operator delete(node);
    }

    Uint32 size() const noexcept { return _node ? _node->size : 0; }
    const Char16* data() const noexcept
    {
        static constexpr Char16 terminator;
        return _node ? unitsOf(_node) : &terminator;
    }

    /// Makes this copy the only one, of that size, and returns its units for writing. The first
    /// ones stay, further ones have no value yet. Null for size 0.
    Char16* resize(Uint32 size);

private:
    struct Node
    {
        std::atomic<unsigned> references;
        Uint32 size;
        Uint32 capacity;
    };
    static Char16* unitsOf(Node* node) noexcept { return reinterpret_cast<Char16*>(node + 1); }

    Node* _node = nullptr;
};

}  // namespace Pegasus::detail
