// What must and what must not compile: a provider that builds here builds against any library with
// this interface. The compiler checks all but the codes of exceptions.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Provider/ProviderException.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

using namespace Pegasus;

template <class To, class From>
constexpr bool converts = std::is_convertible_v<From, To>;

// Names take text, but assigning a literal is ambiguous.
static_assert(converts<CIMName, const char*> && converts<CIMNamespaceName, String>);
static_assert(std::is_assignable_v<CIMName&, String> &&
              !std::is_assignable_v<CIMName&, const char*>);
static_assert(std::is_constructible_v<CIMObjectPath, const char*, const char*, const char*>);

// Values: the library's integers, not those of <cstdint>; characters become a boolean.
static_assert(converts<CIMValue, int> && converts<CIMValue, Uint64> && converts<CIMValue, short>);
static_assert(converts<CIMValue, const char*> && !converts<CIMValue, std::string>);
static_assert(!converts<CIMValue, long> && !converts<CIMValue, std::uint64_t>);

// Strings know neither std::string nor its ways.
static_assert(!converts<String, std::string> && !converts<String, CIMName>);
static_assert(std::is_constructible_v<std::string, CString> && !converts<std::string, CString>);

// An instance is an object; the way back is explicit. What is constant stays so.
static_assert(converts<CIMObject, CIMInstance> && !converts<CIMInstance, CIMObject>);
static_assert(
    std::is_same_v<CIMConstProperty, decltype(std::declval<const CIMInstance>().getProperty(0))>);

// The code of an operation's failure is its class's.
static_assert(!std::is_constructible_v<CIMOperationFailedException, CIMStatusCode, String>);

TEST(ProviderException, HasTheStatusCodeOfItsClass)
{
    const CIMOperationFailedException failures[] = {
        CIMOperationFailedException("m"),  CIMAccessDeniedException("m"),
        CIMInvalidParameterException("m"), CIMObjectNotFoundException("m"),
        CIMNotSupportedException("m"),     CIMObjectAlreadyExistsException("m"),
        CIMPropertyNotFoundException("m"), CIMMethodNotFoundException("m")};
    const int codes[] = {1, 2, 4, 6, 7, 11, 12, 17};
    for (size_t i = 0; i < std::size(codes); ++i)
        EXPECT_EQ(failures[i].getCode(), codes[i]);
}
