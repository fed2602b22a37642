#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <string>

using namespace Pegasus;

namespace
{

/// The elements in order, as text.
std::string listOf(const Array<Uint32>& array)
{
    std::string list;
    for (Uint32 i = 0; i < array.size(); ++i)
        list += std::to_string(array[i]) + ' ';
    return list;
}

Array<Uint32> upTo(Uint32 count)
{
    Array<Uint32> array;
    for (Uint32 i = 1; i <= count; ++i)
        array.append(i);
    return array;
}

TEST(Array, ChangesStayInOneCopy)
{
    const Array<Uint32> original = upTo(3);
    Array<Uint32> a(original);
    a.insert(1, 9);
    a.prepend(8);
    a.remove(4);
    Array<Uint32> b(original);
    b[0] = 7;
    b.grow(2, 5);
    Array<Uint32> c(original);
    c.swap(a);
    EXPECT_EQ("1 2 3 ", listOf(original));
    EXPECT_EQ("1 2 3 ", listOf(a));
    EXPECT_EQ("7 2 3 5 5 ", listOf(b));
    EXPECT_EQ("8 1 9 2 ", listOf(c));
}

TEST(Array, PositionsPastTheEndThrowAndChangeNothing)
{
    Array<Uint32> array = upTo(3);
    const Array<Uint32>& constant = array;
    EXPECT_THROW(array[3], IndexOutOfBoundsException);
    EXPECT_THROW(constant[3], IndexOutOfBoundsException);
    EXPECT_THROW(array.insert(4, 9), IndexOutOfBoundsException);
    EXPECT_THROW(array.remove(3), IndexOutOfBoundsException);
    EXPECT_THROW(array.remove(1, 3), IndexOutOfBoundsException);
    EXPECT_THROW(array.remove(1, PEG_NOT_FOUND), IndexOutOfBoundsException);
    EXPECT_THROW(Array<Uint32>()[0], IndexOutOfBoundsException);
    EXPECT_EQ("1 2 3 ", listOf(array));
}

TEST(Array, TakesItsOwnElements)
{
    Array<Uint32> array = upTo(3);
    array.reserveCapacity(array.size());
    array.append(array[0]);
    array.appendArray(array);
    array.insert(0, array.getData() + 1, 2);
    array.grow(2, array[1]);
    EXPECT_EQ("2 3 1 2 3 1 1 2 3 1 3 3 ", listOf(array));
}

TEST(Array, OfBooleansLiesInARow)
{
    const Boolean given[] = {true, false, true};
    Array<Boolean> array(given, 3);
    array[1] = true;
    EXPECT_TRUE(array.getData()[0] && array.getData()[1] && array.getData()[2]);
}

TEST(Array, BracesAreASizeAndAnElement)
{
    const Array<Uint32> array{2, 7};
    EXPECT_EQ("7 7 ", listOf(array));
}

TEST(Array, OfHandlesHoldsHandles)
{
    Array<CIMInstance> array(1, CIMInstance(CIMName("X")));
    const Array<CIMInstance> copy(array);
    array[0].addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    EXPECT_EQ(1U, copy[0].getPropertyCount());
}

// Changes are in the caller's array even where it is shared, but only if there is something to do.
TEST(Array, OfKeysIsSortedByThePathThatTakesIt)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("b"), String("1"), CIMKeyBinding::NUMERIC));
    keys.append(CIMKeyBinding(CIMName("A"), String("B.y=1,x=true"), CIMKeyBinding::REFERENCE));
    const Array<CIMKeyBinding> copy(keys);
    const CIMObjectPath path(String(), CIMNamespaceName("root"), CIMName("C"), keys);
    EXPECT_EQ(String("B.x=TRUE,y=1"), copy[0].getValue());
    EXPECT_EQ(copy.getData(), path.getKeyBindings().getData());
    keys.remove(0);
    EXPECT_EQ(String("root:C.A=\"B.x=TRUE,y=1\",b=1"), path.toString());
}

}  // namespace
