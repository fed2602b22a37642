// What comes of the way in which a provider delivers its results: they count once it has called
// complete(), and what follows is ignored.
#include "BrokerFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

enum Step
{
    Deliver,
    DeliverArrayOfTwo,
    DeliverUninitialized,
    DeliverParameter,
    DeliverUninitializedParameter,
    Complete,
    CompleteAndCatch
};

/// Takes these steps; instances, return values and parameters are numbered from 1.
struct Steps
{
    std::vector<Step> steps;

    void operator()(InstanceResponseHandler& handler) const
    {
        int id = 0;
        const auto next = [&] { return instanceOf("T_Leaf.Id=" + std::to_string(++id)); };
        for (const Step step : steps) {
            if (step == Deliver) handler.deliver(next());
            if (step == DeliverUninitialized) handler.deliver(CIMInstance());
            if (step == DeliverArrayOfTwo) {
                Array<CIMInstance> two(1, next());
                two.append(next());
                handler.deliver(two);
            }
            complete(handler, step);
        }
    }
    void operator()(MethodResultResponseHandler& handler) const
    {
        Uint32 number = 0;
        for (const Step step : steps) {
            ++number;
            if (step == Deliver) handler.deliver(CIMValue(number));
            if (step == DeliverUninitialized) handler.deliver(CIMValue(CIMTYPE_UINT32, false));
            const CIMParamValue parameter("Out", CIMValue(number));
            if (step == DeliverParameter) handler.deliverParamValue(parameter);
            if (step == DeliverArrayOfTwo)
                handler.deliverParamValue(Array<CIMParamValue>(2, parameter));
            if (step == DeliverUninitializedParameter) handler.deliverParamValue(CIMParamValue());
            complete(handler, step);
        }
    }

private:
    static void complete(ResponseHandler& handler, Step step)
    {
        if (step == Complete) handler.complete();
        if (step != CompleteAndCatch) return;
        try {
            handler.complete();
        } catch (const CIMException&) {
            // The provider takes no notice.
        }
    }
};

const std::string tooFew = "CIM_ERR_FAILED: Too few objects delivered.";
const std::string tooMany = "CIM_ERR_FAILED: Too many objects delivered.";
const std::string notInitialized = "CIM_ERR_FAILED: The object is not initialized.";

/// How instances are delivered, and what getInstance and enumerateInstances make of it.
struct InstanceDelivery : Row
{
    Steps steps;
    std::string one;
    Lines list;
};

using DeliveryOfInstances = BrokerTableTest<InstanceDelivery>;

TEST_P(DeliveryOfInstances, ToGetInstance)
{
    scripted::provider("Leaf").onInstances = GetParam().steps;
    EXPECT_EQ(get("T_Leaf.Id=1"), GetParam().one);
}

TEST_P(DeliveryOfInstances, ToEnumerateInstances)
{
    scripted::provider("Leaf").onInstances = GetParam().steps;
    Lines outcome;
    const std::string error = errorOf([&] { outcome = instances("T_Leaf"); });
    EXPECT_EQ(error == "done" ? outcome : Lines{error}, GetParam().list);
}

const std::string one = "T_Leaf.Id=1{}", two = "T_Leaf.Id=2{}", three = "T_Leaf.Id=3{}";
const InstanceDelivery instanceDeliveries[] = {
    {"OneThenComplete", {{Deliver, Complete}}, one, {one}},
    {"OneMoreAfterComplete", {{Deliver, Complete, Deliver, DeliverArrayOfTwo}}, one, {one}},
    {"OneAndAnArray", {{Deliver, DeliverArrayOfTwo, Complete}}, tooMany, {one, two, three}},
    {"ArrayOnly", {{DeliverArrayOfTwo, Complete}}, tooMany, {one, two}},
    {"WithoutComplete", {{Deliver}}, "", {}},
    {"Nothing", {{}}, "", {}},
    {"CompleteOnly", {{Complete}}, tooFew, {}},
    {"CompleteOnlyAndCatch", {{CompleteAndCatch}}, "CIM_ERR_NOT_FOUND", {}},
    {"CompleteTwice", {{Deliver, Complete, Complete}}, tooFew, {one}},
    {"Uninitialized", {{DeliverUninitialized, Complete}}, notInitialized, {notInitialized}},
};
INSTANTIATE_TEST_SUITE_P(Of, DeliveryOfInstances, ::testing::ValuesIn(instanceDeliveries),
                         NameOfRow());

using DeliveryOfPaths = BrokerTest;

TEST_F(DeliveryOfPaths, MustHaveAClass)
{
    scripted::provider("Leaf").onPaths = scripted::delivering<CIMObjectPath>({CIMObjectPath()});
    EXPECT_EQ(errorOf([&] { names("T_Leaf"); }), notInitialized);
}

TEST_F(DeliveryOfPaths, MustBeOneForACreatedInstance)
{
    const CIMObjectPath path("T_Leaf.Id=1");
    scripted::provider("Leaf").onPaths = scripted::delivering<CIMObjectPath>({path, path});
    EXPECT_EQ(errorOf([&] { broker->createInstance(me, test, instanceOf("T_Leaf")); }), tooMany);
}

/// How a method's results are delivered, and the outcome: return value, then output parameters.
struct MethodDelivery : Row
{
    Steps steps;
    Lines outcome;
};

using DeliveryOfMethodResults = BrokerTableTest<MethodDelivery>;

TEST_P(DeliveryOfMethodResults, ToInvokeMethod)
{
    scripted::provider("Machine").onMethod = GetParam().steps;
    Array<CIMParamValue> out;
    Lines outcome{outcomeOf([&] {
        return text(broker->invokeMethod(me, test, CIMObjectPath("T_Machine"), "Run", {}, out));
    })};
    for (Uint32 i = 0; i < out.size(); ++i)
        outcome.push_back(text(out[i].getValue()));
    EXPECT_EQ(outcome, GetParam().outcome);
}

const MethodDelivery methodDeliveries[] = {
    {"LastReturnValueAndAllParameters",
     {{Deliver, DeliverParameter, Deliver, DeliverArrayOfTwo, Complete}},
     {"uint32=3", "uint32=2", "uint32=4", "uint32=4"}},
    {"CompleteOnly", {{Complete}}, {"boolean=null"}},
    {"WithoutComplete", {{Deliver, DeliverParameter}}, {"boolean=null"}},
    {"MoreAfterComplete", {{Deliver, Complete, Deliver, DeliverParameter}}, {"uint32=1"}},
    {"NullReturnValue", {{DeliverUninitialized, Complete}}, {notInitialized}},
    {"UninitializedParameter", {{DeliverUninitializedParameter, Complete}}, {notInitialized}},
};
INSTANTIATE_TEST_SUITE_P(Of, DeliveryOfMethodResults, ::testing::ValuesIn(methodDeliveries),
                         NameOfRow());

}  // namespace
}  // namespace cimom
