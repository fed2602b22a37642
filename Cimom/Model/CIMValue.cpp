#include "Model/ValueContent.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

namespace Pegasus
{

namespace
{

using Content = CIMValue::Content;
using Any = decltype(Content::any);

constexpr size_t typeCount = CIMTYPE_INSTANCE + 1;
static_assert(std::variant_size_v<Any> == 1 + 2 * typeCount);

/// The position of a type in the variant: behind Null the types, and behind them their arrays.
template <class Wanted, class... T>
constexpr size_t positionAmong(const std::variant<T...>*)
{
    size_t position = 0;
    static_cast<void>(((std::is_same_v<Wanted, T> || (++position, false)) || ...));
    return position;
}

template <class T>
constexpr size_t position = positionAmong<Content::Held<T>>(static_cast<const Any*>(nullptr));

constexpr bool isArrayAt(size_t position)
{
    return position > typeCount;
}

constexpr CIMType typeAt(size_t position)
{
    return CIMType((position - 1) % typeCount);
}

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
    if constexpr (std::is_same_v<T, Content::Null>) {
        return true;
    } else if constexpr (isObject<T>) {
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
    } else if constexpr (std::is_same_v<T, Content::Null>) {
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
Uint32 sizeOf(const Array<T>& x)
{
    return x.size();
}

template <class T>
Uint32 sizeOf(const T& x)
{
    if constexpr (std::is_same_v<T, Content::Null>) return x.arraySize;
    return 0;
}

}  // namespace

CIMValue::CIMValue()
{
    new (place_) Content{Content::Null{CIMTYPE_BOOLEAN, false, 0}};
}

CIMValue::CIMValue(const CIMValue& x)
{
    new (place_) Content(Content::of(x));
}

CIMValue& CIMValue::operator=(const CIMValue& x)
{
    Content::of(*this) = Content::of(x);
    return *this;
}

CIMValue::~CIMValue()
{
    Content::of(*this).~Content();
}

CIMValue::CIMValue(CIMType type, Boolean isArray, Uint32 arraySize) : CIMValue()
{
    setNullValue(type, isArray, arraySize);
}

Boolean CIMValue::isArray() const
{
    const Any& any = Content::of(*this).any;
    const auto* const null = std::get_if<Content::Null>(&any);
    return null ? null->isArray : isArrayAt(any.index());
}

Boolean CIMValue::isNull() const
{
    return std::holds_alternative<Content::Null>(Content::of(*this).any);
}

Uint32 CIMValue::getArraySize() const
{
    return Content::visit(*this, [](const auto& x) { return sizeOf(x); });
}

CIMType CIMValue::getType() const
{
    const Any& any = Content::of(*this).any;
    const auto* const null = std::get_if<Content::Null>(&any);
    return null ? CIMType(null->type) : typeAt(any.index());
}

void CIMValue::setNullValue(CIMType type, Boolean isArray, Uint32 arraySize)
{
    if (size_t(type) >= typeCount) throw TypeMismatchException();
    Content::of(*this).any = Content::Null{Uint8(type), isArray, isArray ? arraySize : 0};
}

Boolean CIMValue::equal(const CIMValue& x) const
{
    if (!typeCompatible(x) || isNull() != x.isNull()) return false;
    const Any& other = Content::of(x).any;
    return Content::visit(*this, [&](const auto& mine) {
        using Held = Content::Held<std::decay_t<decltype(mine)>>;
        return isSame(mine, Content::unboxed(std::get<Held>(other)));
    });
}

String CIMValue::toString() const
{
    const String text = Content::visit(*this, [](const auto& x) { return textOf(x); });
    const auto isPlain = [](Uint16 unit) { return unit != 0 && unit < 0x80; };
    const Char16* const units = text.getChar16Data();
    if (std::all_of(units, units + text.size(), isPlain)) return text;
    // By way of UTF-8, so that the text ends at a zero, and U+FFFD replaces what is no character.
    return String(static_cast<const char*>(text.getCString()));
}

template <class T>
void CIMValue::hold(const T& x)
{
    if constexpr (std::is_same_v<Content::Held<T>, T>) {
        new (place_) Content{own(x)};
    } else {
        new (place_) Content{std::make_shared<const T>(x)};
    }
}

template <class T>
void CIMValue::copyTo(T& x) const
{
    if (getType() != typeAt(position<T>) || isArray() != isArrayAt(position<T>))
        throw TypeMismatchException();
    if (const auto* const held = std::get_if<Content::Held<T>>(&Content::of(*this).any))
        x = own(Content::unboxed(*held));
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
