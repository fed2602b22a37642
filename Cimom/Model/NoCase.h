// Hash, equality and order of CIM names without case, for containers.
#pragma once

#include <Pegasus/Common/CIMName.h>

#include <cstddef>

namespace cimom
{

/// Hash and equality of CIMName or CIMNamespaceName without case, for unordered containers of names
/// that no client chooses.
struct NoCase
{
    template <class Name>
    std::size_t operator()(const Name& name) const
    {
        const Pegasus::String& text = name.getString();
        const Pegasus::Char16* const chars = text.getChar16Data();
        std::size_t hash = 14695981039346656037U;  // FNV-1a
        for (Pegasus::Uint32 i = 0; i < text.size(); ++i)
            hash = (hash ^ (chars[i] | 0x20U)) * 1099511628211U;  // the bit that letters differ in
        return hash;
    }

    template <class Name>
    bool operator()(const Name& a, const Name& b) const
    {
        return a.equal(b);
    }
};

/// The order of their texts without case, for what clients can fill: no choice of names makes it
/// slow.
struct NoCaseLess
{
    template <class Name>
    bool operator()(const Name& a, const Name& b) const
    {
        return Pegasus::String::compareNoCase(a.getString(), b.getString()) < 0;
    }
};

}  // namespace cimom
