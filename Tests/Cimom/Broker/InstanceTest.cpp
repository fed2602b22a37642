// Operations on one object of a provider: its instance, its properties, its methods.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class InstanceOperation : public BrokerTest
{
protected:
    const CIMObjectPath leaf = CIMObjectPath("T_Leaf.Id=1");
    const CIMInstance level = instanceOf("T_Leaf.Id=1", {{"Level", Uint16(3)}});
};

TEST_F(InstanceOperation, GetHandsOverClassAndKeysAsTyped)
{
    EXPECT_EQ(get("T_LEAF.Bogus=TRUE,id=5"), "T_LEAF.Id=1{}");
    EXPECT_EQ(scripted::calls,
              Lines{"Leaf getInstance //here/root/test:T_LEAF.Bogus=TRUE,id=5 by me"});
}

TEST_F(InstanceOperation, GetRejectsUnknownClassAndNamespace)
{
    EXPECT_EQ(get("T_None.Id=1"), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(errorOf([&] { broker->getInstance(me, "root/none", leaf, {}); }),
              "CIM_ERR_INVALID_NAMESPACE: root/none");
}

TEST_F(InstanceOperation, GetReturnsThePathWithoutHostAndNamespace)
{
    const CIMInstance far = instanceOf("//far/root/other:T_Leaf.Id=1");
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({far});
    EXPECT_EQ(get("T_Leaf.Id=1"), "T_Leaf.Id=1{}");
}

TEST_F(InstanceOperation, CreateHandsOverTheInstanceAndReturnsItsPath)
{
    scripted::provider("Leaf").onPaths =
        scripted::delivering<CIMObjectPath>({String("//far/root/other:T_Leaf.Id=9")});
    const CIMInstance given = instanceOf("T_Leaf", {{"Level", Uint16(3)}});
    EXPECT_EQ(text(broker->createInstance(me, test, given)), "T_Leaf.Id=9");
    EXPECT_EQ(scripted::calls,
              Lines{"Leaf createInstance //here/root/test:T_Leaf T_Leaf{Level:uint16=3} by me"});
}

TEST_F(InstanceOperation, ModifyHandsOverTheInstanceAndTheListWithoutRepetitions)
{
    broker->modifyInstance(me, test, level, true, listOf({"level", "Nope", "LEVEL"}));
    EXPECT_EQ(scripted::calls, Lines{"Leaf modifyInstance //here/root/test:T_Leaf.Id=1 "
                                     "T_Leaf.Id=1{Level:uint16=3} IncludeQualifiers "
                                     "PropertyList=[level Nope] by me"});
}

TEST_F(InstanceOperation, DeleteHandsOverThePath)
{
    broker->deleteInstance(me, test, leaf);
    EXPECT_EQ(scripted::calls, Lines{"Leaf deleteInstance //here/root/test:T_Leaf.Id=1 by me"});
}

TEST_F(InstanceOperation, ModifyAndDeleteSucceedUnlessTheProviderThrows)
{
    scripted::provider("Leaf").onChange = [](ResponseHandler&) {};
    EXPECT_NO_THROW(broker->modifyInstance(me, test, level, false, {}));
    EXPECT_NO_THROW(broker->deleteInstance(me, test, leaf));
    scripted::provider("Leaf").onChange = [](ResponseHandler& handler) {
        handler.complete();
        throw CIMAccessDeniedException("no");
    };
    EXPECT_EQ(errorOf([&] { broker->modifyInstance(me, test, level, false, {}); }),
              "CIM_ERR_ACCESS_DENIED: no");
    EXPECT_EQ(errorOf([&] { broker->deleteInstance(me, test, leaf); }),
              "CIM_ERR_ACCESS_DENIED: no");
}

TEST_F(InstanceOperation, GetPropertyAsksForThatPropertyOnly)
{
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({level});
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "LEVEL")), "uint16=3");
    EXPECT_EQ(scripted::calls, Lines{"Leaf getInstance //here/root/test:T_Leaf.Id=1 "
                                     "PropertyList=[LEVEL] by me"});
}

TEST_F(InstanceOperation, GetPropertyReturnsNullForWhatTheInstanceLacks)
{
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "Level")), "uint16=null");
    scripted::provider("Leaf").onInstances = [](InstanceResponseHandler&) {};
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "Level")), "uint16=null");
    EXPECT_EQ(errorOf([&] { broker->getProperty(me, test, leaf, "Nope"); }),
              "CIM_ERR_NO_SUCH_PROPERTY: Nope");
}

TEST_F(InstanceOperation, SetPropertyModifiesThatPropertyOnly)
{
    broker->setProperty(me, test, leaf, "Level", CIMValue(Uint16(7)));
    EXPECT_EQ(scripted::calls,
              Lines{"Leaf modifyInstance //here/root/test:T_Leaf.Id=1 "
                    "//here/root/test:T_Leaf.Id=1{Level:uint16=7} PropertyList=[Level] by me"});
}

// ---- Methods ----

class InvokeMethod : public BrokerTest
{
protected:
    std::string outcome(const char* path)
    {
        Array<CIMParamValue> in(1, CIMParamValue("cOUNT", CIMValue(Uint32(3)))), out;
        return outcomeOf([&] {
            return text(broker->invokeMethod(me, test, CIMObjectPath(path), "rUN", in, out));
        });
    }
};

TEST_F(InvokeMethod, HandsOverPathNameAndArgumentsAsTyped)
{
    EXPECT_EQ(outcome("t_machine.Id=1"), "uint32=0");
    EXPECT_EQ(outcome("T_Machine"), "uint32=0");
    EXPECT_EQ(
        scripted::calls,
        (Lines{"Machine invokeMethod //here/root/test:t_machine.Id=1 rUN(cOUNT:uint32=3) by me",
               "Machine invokeMethod //here/root/test:T_Machine rUN(cOUNT:uint32=3) by me"}));
}

TEST_F(InvokeMethod, IsNotAvailableInClassesWithoutMethodProvider)
{
    EXPECT_EQ(outcome("T_MachineSub.Id=1"), "CIM_ERR_METHOD_NOT_AVAILABLE: rUN");
    EXPECT_EQ(outcome("T_Base.Id=1"), "CIM_ERR_METHOD_NOT_AVAILABLE: rUN");
}

TEST_F(InvokeMethod, ReturnsNotFoundForAnUnknownClass)
{
    EXPECT_EQ(outcome("T_None.Id=1"), "CIM_ERR_NOT_FOUND: T_None");
}

}  // namespace
}  // namespace cimom
