// What only the embedded library promises: misuse throws, and moves leave their source usable.
#include "Model/Elements.h"
#include "Model/Text.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include <gtest/gtest.h>

using namespace Pegasus;

namespace
{

TEST(Handle, ThrowsWhenUninitialized)
{
    const CIMInstance none;
    EXPECT_TRUE(CIMObject(none).isUninitialized());
    EXPECT_THROW(none.clone(), UninitializedObjectException);
    EXPECT_THROW(CIMObject(none).clone(), UninitializedObjectException);
    EXPECT_THROW(CIMInstance{CIMObject(none)}, DynamicCastFailedException);
    EXPECT_THROW(CIMValue{none}, UninitializedObjectException);
    EXPECT_THROW(CIMProperty().clone(), UninitializedObjectException);
    EXPECT_THROW(CIMConstProperty().getName(), UninitializedObjectException);
}

TEST(Handle, ShowsChangesThroughCopiesButNotClones)
{
    CIMProperty property(CIMName("P"), CIMValue(Uint8(1)));
    CIMInstance instance(CIMName("Sample"));
    instance.addProperty(property);
    const CIMInstance clone = instance.clone();
    property.setValue(CIMValue(Uint8(2)));
    CIMObject(instance).setPath(String("root:sample.K=1"));
    EXPECT_EQ(instance.getProperty(0).getValue(), CIMValue(Uint8(2)));
    EXPECT_EQ(instance.getPath().toString(), String("root:sample.K=1"));
    EXPECT_EQ(clone.getProperty(0).getValue(), CIMValue(Uint8(1)));
    EXPECT_EQ(clone.getPath().toString(), String("Sample"));
}

TEST(Handle, SharesPropertyOfAnInstanceThatWasBuiltFromAClass)
{
    const auto definition = std::make_shared<cimom::Class>();
    definition->path = CIMObjectPath("Sample");
    definition->properties.push_back(CIMProperty(CIMName("P"), CIMValue(Uint8(1))).shared());
    const auto build = [&] {
        return CIMClass(definition).buildInstance(false, false, CIMPropertyList());
    };
    CIMInstance instance = build();
    CIMProperty first = instance.getProperty(0), second = instance.getProperty(0);
    first.setValue(CIMValue(Uint8(2)));
    const CIMInstance clone = instance.clone();
    CIMInstance alike(CIMName("Sample"));
    alike.addProperty(CIMProperty(CIMName("P"), CIMValue(Uint8(2))));
    EXPECT_TRUE(clone.identical(alike));
    CIMInstance other(CIMName("Other"));
    other.addProperty(second);
    first.setValue(CIMValue(Uint8(3)));
    EXPECT_THROW(first.setValue(CIMValue(true)), TypeMismatchException);
    instance = CIMInstance();  // the handles go on
    EXPECT_EQ(second.getValue(), CIMValue(Uint8(3)));
    EXPECT_EQ(std::as_const(other).getProperty(0).getValue(), CIMValue(Uint8(3)));
    EXPECT_EQ(clone.getProperty(0).getValue(), CIMValue(Uint8(2)));
    EXPECT_EQ(build().getProperty(0).getValue(), CIMValue(Uint8(1)));
}

TEST(Handle, IsIndependentOfTheValueThatHoldsTheInstance)
{
    CIMInstance instance(CIMName("Sample"));
    instance.addProperty(CIMProperty(CIMName("P"), CIMValue(Uint8(1))));
    const CIMInstance original = instance.clone();
    const CIMValue embedded(instance);
    instance.getProperty(0).setValue(CIMValue(Uint8(2)));
    CIMInstance read;
    embedded.get(read);
    EXPECT_TRUE(read.identical(original));
    read.getProperty(0).setValue(CIMValue(Uint8(3)));
    EXPECT_EQ(embedded, CIMValue(original));
}

TEST(Handle, StaysUsableWhenMovedFrom)
{
    CIMInstance source(CIMName("Sample"));
    CIMInstance target(std::move(source));
    target.addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    EXPECT_EQ(source.getPropertyCount(), 1U);
    String text("text");
    const Array<String> array(1, std::move(text));
    EXPECT_EQ(array[0], text);
}

TEST(ObjectPath, RejectsTextBeyondTheLongest)
{
    const String longest = cimom::toString("A.k=\"" + std::string(65530, '\\') + "\"");
    EXPECT_EQ(CIMObjectPath(longest).getKeyBindings()[0].getValue().size(), 32765U);
    EXPECT_THROW(CIMObjectPath(longest + ","), MalformedObjectNameException);
}

TEST(ObjectPath, RejectsReferencesNestedTooDeep)
{
    CIMObjectPath path("A.k=1");
    const auto nest = [&path] {
        const CIMKeyBinding key("k", path.toString(), CIMKeyBinding::REFERENCE);
        path.setKeyBindings(Array<CIMKeyBinding>(1, key));
    };
    for (int level = 0; level < 8; ++level)
        nest();
    EXPECT_TRUE(path.identical(CIMObjectPath(path.toString())));
    nest();
    EXPECT_THROW(CIMObjectPath(path.toString()), MalformedObjectNameException);
}

TEST(PropertyList, FindsNamesInAnyCaseHoweverLong)
{
    Array<CIMName> names;
    for (int i = 0; i < 40; ++i) {
        names.append(cimom::toString("Name" + std::to_string(40 - i)));
        EXPECT_EQ(CIMPropertyList(names).contains("nAME9"), i > 30) << i;
        EXPECT_FALSE(CIMPropertyList(names).contains("Name"));
    }
    EXPECT_EQ(CIMPropertyList(names)[0], CIMName("Name40"));
}

TEST(Array, ChangesOneCopyAloneAndAppendsItsOwnElements)
{
    const Array<Uint32> original(2, 7);
    Array<Uint32> copy(original);
    copy[0] = 1;
    copy.append(copy[1]);
    copy.appendArray(copy);
    const Uint32 expected[] = {1, 7, 7, 1, 7, 7};
    EXPECT_TRUE(std::equal(expected, expected + 6, copy.getData(), copy.getData() + copy.size()));
    EXPECT_EQ(original[0], 7U);
    EXPECT_THROW(copy[6], IndexOutOfBoundsException);
    EXPECT_THROW(original[2], IndexOutOfBoundsException);
}

TEST(String, ChangesOneCopyAloneAndAppendsItsOwnParts)
{
    const String original("Abc");
    String copy(original);
    copy.append(copy).append(copy.getChar16Data() + 1, 2);
    EXPECT_EQ(copy, String("AbcAbcbc"));
    copy.toLower();
    EXPECT_EQ(copy, String("abcabcbc"));
    EXPECT_EQ(original, String("Abc"));
}

TEST(String, ThrowsBeyondItsEndAndForNull)
{
    const String text("abc");
    EXPECT_EQ(text[3], '\0');
    EXPECT_THROW(text[4], IndexOutOfBoundsException);
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), Exception);
}

TEST(String, ReplacesWhatIsNoCharacter)
{
    EXPECT_EQ(String("\xEF\xBF\xBE"), String("\xEF\xBF\xBD"));  // U+FFFE
    EXPECT_EQ(String("\xED\xB0\x80"), String("\xEF\xBF\xBD"));  // half of a pair
    const Char16 half(0xD800);
    EXPECT_STREQ(String(&half, 1).getCString(), "\xEF\xBF\xBD");
}

}  // namespace
