// What any library with this interface promises: what compiles and what does not, which the
// compiler checks, the codes of exceptions, and what values, properties and instances refuse.
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

TEST(Value, IsReadIntoVariablesOfItsTypeOnlyUnlessItIsNull)
{
    CIMValue value(Uint32(5));
    const CIMValue copy(value);
    Uint32 number = 1;
    Sint32 other = 1;
    Array<Uint32> list;
    value.get(number);
    EXPECT_EQ(number, 5U);
    EXPECT_THROW(value.get(other), TypeMismatchException);
    EXPECT_THROW(value.get(list), TypeMismatchException);
    value.setNullValue(CIMTYPE_SINT32, false);
    value.get(other);
    EXPECT_EQ(other, 1);
    EXPECT_THROW(value.get(number), TypeMismatchException);
    EXPECT_EQ(copy, CIMValue(Uint32(5)));
}

TEST(Property, RejectsWhatDoesNotFitItsDeclaration)
{
    const CIMValue two(Array<Uint8>(2, 1)), number(Uint32(5));
    const CIMValue references(CIMTYPE_REFERENCE, true);
    EXPECT_NO_THROW(CIMProperty(CIMName("P"), two, 2));
    EXPECT_THROW(CIMProperty(CIMName("P"), two, 3), TypeMismatchException);
    EXPECT_THROW(CIMProperty(CIMName("P"), number, 1), TypeMismatchException);
    EXPECT_THROW(CIMProperty(CIMName("P"), number, 0, CIMName("C")), TypeMismatchException);
    EXPECT_THROW(CIMProperty(CIMName("P"), references), TypeMismatchException);
    EXPECT_THROW(CIMProperty(CIMName(), number), UninitializedObjectException);
}

TEST(Property, TakesValuesOfItsTypeOnly)
{
    CIMProperty property(CIMName("P"), CIMValue(Uint32(5)));
    EXPECT_THROW(property.setValue(CIMValue(Sint32(6))), TypeMismatchException);
    EXPECT_THROW(property.setValue(CIMValue(CIMTYPE_STRING, false)), TypeMismatchException);
    EXPECT_THROW(property.setValue(CIMValue(Array<Uint32>(1, 6))), TypeMismatchException);
    EXPECT_EQ(property.getValue(), CIMValue(Uint32(5)));
    property.setValue(CIMValue(CIMTYPE_UINT32, false));
    EXPECT_TRUE(property.getValue().isNull());
}

TEST(Instance, RejectsPathsOfOtherClassesAndPropertiesThatItHas)
{
    CIMInstance instance(CIMName("A"));
    EXPECT_THROW(instance.setPath(CIMObjectPath("root:B.k=1")), TypeMismatchException);
    EXPECT_THROW(instance.setPath(CIMObjectPath()), UninitializedObjectException);
    instance.addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    EXPECT_THROW(instance.addProperty(CIMProperty(CIMName("p"), CIMValue(true))),
                 AlreadyExistsException);
    EXPECT_EQ(instance.findProperty(CIMName("p")), 0U);
    EXPECT_EQ(instance.findProperty(CIMName("q")), PEG_NOT_FOUND);
    EXPECT_THROW(instance.getProperty(1), IndexOutOfBoundsException);
    EXPECT_THROW(CIMKeyBinding(CIMName("K"), CIMValue(instance)), TypeMismatchException);
}
