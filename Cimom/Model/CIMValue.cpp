#include "Model/ValueContent.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

namespace Pegasus
{

namespace
{

using Any = decltype(CIMValue::Content::any);

constexpr size_t typeCount = CIMTYPE_INSTANCE + 1;
static_assert(std::variant_size_v<Any> == 1 + 2 * typeCount);

/// The position of a type among the types, and behind them their arrays.
template <class Wanted, class... T>
constexpr size_t positionAmong(const std::variant<std::monostate, T...>*)
{
    size_t position = 0;
    static_cast<void>(((std::is_same_v<Wanted, T> || (++position, false)) || ...));
    return position;
}

template <class T>
constexpr size_t position = positionAmong<T>(static_cast<const Any*>(nullptr));

template <class T>
constexpr bool isObject = std::is_same_v<T, CIMObject> || std::is_same_v<T, CIMInstance>;

/// A copy that shares no object.
template <class T>
T own(const T& x)
{
    if constexpr (isObject<T>) {
        return x.clone();
    } else {
        return x;
    }
}

template <class T>
Array<T> own(const Array<T>& x)
{
    Array<T> copy(x);
    if constexpr (isObject<T>) {
        for (Uint32 i = 0; i < copy.size(); ++i)
            copy[i] = own(x[i]);
    }
    return copy;
}

template <class T>
bool isSame(const T& x, const T& y)
{
    if constexpr (isObject<T>) {
        return CIMInstance(x).identical(CIMInstance(y));
    } else if constexpr (std::is_same_v<T, CIMDateTime>) {
        return x.toString() == y.toString();
    } else {
        return x == y;
    }
}

template <class T>
bool isSame(const Array<T>& x, const Array<T>& y)
{
    bool same = x.size() == y.size();
    for (Uint32 i = 0; same && i < x.size(); ++i)
        same = isSame(x[i], y[i]);
    return same;
}

template <class T>
String textOf(const T& x)
{
    if constexpr (std::is_same_v<T, Boolean>) {
        return x ? "TRUE" : "FALSE";
    } else if constexpr (std::is_integral_v<T>) {
        return std::to_string(x).c_str();
    } else if constexpr (std::is_floating_point_v<T>) {
        char text[40];
        std::snprintf(text, sizeof text, "%.16e", Real64(x));
        return text;
    } else if constexpr (std::is_same_v<T, Char16>) {
        // The first half of a surrogate pair gives a zero.
        const Char16 none;
        return String(x >= 0xD800 && x < 0xDC00 ? &none : &x, 1);
    } else if constexpr (std::is_same_v<T, String>) {
        return x;
    } else if constexpr (isObject<T>) {
        return "instance of " + x.getClassName().getString();
    } else if constexpr (std::is_same_v<T, std::monostate>) {
        return String();
    } else {
        return x.toString();
    }
}

template <class T>
String textOf(const Array<T>& x)
{
    String text;
    for (Uint32 i = 0; i < x.size(); ++i)
        text.append(textOf(x[i])).append(Char16(' '));
    return text;
}

template <class T>
Uint32 sizeOf(const Array<T>& x, Uint32)
{
    return x.size();
}

template <class T>
Uint32 sizeOf(const T&, Uint32 nullArraySize)
{
    return nullArraySize;
}

}  // namespace

CIMValue::CIMValue(CIMType type, Boolean isArray, Uint32 arraySize)
{
    setNullValue(type, isArray, arraySize);
}

Boolean CIMValue::isArray() const
{
    return Content::of(*this).isArray;
}

Boolean CIMValue::isNull() const
{
    return std::holds_alternative<std::monostate>(Content::of(*this).any);
}

Uint32 CIMValue::getArraySize() const
{
    const Content& content = Content::of(*this);
    return std::visit([&](const auto& x) { return sizeOf(x, content.nullArraySize); }, content.any);
}

CIMType CIMValue::getType() const
{
    return Content::of(*this).type;
}

void CIMValue::setNullValue(CIMType type, Boolean isArray, Uint32 arraySize)
{
    if (size_t(type) >= typeCount) throw TypeMismatchException();
    content_ = std::make_shared<const Content>(Content{type, isArray, isArray ? arraySize : 0, {}});
}

Boolean CIMValue::equal(const CIMValue& x) const
{
    if (!typeCompatible(x) || isNull() != x.isNull()) return false;
    const Any& other = Content::of(x).any;
    return std::visit(
        [&](const auto& mine) {
            return isSame(mine, std::get<std::decay_t<decltype(mine)>>(other));
        },
        Content::of(*this).any);
}

String CIMValue::toString() const
{
    const String text = std::visit([](const auto& x) { return textOf(x); }, Content::of(*this).any);
    const auto isPlain = [](Uint16 unit) { return unit != 0 && unit < 0x80; };
    const Char16* const units = text.getChar16Data();
    if (std::all_of(units, units + text.size(), isPlain)) return text;
    // By way of UTF-8, so that the text ends at a zero, and U+FFFD replaces what is no character.
    return String(static_cast<const char*>(text.getCString()));
}

template <class T>
void CIMValue::hold(const T& x)
{
    content_ = std::make_shared<const Content>(Content{CIMType(position<T> % typeCount),
                                                       position<T> >= typeCount, 0,
                                                       Any(std::in_place_type<T>, own(x))});
}

template <class T>
void CIMValue::copyTo(T& x) const
{
    const Content& content = Content::of(*this);
    if (size_t(content.type) != position<T> % typeCount ||
        content.isArray != (position<T> >= typeCount)) {
        throw TypeMismatchException();
    }
    if (const T* const held = std::get_if<T>(&content.any)) x = own(*held);
}

#define VALUE_OF(NAME, TEXT, T)               \
    CIMValue::CIMValue(detail::Argument<T> x) \
    {                                         \
        hold<T>(x);                           \
    }                                         \
    CIMValue::CIMValue(const Array<T>& x)     \
    {                                         \
        hold(x);                              \
    }                                         \
    void CIMValue::get(T& x) const            \
    {                                         \
        copyTo(x);                            \
    }                                         \
    void CIMValue::get(Array<T>& x) const     \
    {                                         \
        copyTo(x);                            \
    }
PEGASUS_CIM_TYPES(VALUE_OF)
#undef VALUE_OF

}  // namespace Pegasus
