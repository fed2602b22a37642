// What comes of the way in which a provider delivers its results: they count once it has called
// complete(), and what follows is ignored.
#include "BrokerFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

CIMInstance leafOf(int id)
{
    CIMInstance instance(CIMName("T_Leaf"));
    instance.setPath(toString("T_Leaf.Id=" + std::to_string(id)));
    return instance;
}

/// How instances are delivered, and what getInstance and enumerateInstances make of it.
struct InstanceDelivery : Row
{
    void (*deliver)(InstanceResponseHandler&);
    std::string one;
    Lines list;
};

const std::string tooFew = "CIM_ERR_FAILED: Too few objects delivered.";
const std::string tooMany = "CIM_ERR_FAILED: Too many objects delivered.";
const std::string notInitialized = "CIM_ERR_FAILED: The object is not initialized.";

const InstanceDelivery instanceDeliveries[] = {
    {"OneThenComplete",
     [](auto& handler) {
         handler.processing();
         handler.deliver(leafOf(1));
         handler.complete();
     },
     "T_Leaf.Id=1{}",
     {"T_Leaf.Id=1{}"}},
    {"ArrayOfOne",
     [](auto& handler) {
         handler.deliver(Array<CIMInstance>(1, leafOf(1)));
         handler.complete();
     },
     "T_Leaf.Id=1{}",
     {"T_Leaf.Id=1{}"}},
    {"OneMoreAfterComplete",
     [](auto& handler) {
         handler.deliver(leafOf(1));
         handler.complete();
         handler.deliver(leafOf(2));
         handler.deliver(Array<CIMInstance>(1, leafOf(3)));
     },
     "T_Leaf.Id=1{}",
     {"T_Leaf.Id=1{}"}},
    {"WithoutComplete", [](auto& handler) { handler.deliver(leafOf(1)); }, "", {}},
    {"Nothing", [](auto&) {}, "", {}},
    {"CompleteOnly", [](auto& handler) { handler.complete(); }, tooFew, {}},
    {"CompleteTwice",
     [](auto& handler) {
         handler.deliver(leafOf(1));
         handler.complete();
         handler.complete();
     },
     tooFew,
     {"T_Leaf.Id=1{}"}},
    {"TwoAndAnArrayOfTwo",
     [](auto& handler) {
         Array<CIMInstance> more(1, leafOf(3));
         more.append(leafOf(4));
         handler.deliver(leafOf(1));
         handler.deliver(leafOf(2));
         handler.deliver(more);
         handler.complete();
     },
     tooMany,
     {"T_Leaf.Id=1{}", "T_Leaf.Id=2{}", "T_Leaf.Id=3{}", "T_Leaf.Id=4{}"}},
    {"Uninitialized", [](auto& handler) { handler.deliver(CIMInstance()); }, notInitialized,
     {notInitialized}},
    {"UninitializedAmongOthers",
     [](auto& handler) {
         Array<CIMInstance> list(1, leafOf(1));
         list.append(CIMInstance());
         handler.deliver(list);
     },
     notInitialized,
     {notInitialized}},
    {"CompleteOnlyAndCaught",
     [](auto& handler) {
         try {
             handler.complete();
         } catch (const CIMException&) {
         }
     },
     "CIM_ERR_NOT_FOUND",
     {}},
};

class DeliveryOfInstances : public BrokerTableTest<InstanceDelivery>
{
};

TEST_P(DeliveryOfInstances, ToGetInstance)
{
    scripted::provider("Leaf").onGetInstance = GetParam().deliver;
    const std::string outcome = outcomeOf(
        [&] { return text(broker->getInstance(me, test, CIMObjectPath("T_Leaf.Id=1"), {})); });
    EXPECT_EQ(outcome, GetParam().one);
}

TEST_P(DeliveryOfInstances, ToEnumerateInstances)
{
    scripted::provider("Leaf").onEnumerateInstances = GetParam().deliver;
    Lines outcome;
    try {
        outcome = texts(broker->enumerateInstances(me, test, "T_Leaf", true, {}));
    } catch (const CIMException& error) {
        outcome = {toUtf8(describe(error))};
    }
    EXPECT_EQ(outcome, GetParam().list);
}

INSTANTIATE_TEST_SUITE_P(Of, DeliveryOfInstances, ::testing::ValuesIn(instanceDeliveries),
                         NameOfRow());

class DeliveryOfPaths : public BrokerTest
{
};

TEST_F(DeliveryOfPaths, TakesAllUntilComplete)
{
    scripted::provider("Leaf").onEnumerateInstanceNames = [](ObjectPathResponseHandler& handler) {
        handler.deliver(CIMObjectPath("T_Leaf.Id=1"));
        handler.deliver(Array<CIMObjectPath>(2, CIMObjectPath("T_Leaf.Id=2")));
        handler.complete();
        handler.deliver(CIMObjectPath("T_Leaf.Id=3"));
    };
    EXPECT_EQ(texts(broker->enumerateInstanceNames(me, test, "T_Leaf")),
              (Lines{"T_Leaf.Id=1", "T_Leaf.Id=2", "T_Leaf.Id=2"}));
}

TEST_F(DeliveryOfPaths, RejectsAPathWithoutClass)
{
    scripted::provider("Leaf").onEnumerateInstanceNames = [](ObjectPathResponseHandler& handler) {
        handler.deliver(CIMObjectPath());
    };
    EXPECT_EQ(errorOf([&] { broker->enumerateInstanceNames(me, test, "T_Leaf"); }), notInitialized);
}

TEST_F(DeliveryOfPaths, RejectsTwoForOneCreatedInstance)
{
    scripted::provider("Leaf").onCreateInstance = [](ObjectPathResponseHandler& handler) {
        handler.deliver(CIMObjectPath("T_Leaf.Id=1"));
        handler.deliver(CIMObjectPath("T_Leaf.Id=2"));
        handler.complete();
    };
    EXPECT_EQ(errorOf([&] { broker->createInstance(me, test, leafOf(1)); }), tooMany);
}

/// How a method's results are delivered, and what the client gets: the return value, then the
/// output parameters.
struct MethodDelivery : Row
{
    void (*deliver)(MethodResultResponseHandler&);
    Lines results;
};

CIMParamValue output(Uint32 value)
{
    return CIMParamValue("Out", CIMValue(value));
}

const MethodDelivery methodDeliveries[] = {
    {"ReturnValueOnly",
     [](auto& handler) {
         handler.deliver(CIMValue(Uint32(1)));
         handler.complete();
     },
     {"uint32=1"}},
    {"LastReturnValueAndAllParameters",
     [](auto& handler) {
         handler.processing();
         handler.deliver(CIMValue(Uint32(1)));
         handler.deliverParamValue(output(2));
         handler.deliver(CIMValue(Uint32(3)));
         handler.deliverParamValue(Array<CIMParamValue>(2, output(4)));
         handler.complete();
     },
     {"uint32=3", "Out uint32=2", "Out uint32=4", "Out uint32=4"}},
    {"CompleteOnly", [](auto& handler) { handler.complete(); }, {"boolean=null"}},
    {"WithoutComplete",
     [](auto& handler) {
         handler.deliver(CIMValue(Uint32(1)));
         handler.deliverParamValue(output(2));
     },
     {"boolean=null"}},
    {"MoreAfterComplete",
     [](auto& handler) {
         handler.deliver(CIMValue(Uint32(1)));
         handler.complete();
         handler.deliver(CIMValue(Uint32(2)));
         handler.deliverParamValue(output(3));
     },
     {"uint32=1"}},
    {"NullReturnValue", [](auto& handler) { handler.deliver(CIMValue(CIMTYPE_UINT32, false)); },
     {notInitialized}},
    {"UninitializedParameter", [](auto& handler) { handler.deliverParamValue(CIMParamValue()); },
     {notInitialized}},
};

class DeliveryOfMethodResults : public BrokerTableTest<MethodDelivery>
{
};

TEST_P(DeliveryOfMethodResults, ToInvokeMethod)
{
    scripted::provider("Machine").onInvokeMethod = GetParam().deliver;
    Array<CIMParamValue> parameters;
    Lines results{outcomeOf([&] {
        return text(broker->invokeMethod(me, test, CIMObjectPath("T_Machine.Id=1"), "Run",
                                         Array<CIMParamValue>(), parameters));
    })};
    for (Uint32 i = 0; i < parameters.size(); ++i) {
        results.push_back(toUtf8(parameters[i].getParameterName()) + " " +
                          text(parameters[i].getValue()));
    }
    EXPECT_EQ(results, GetParam().results);
}

INSTANTIATE_TEST_SUITE_P(Of, DeliveryOfMethodResults, ::testing::ValuesIn(methodDeliveries),
                         NameOfRow());

}  // namespace
}  // namespace cimom
