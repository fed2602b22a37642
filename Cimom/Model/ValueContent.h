// The content of a CIMValue.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>

#include <variant>

namespace Pegasus
{

struct CIMValue::Content
{
    /// Nothing (a null value), or one of the types, or an array of it.
    template <class... T>
    using AnyOf = std::variant<std::monostate, T..., Array<T>...>;

    CIMType type = CIMTYPE_BOOLEAN;
    bool isArray = false;
    Uint32 nullArraySize = 0;
    // In the order of CIMType.
    AnyOf<Boolean, Uint8, Sint8, Uint16, Sint16, Uint32, Sint32, Uint64, Sint64, Real32, Real64,
          Char16, String, CIMDateTime, CIMObjectPath, CIMObject, CIMInstance>
        any;

    static const Content& of(const CIMValue& value)
    {
        static const Content nullBoolean;
        return value.content_ ? *value.content_ : nullBoolean;
    }
};

}  // namespace Pegasus
