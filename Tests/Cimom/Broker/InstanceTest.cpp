// Operations on one object of a provider: its instance, its properties, its methods. What their
// arguments become for the provider, the tests of CIM-XML show.
#include "BrokerFixture.h"

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
    const CIMInstance far = instanceOf("//far/root/other:T_LEAF.Id=1");
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({far});
    EXPECT_EQ(get("T_LEAF.Bogus=TRUE,id=5"), "T_LEAF.Id=1{}")
        << "returned without host and namespace";
    EXPECT_EQ(scripted::calls,
              Lines{"Leaf getInstance //here/root/test:T_LEAF.Bogus=TRUE,id=5 by me"});
}

TEST_F(InstanceOperation, GetRejectsUnknownClassAndNamespace)
{
    EXPECT_EQ(get("T_None.Id=1"), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(errorOf([&] { broker->getInstance(me, "root/none", leaf, {}); }),
              "CIM_ERR_INVALID_NAMESPACE: root/none");
}

TEST_F(InstanceOperation, CreateReturnsThePathWithoutHostAndNamespace)
{
    scripted::provider("Leaf").onPaths =
        scripted::delivering<CIMObjectPath>({String("//far/root/other:T_Leaf.Id=9")});
    EXPECT_EQ(text(broker->createInstance(me, test, level)), "T_Leaf.Id=9");
}

TEST_F(InstanceOperation, ModifyAndDeleteSucceedWithoutComplete)
{
    scripted::provider("Leaf").onChange = [](ResponseHandler&) {};
    EXPECT_NO_THROW(broker->modifyInstance(me, test, level, false, {}));
    EXPECT_NO_THROW(broker->deleteInstance(me, test, leaf));
}

TEST_F(InstanceOperation, GetPropertyReturnsNullForWhatTheInstanceLacks)
{
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({level});
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "LEVEL")), "uint16=3");
    scripted::provider("Leaf").onInstances = nullptr;
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "Level")), "uint16=null");
    scripted::provider("Leaf").onInstances = [](InstanceResponseHandler&) {};
    EXPECT_EQ(text(broker->getProperty(me, test, leaf, "Level")), "uint16=null");
    EXPECT_EQ(errorOf([&] { broker->getProperty(me, test, leaf, "Nope"); }),
              "CIM_ERR_NO_SUCH_PROPERTY: Nope");
}

TEST_F(InstanceOperation, InvokeMethodNeedsAMethodProviderOfTheVeryClass)
{
    const auto error = [&](const char* path) {
        Array<CIMParamValue> out;
        return errorOf([&] { broker->invokeMethod(me, test, String(path), "rUN", {}, out); });
    };
    EXPECT_EQ(error("t_machine.Id=1"), "done");
    EXPECT_EQ(error("T_MachineSub.Id=1"), "CIM_ERR_METHOD_NOT_AVAILABLE: rUN");
    EXPECT_EQ(error("T_Base.Id=1"), "CIM_ERR_METHOD_NOT_AVAILABLE: rUN");
    EXPECT_EQ(error("T_None.Id=1"), "CIM_ERR_NOT_FOUND: T_None");
}

}  // namespace
}  // namespace cimom
