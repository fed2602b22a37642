// The content of a CIMValue.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>

#include <memory>
#include <new>
#include <type_traits>
#include <variant>

namespace Pegasus
{

struct CIMValue::Content
{
    struct Null
    {
        Uint8 type;
        bool isArray;
        Uint32 arraySize;
    };
    /// What is too large for its place never changes, so copies share it.
    template <class T>
    using Held = std::conditional_t<sizeof(T) <= 16, T, std::shared_ptr<const T>>;
    template <class... T>
    using AnyOf = std::variant<Null, Held<T>..., Array<T>...>;

    // In the order of CIMType.
    AnyOf<Boolean, Uint8, Sint8, Uint16, Sint16, Uint32, Sint32, Uint64, Sint64, Real32, Real64,
          Char16, String, CIMDateTime, CIMObjectPath, CIMObject, CIMInstance>
        any;

    static Content& of(CIMValue& value)
    {
        return *std::launder(reinterpret_cast<Content*>(value.place_));
    }
    static const Content& of(const CIMValue& value)
    {
        return *std::launder(reinterpret_cast<const Content*>(value.place_));
    }

    template <class T>
    static const T& unboxed(const T& x)
    {
        return x;
    }
    template <class T>
    static const T& unboxed(const std::shared_ptr<const T>& x)
    {
        return *x;
    }
    /// Calls `use` with what the value holds: a Null, one of the types, or an array of it.
    template <class Use>
    static auto visit(const CIMValue& value, Use use)
    {
        return std::visit([&](const auto& held) { return use(unboxed(held)); }, of(value).any);
    }
};

static_assert(sizeof(CIMValue::Content) == sizeof(CIMValue));

}  // namespace Pegasus
