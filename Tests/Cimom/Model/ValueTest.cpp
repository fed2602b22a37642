// Values, paths and times where the recordings say nothing: edges, and several threads.
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

using namespace Pegasus;

namespace
{

TEST(Value, OfNoTypeIsAnError)
{
    EXPECT_THROW(CIMValue(CIMType(17), false), TypeMismatchException);
    EXPECT_THROW(CIMValue(CIMType(-1), true), TypeMismatchException);
    CIMValue value(Uint32(1));
    EXPECT_THROW(value.setNullValue(CIMType(99), false), TypeMismatchException);
    EXPECT_EQ(CIMValue(Uint32(1)), value);
}

TEST(Value, TheSourceOfAMoveKeepsItsValue)
{
    CIMValue value(String("x"));
    const CIMValue valueTarget(std::move(value));
    String text("x");
    const String textTarget(std::move(text));
    Array<String> array(1, String("x"));
    const Array<String> arrayTarget(std::move(array));
    EXPECT_EQ(valueTarget, value);
    EXPECT_EQ(textTarget, text);
    EXPECT_EQ(1U, array.size());
}

TEST(Value, EmbeddedInstancesAreSeparate)
{
    CIMInstance source(CIMName("X"));
    const CIMValue value(Array<CIMInstance>(1, source));
    source.addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    Array<CIMInstance> read;
    value.get(read);
    read[0].addProperty(CIMProperty(CIMName("Q"), CIMValue(true)));
    EXPECT_EQ(CIMValue(Array<CIMInstance>(1, CIMInstance(CIMName("X")))), value);
}

TEST(ObjectPath, TakesItsOwnParts)
{
    CIMObjectPath path(String("A.k=\"B.x=1,y=2\""));
    path.set(path.getKeyBindings()[0].getValue());
    EXPECT_EQ(String("B.x=1,y=2"), path.toString());
    path.setKeyBindings(path.getKeyBindings());
    EXPECT_EQ(String("B.x=1,y=2"), path.toString());
}

TEST(ObjectPath, NestsReferencesDeeply)
{
    CIMObjectPath path(String("A.k=1"));
    for (int depth = 0; depth < 8; ++depth) {
        Array<CIMKeyBinding> keys(
            1, CIMKeyBinding(CIMName("k"), path.toString(), CIMKeyBinding::REFERENCE));
        path = CIMObjectPath(String(), CIMNamespaceName(), CIMName("A"), keys);
    }
    EXPECT_TRUE(path.identical(CIMObjectPath(path.toString())));
    EXPECT_EQ(path.makeHashCode(), CIMObjectPath(path.toString()).makeHashCode());
}

TEST(DateTime, ResultsThatCannotBeWrittenAreErrors)
{
    const CIMDateTime day(86400000000ULL, true);
    const CIMDateTime longest(String("99999999235959.999999:000"));
    const CIMDateTime last(String("99991231235959.999999+000"));
    EXPECT_THROW(longest + day, DateTimeOutOfRangeException);
    EXPECT_THROW(last + day, DateTimeOutOfRangeException);
    EXPECT_THROW(longest * 2, DateTimeOutOfRangeException);
    EXPECT_THROW(day * ~Uint64(0), DateTimeOutOfRangeException);
    EXPECT_THROW(CIMDateTime() - day, DateTimeOutOfRangeException);
    EXPECT_THROW(day / Uint64(0), Exception);
    CIMDateTime target(last);
    EXPECT_THROW(target += day, DateTimeOutOfRangeException);
    EXPECT_EQ(last, target);
}

TEST(DateTime, NowIsNow)
{
    const CIMDateTime epoch(String("19700101000000.000000+000"));
    const Sint64 before = Sint64(time(nullptr)) * 1000000;
    const Sint64 now = CIMDateTime::getDifference(epoch, CIMDateTime::getCurrentDateTime());
    EXPECT_LE(before, now);
    EXPECT_GE(before + 60000000, now);
    EXPECT_EQ(CIMDateTime(String(CIMDateTime::getCurrentDateTime().toString())).isInterval(),
              false);
}

// Copies share storage; each thread may do with its own copy what it likes.
TEST(Sharing, CopiesMayBeUsedByDifferentThreads)
{
    const String text("shared");
    const Array<String> array(4, text);
    const CIMValue value(array);
    const CIMObjectPath path(String("root:A.a=\"B.x=1\",b=\"2\""));
    const Array<CIMKeyBinding> keys = path.getKeyBindings();
    const Exception exception(text);
    const auto work = [&] {
        for (int i = 0; i < 500; ++i) {
            String ownText(text);
            ownText.append(Char16('!'));
            Array<String> ownArray(array);
            ownArray[0] = ownText;
            CIMValue ownValue(value);
            ownValue.set(ownArray);
            CIMObjectPath ownPath(String(), CIMNamespaceName("root"), CIMName("A"), keys);
            EXPECT_TRUE(ownPath.identical(path));
            ownPath.setClassName(CIMName("C"));
            const Exception ownException(exception);
            EXPECT_EQ(text, ownException.getMessage());
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(String("shared"), text);
    EXPECT_EQ(CIMValue(array), value);
    EXPECT_EQ(String("root:A.a=\"B.x=1\",b=\"2\""), path.toString());
}

}  // namespace
