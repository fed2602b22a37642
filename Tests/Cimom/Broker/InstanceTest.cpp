// Operations on one instance that a provider serves, and its properties.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class InstanceOperations : public BrokerTest
{
protected:
    InstanceOperations() : level(CIMName("T_Leaf"))
    {
        level.setPath(leaf);
        level.addProperty(CIMProperty(CIMName("Level"), CIMValue(Uint16(3))));
    }

    const CIMObjectPath leaf = CIMObjectPath("T_Leaf.Id=1");
    CIMInstance level;  ///< of that path, with a Level of 3
};

TEST_F(InstanceOperations, GetHandsOverClassAndKeysAsTyped)
{
    const CIMObjectPath path("T_LEAF.Bogus=TRUE,id=5");
    EXPECT_EQ(text(broker->getInstance(me, "Root/test", path, {})), "T_LEAF.Id=1{}");
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"Leaf getInstance //here/Root/test:T_LEAF.Bogus=TRUE,id=5 by me"});
}

TEST_F(InstanceOperations, GetRejectsUnknownClassAndNamespace)
{
    const CIMObjectPath unknown("T_Nothing.Id=1");
    EXPECT_EQ(errorOf([&] { broker->getInstance(me, test, unknown, {}); }),
              "CIM_ERR_INVALID_CLASS: T_Nothing");
    EXPECT_EQ(errorOf([&] { broker->getInstance(me, "root/nope", leaf, {}); }),
              "CIM_ERR_INVALID_NAMESPACE: root/nope");
}

TEST_F(InstanceOperations, GetReturnsThePathWithoutHostAndNamespace)
{
    scripted::provider("Leaf").onGetInstance = [&](InstanceResponseHandler& handler) {
        level.setPath(String("//far/root/other:T_Leaf.Id=1"));
        handler.deliver(level);
        handler.complete();
    };
    EXPECT_EQ(text(broker->getInstance(me, test, leaf, {})), "T_Leaf.Id=1{Level:uint16=3}");
}

TEST_F(InstanceOperations, CreateHandsOverTheInstanceAndReturnsItsPath)
{
    scripted::provider("Leaf").onCreateInstance = [](ObjectPathResponseHandler& handler) {
        handler.deliver(CIMObjectPath("//far/root/other:T_Leaf.Id=9"));
        handler.complete();
    };
    level.setPath(String("T_Leaf"));
    EXPECT_EQ(text(broker->createInstance(me, test, level)), "T_Leaf.Id=9");
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"Leaf createInstance //here/root/test:T_Leaf T_Leaf{Level:uint16=3} by me"});
}

TEST_F(InstanceOperations, ModifyHandsOverTheInstanceAndTheListWithoutRepetitions)
{
    Array<CIMName> names;
    for (const char* name : {"level", "Nope", "LEVEL"})
        names.append(CIMName(name));
    broker->modifyInstance(me, test, level, true, CIMPropertyList(names));
    broker->modifyInstance(me, test, level, false, CIMPropertyList());
    EXPECT_EQ(
        scripted::takeCalls(),
        (Lines{"Leaf modifyInstance //here/root/test:T_Leaf.Id=1 T_Leaf.Id=1{Level:uint16=3} "
               "IncludeQualifiers PropertyList=[level Nope] by me",
               "Leaf modifyInstance //here/root/test:T_Leaf.Id=1 T_Leaf.Id=1{Level:uint16=3} "
               "by me"}));
}

TEST_F(InstanceOperations, DeleteHandsOverThePath)
{
    broker->deleteInstance(me, test, leaf);
    EXPECT_EQ(scripted::takeCalls(), Lines{"Leaf deleteInstance //here/root/test:T_Leaf.Id=1 by me"});
}

TEST_F(InstanceOperations, ModifyAndDeleteSucceedWithoutCompletion)
{
    scripted::provider("Leaf").onModifyInstance = [](ResponseHandler&) {};
    scripted::provider("Leaf").onDeleteInstance = [](ResponseHandler&) {};
    EXPECT_NO_THROW(broker->modifyInstance(me, test, level, false, CIMPropertyList()));
    EXPECT_NO_THROW(broker->deleteInstance(me, test, leaf));
}

TEST_F(InstanceOperations, DeleteReturnsTheErrorOfTheProviderAfterCompletion)
{
    scripted::provider("Leaf").onDeleteInstance = [](ResponseHandler& handler) {
        handler.complete();
        throw CIMAccessDeniedException("no");
    };
    EXPECT_EQ(errorOf([&] { broker->deleteInstance(me, test, leaf); }), "CIM_ERR_ACCESS_DENIED: no");
}

TEST_F(InstanceOperations, GetPropertyAsksForThatPropertyOnly)
{
    scripted::provider("Leaf").onGetInstance = [&](InstanceResponseHandler& handler) {
        handler.deliver(level);
        handler.complete();
    };
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "LEVEL")), "uint16=3");
    EXPECT_EQ(scripted::takeCalls(), Lines{"Leaf getInstance //here/root/test:T_Leaf.Id=1 "
                                           "PropertyList=[LEVEL] by me"});
}

TEST_F(InstanceOperations, GetPropertyReturnsNullOfTheDeclaredTypeForWhatTheInstanceLacks)
{
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "Level")), "uint16=null");
    scripted::provider("Leaf").onGetInstance = [](InstanceResponseHandler&) {};
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "Level")), "uint16=null");
}

TEST_F(InstanceOperations, GetPropertyRejectsAnUndeclaredProperty)
{
    EXPECT_EQ(errorOf([&] { broker->getProperty(me, test, leaf, "Nope"); }),
              "CIM_ERR_NO_SUCH_PROPERTY: Nope");
}

TEST_F(InstanceOperations, SetPropertyModifiesThatPropertyOnly)
{
    broker->setProperty(me, test, leaf, "Level", CIMValue(Uint16(7)));
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"Leaf modifyInstance //here/root/test:T_Leaf.Id=1 "
                    "//here/root/test:T_Leaf.Id=1{Level:uint16=7} PropertyList=[Level] by me"});
}

}  // namespace
}  // namespace cimom
