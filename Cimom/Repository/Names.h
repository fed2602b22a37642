// CIM names as keys of hash maps, and as plain text.
#pragma once

#include "Model/Utf8.h"

#include <Pegasus/Common/CIMName.h>

#include <cstddef>
#include <string>

namespace cimom
{

/// The text in UTF-8.
inline std::string toUtf8(const Pegasus::String& text)
{
    return toUtf8(text.getChar16Data(), text.size());
}

/// Hash and equality of CIMName or CIMNamespaceName without case, for unordered containers.
struct NoCase
{
    using Char = Pegasus::Uint16;

    static Char fold(Char c) { return c >= 'A' && c <= 'Z' ? static_cast<Char>(c + 32) : c; }

    template <class Name>
    std::size_t operator()(const Name& name) const
    {
        const Pegasus::String& text = name.getString();
        const Pegasus::Char16* const chars = text.getChar16Data();
        std::size_t hash = 14695981039346656037U;  // FNV-1a
        for (Pegasus::Uint32 i = 0; i < text.size(); ++i)
            hash = (hash ^ fold(chars[i])) * 1099511628211U;
        return hash;
    }

    template <class Name>
    bool operator()(const Name& a, const Name& b) const
    {
        return a.equal(b);
    }
};

}  // namespace cimom
