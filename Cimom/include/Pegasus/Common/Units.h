// The storage of strings.
#pragma once

#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Counted.h>

namespace Pegasus::detail
{

/// UTF-16 units that end with a zero, in one piece of memory, which copies share until one of them
/// changes it.
class Units
{
public:
    void reset() noexcept { node_.reset(); }
    Uint32 size() const noexcept { return node_.get() ? node_->size : 0; }
    const Char16* data() const noexcept
    {
        static constexpr Char16 terminator;
        return node_.get() ? unitsOf(node_.get()) : &terminator;
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
        // The memory goes on with the units.
        void operator delete(void* node) { ::operator delete(node); }
    };
    static Char16* unitsOf(Node* node) noexcept { return reinterpret_cast<Char16*>(node + 1); }

    Counted<Node> node_;
};

}  // namespace Pegasus::detail
