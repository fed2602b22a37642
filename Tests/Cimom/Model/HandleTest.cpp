// What only the embedded library promises: misuse throws, moves leave their source usable, and
// copies may go to other threads.
#include "Model/Text.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include <gtest/gtest.h>

#include <ctime>
#include <thread>

using namespace Pegasus;

namespace
{

TEST(Handle, UninitializedOnesThrow)
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

TEST(Handle, CopiesAliasAndClonesDoNot)
{
    CIMProperty property(CIMName("P"), CIMValue(Uint8(1)));
    CIMInstance instance(CIMName("Sample"));
    instance.addProperty(property);
    const CIMInstance clone = instance.clone();
    const CIMValue embedded(instance);
    property.setValue(CIMValue(Uint8(2)));
    CIMObject(instance).setPath(String("root:sample.K=1"));
    EXPECT_EQ(CIMValue(Uint8(2)), instance.getProperty(0).getValue());
    EXPECT_EQ(String("root:sample.K=1"), instance.getPath().toString());
    EXPECT_EQ(CIMValue(Uint8(1)), clone.getProperty(0).getValue());
    EXPECT_EQ(String("Sample"), clone.getPath().toString());
    CIMInstance out;
    embedded.get(out);
    EXPECT_TRUE(out.identical(clone));
    out.getProperty(0).setValue(CIMValue(Uint8(3)));
    EXPECT_EQ(CIMValue(clone), embedded);
}

TEST(Handle, TheSourceOfAMoveStaysUsable)
{
    CIMInstance source(CIMName("Sample"));
    CIMInstance target(std::move(source));
    target.addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    EXPECT_EQ(1U, source.getPropertyCount());
    String text("text");
    const Array<String> array(1, std::move(text));
    EXPECT_EQ(text, array[0]);
}

TEST(ObjectPath, TextsAndReferencesInsideOneAnotherAreBounded)
{
    const String longest = cimom::toString("A.k=\"" + std::string(65530, '\\') + "\"");
    EXPECT_EQ(32765U, CIMObjectPath(longest).getKeyBindings()[0].getValue().size());
    EXPECT_THROW(CIMObjectPath(longest + ","), MalformedObjectNameException);
    CIMObjectPath path("A.k=1");
    for (int level = 0; level < 8; ++level)
        path.setKeyBindings(
            Array<CIMKeyBinding>(1, CIMKeyBinding("k", path.toString(), CIMKeyBinding::REFERENCE)));
    EXPECT_TRUE(path.identical(CIMObjectPath(path.toString())));
    const CIMKeyBinding key("k", path.toString(), CIMKeyBinding::REFERENCE);
    path.setKeyBindings(Array<CIMKeyBinding>(1, key));
    EXPECT_THROW(CIMObjectPath(path.toString()), MalformedObjectNameException);
}

TEST(PropertyList, ALongOneIsSearchedAsAShortOne)
{
    Array<CIMName> names;
    for (int i = 0; i < 40; ++i) {
        names.append(cimom::toString("Name" + std::to_string(40 - i)));
        EXPECT_EQ(i > 30, CIMPropertyList(names).contains("nAME9")) << i;
        EXPECT_FALSE(CIMPropertyList(names).contains("Name"));
    }
    EXPECT_EQ(CIMName("Name40"), CIMPropertyList(names)[0]);
    names.append(CIMName());
    EXPECT_THROW(CIMPropertyList{names}, UninitializedObjectException);
}

TEST(Array, ChangesStayInOneCopyAndTakeItsOwnElements)
{
    const Array<Uint32> original(2, 7);
    Array<Uint32> copy(original);
    copy[0] = 1;
    copy.append(copy[1]);
    copy.appendArray(copy);
    const Uint32 expected[] = {1, 7, 7, 1, 7, 7};
    EXPECT_TRUE(std::equal(expected, expected + 6, copy.getData(), copy.getData() + copy.size()));
    EXPECT_EQ(7U, original[0]);
    EXPECT_THROW(copy[6], IndexOutOfBoundsException);
    EXPECT_THROW(original[2], IndexOutOfBoundsException);
}

TEST(String, ChangesStayInOneCopyAndTakeItsOwnParts)
{
    const String original("Abc");
    String copy(original);
    copy.append(copy).append(copy.getChar16Data() + 1, 2);
    EXPECT_EQ(String("AbcAbcbc"), copy);
    copy.toLower();
    copy.remove(3);
    EXPECT_EQ(String("abc"), copy);
    EXPECT_EQ(String("Abc"), original);
    EXPECT_EQ('\0', copy[3]);
    EXPECT_THROW(copy[4], IndexOutOfBoundsException);
    EXPECT_THROW(copy.remove(2, 2), IndexOutOfBoundsException);
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), Exception);
    EXPECT_EQ(String("\xEF\xBF\xBD"), String("\xEF\xBF\xBE")) << "U+FFFE is no character";
}

TEST(DateTime, TheCurrentTimeIsWrittenAndReadAsATimeStamp)
{
    const CIMDateTime now = CIMDateTime::getCurrentDateTime();
    constexpr Uint64 secondsTo1970 = 62167219200;  // from the beginning of year 0
    EXPECT_NEAR(double(now.toMicroSeconds() / 1000000 - secondsTo1970), double(std::time(nullptr)),
                2);
    EXPECT_TRUE(now.equal(CIMDateTime(now.toString())));
}

// Each thread has its own copies; that these share what they hold must not show.
TEST(Handle, ThreadsMayCopyOneObjectAndSortSharedKeys)
{
    Array<CIMKeyBinding> keys;
    for (const char* name : {"b", "A"})
        keys.append(CIMKeyBinding(CIMName(name), String("1"), CIMKeyBinding::NUMERIC));
    const CIMInstance shared(CIMName("Sample"));
    const auto work = [shared, keys] {
        for (int i = 0; i < 1000; ++i) {
            const CIMObject object = shared;
            EXPECT_EQ(0U, object.getPropertyCount());
            const CIMObjectPath path(String(), CIMNamespaceName(), object.getClassName(), keys);
            EXPECT_EQ(String("Sample.A=1,b=1"), path.toString());
            EXPECT_EQ(CIMName("b"), keys[0].getName());
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
}

}  // namespace
