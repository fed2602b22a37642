// What must and what must not compile: a provider that builds here builds against any library with
// this interface. Everything is checked by the compiler.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Provider/ProviderException.h>

#include <cstdint>
#include <string>
#include <type_traits>

using namespace Pegasus;

namespace
{

template <class To, class From>
constexpr bool converts = std::is_convertible_v<From, To>;
template <class To, class From>
constexpr bool assigns = std::is_assignable_v<To&, From>;

// Names: text converts, but assigning a literal is ambiguous.
static_assert(converts<CIMName, const char*> && converts<CIMName, String>);
static_assert(converts<CIMNamespaceName, const char*> && converts<CIMNamespaceName, String>);
static_assert(assigns<CIMName, String> && !assigns<CIMName, const char*>);
static_assert(assigns<CIMNamespaceName, String> && !assigns<CIMNamespaceName, const char*>);
static_assert(!converts<String, CIMName>);

// Paths take text in both ways.
static_assert(converts<CIMObjectPath, String> && assigns<CIMObjectPath, const char*>);
static_assert(std::is_constructible_v<CIMObjectPath, const char*, const char*, const char*>);

// Values: the library's integers, not those of <cstdint>; characters become a boolean.
static_assert(converts<CIMValue, int> && converts<CIMValue, unsigned> && converts<CIMValue, short>);
static_assert(converts<CIMValue, Uint64> && converts<CIMValue, Sint64>);
static_assert(converts<CIMValue, const char*>);
static_assert(!converts<CIMValue, long> && !converts<CIMValue, std::uint64_t>);
static_assert(!converts<CIMValue, std::int64_t> && !converts<CIMValue, std::nullptr_t>);
static_assert(!converts<CIMValue, std::string>);

template <class T, class = void>
constexpr bool canGet = false;
template <class T>
constexpr bool canGet<T, std::void_t<decltype(std::declval<CIMValue>().get(std::declval<T&>()))>> =
    true;
static_assert(canGet<Uint64> && canGet<Array<CIMInstance>> && !canGet<std::uint64_t>);

// Strings know neither std::string nor its ways.
static_assert(!converts<String, std::string>);
static_assert(std::is_constructible_v<std::string, CString> && !converts<std::string, CString>);
static_assert(assigns<String, const char*>);

// Objects: an instance is an object; the way back is explicit.
static_assert(converts<CIMObject, CIMInstance> && !converts<CIMInstance, CIMObject>);
static_assert(std::is_constructible_v<CIMInstance, CIMObject>);
static_assert(
    std::is_same_v<CIMConstProperty, decltype(std::declval<const CIMInstance>().getProperty(0))>);
static_assert(std::is_same_v<CIMProperty, decltype(std::declval<CIMInstance&>().getProperty(0))>);

// Exceptions: the code of an operation's failure is its class's.
static_assert(!std::is_constructible_v<CIMOperationFailedException, CIMStatusCode, String>);
static_assert(!std::is_base_of_v<std::exception, Exception>);

}  // namespace
