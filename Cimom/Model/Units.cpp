#include <Pegasus/Common/Units.h>

#include <algorithm>

namespace Pegasus
{

Char16* detail::Units::resize(Uint32 size)
{
    if (size == 0) {
        reset();
        return nullptr;
    }
    const Uint32 before = this->size();
    if (!_node.isOnly() || _node->capacity < size) {
        // One that grows will grow further.
        const Uint32 capacity = before > 0 && size > before ? size + size / 2 : size;
        void* const memory = ::operator new(sizeof(Node) + (capacity + 1) * sizeof(Char16));
        Node* const node = new (memory) Node{{1}, size, capacity};
        std::copy(data(), data() + std::min(before, size), unitsOf(node));
        _node.reset(node);
    }
    _node->size = size;
    Char16* const units = unitsOf(_node.get());
    units[size] = Char16();
    return units;
}

}  // namespace Pegasus
