#include <Pegasus/Common/Units.h>

#include <algorithm>
#include <new>

namespace Pegasus
{

Char16* detail::Units::resize(Uint32 size)
{
    if (size == 0) {
        reset();
        return nullptr;
    }
    const Uint32 before = this->size();
    if (!node_.isOnly() || node_->capacity < size) {
        // A text that grows is likely to grow again.
        const Uint32 capacity = before > 0 && size > before ? size + size / 2 : size;
        void* const memory = ::operator new(sizeof(Node) + (capacity + 1) * sizeof(Char16));
        Node* const node = new (memory) Node{{1}, size, capacity};
        std::copy(data(), data() + std::min(before, size), unitsOf(node));
        node_.reset(node);
    }
    node_->size = size;
    Char16* const units = unitsOf(node_.get());
    units[size] = Char16();
    return units;
}

}  // namespace Pegasus
