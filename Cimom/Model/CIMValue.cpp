#include <Pegasus/Common/CIMValue.h>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>

#include <cstdio>
#include <type_traits>
#include <variant>

namespace Pegasus
{

namespace
{

/// Nothing (a null value), or one of the types, or an array of it.
template <class... T>
using AnyOf = std::variant<std::monostate, T..., Array<T>...>;

template <class T>
constexpr bool isObject = std::is_same_v<T, CIMObject> || std::is_same_v<T, CIMInstance>;

constexpr size_t typeCount = CIMTYPE_INSTANCE + 1;

}  // namespace

struct CIMValueRep
{
    // In the order of CIMType.
    using Content =
        AnyOf<Boolean, Uint8, Sint8, Uint16, Sint16, Uint32, Sint32, Uint64, Sint64, Real32, Real64,
              Char16, String, CIMDateTime, CIMObjectPath, CIMObject, CIMInstance>;

    CIMType type = CIMTYPE_BOOLEAN;
    bool isArray = false;
    Uint32 nullArraySize = 0;
    Content content;
};

namespace
{

using Rep = CIMValueRep;

static_assert(std::variant_size_v<Rep::Content> == 1 + 2 * typeCount);

const Rep& repOf(const std::shared_ptr<const Rep>& rep)
{
    static const Rep nullBoolean;
    return rep ? *rep : nullBoolean;
}

/// A copy that shares no object.
template <class T>
T own(const T& x)
{
    if constexpr (isObject<T>) {
        if (x.isUninitialized()) throw UninitializedObjectException();
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
std::shared_ptr<const Rep> makeRep(const T& x)
{
    const auto rep = std::make_shared<Rep>();
    rep->content.emplace<T>(own(x));
    const size_t position = rep->content.index() - 1;
    rep->type = CIMType(position % typeCount);
    rep->isArray = position >= typeCount;
    return rep;
}

std::shared_ptr<const Rep> makeNullRep(CIMType type, Boolean isArray, Uint32 arraySize)
{
    if (size_t(type) >= typeCount) throw TypeMismatchException();
    const auto rep = std::make_shared<Rep>();
    rep->type = type;
    rep->isArray = isArray;
    rep->nullArraySize = isArray ? arraySize : 0;
    return rep;
}

/// Throws TypeMismatchException; leaves x as it is when the value is null.
template <class T>
void copyTo(const Rep& rep, T& x)
{
    static const size_t position = Rep::Content(std::in_place_type<T>).index() - 1;
    if (size_t(rep.type) != position % typeCount || rep.isArray != (position >= typeCount)) {
        throw TypeMismatchException();
    }
    if (const T* const held = std::get_if<T>(&rep.content)) x = own(*held);
}

template <class T>
bool isSame(const T& x, const T& y)
{
    if constexpr (isObject<T>) {
        return x.identical(y);
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

bool isSame(std::monostate, std::monostate)
{
    return true;
}

template <class T>
String textOf(const T& x)
{
    if constexpr (std::is_same_v<T, Boolean>) {
        return String(x ? "TRUE" : "FALSE");
    } else if constexpr (std::is_integral_v<T>) {
        return String(std::to_string(x).c_str());
    } else if constexpr (std::is_floating_point_v<T>) {
        char text[40];
        std::snprintf(text, sizeof text, "%.16e", Real64(x));
        return String(text);
    } else if constexpr (std::is_same_v<T, Char16>) {
        // Half a pair reads as nothing.
        const Char16 none;
        return String(x >= 0xD800 && x < 0xDC00 ? &none : &x, 1);
    } else if constexpr (std::is_same_v<T, String>) {
        return x;
    } else if constexpr (isObject<T>) {
        return CIMObject(x).toString();
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

String textOf(std::monostate)
{
    return String();
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

CIMValue::CIMValue() = default;
CIMValue::CIMValue(const CIMValue& x) = default;
CIMValue::~CIMValue() = default;
CIMValue& CIMValue::operator=(const CIMValue& x) = default;

CIMValue::CIMValue(CIMType type, Boolean isArray, Uint32 arraySize)
    : _rep(makeNullRep(type, isArray, arraySize))
{
}

void CIMValue::assign(const CIMValue& x)
{
    *this = x;
}

void CIMValue::clear()
{
    _rep.reset();
}

Boolean CIMValue::typeCompatible(const CIMValue& x) const
{
    return getType() == x.getType() && isArray() == x.isArray();
}

Boolean CIMValue::isArray() const
{
    return repOf(_rep).isArray;
}

Boolean CIMValue::isNull() const
{
    return std::holds_alternative<std::monostate>(repOf(_rep).content);
}

Uint32 CIMValue::getArraySize() const
{
    const Rep& rep = repOf(_rep);
    return std::visit([&](const auto& x) { return sizeOf(x, rep.nullArraySize); }, rep.content);
}

CIMType CIMValue::getType() const
{
    return repOf(_rep).type;
}

void CIMValue::setNullValue(CIMType type, Boolean isArray, Uint32 arraySize)
{
    _rep = makeNullRep(type, isArray, arraySize);
}

Boolean CIMValue::equal(const CIMValue& x) const
{
    if (!typeCompatible(x) || isNull() != x.isNull()) return false;
    return std::visit(
        [&](const auto& content) {
            return isSame(content,
                          std::get<std::decay_t<decltype(content)>>(repOf(x._rep).content));
        },
        repOf(_rep).content);
}

String CIMValue::toString() const
{
    const String text = std::visit([](const auto& x) { return textOf(x); }, repOf(_rep).content);
    // By way of UTF-8: the text ends at a zero, and what is no character is replaced.
    return String(static_cast<const char*>(text.getCString()));
}

#define VALUE_OF(T, ARGUMENT)                                   \
    CIMValue::CIMValue(ARGUMENT x) : _rep(makeRep<T>(x)) {}     \
    void CIMValue::set(ARGUMENT x)                              \
    {                                                           \
        _rep = makeRep<T>(x);                                   \
    }                                                           \
    void CIMValue::get(T& x) const                              \
    {                                                           \
        copyTo<T>(repOf(_rep), x);                              \
    }                                                           \
    CIMValue::CIMValue(const Array<T>& x) : _rep(makeRep(x)) {} \
    void CIMValue::set(const Array<T>& x)                       \
    {                                                           \
        _rep = makeRep(x);                                      \
    }                                                           \
    void CIMValue::get(Array<T>& x) const                       \
    {                                                           \
        copyTo(repOf(_rep), x);                                 \
    }
VALUE_OF(Boolean, Boolean)
VALUE_OF(Uint8, Uint8)
VALUE_OF(Sint8, Sint8)
VALUE_OF(Uint16, Uint16)
VALUE_OF(Sint16, Sint16)
VALUE_OF(Uint32, Uint32)
VALUE_OF(Sint32, Sint32)
VALUE_OF(Uint64, Uint64)
VALUE_OF(Sint64, Sint64)
VALUE_OF(Real32, Real32)
VALUE_OF(Real64, Real64)
VALUE_OF(Char16, const Char16&)
VALUE_OF(String, const String&)
VALUE_OF(CIMDateTime, const CIMDateTime&)
VALUE_OF(CIMObjectPath, const CIMObjectPath&)
VALUE_OF(CIMObject, const CIMObject&)
VALUE_OF(CIMInstance, const CIMInstance&)
#undef VALUE_OF

Boolean operator==(const CIMValue& x, const CIMValue& y)
{
    return x.equal(y);
}

Boolean operator!=(const CIMValue& x, const CIMValue& y)
{
    return !x.equal(y);
}

}  // namespace Pegasus
