// What comes of the way in which a provider delivers its results: they count once it has called
// complete(), and what follows is ignored. And what it throws, as clients see it.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

#include <stdexcept>

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
    Complete,
    CompleteAndCatch
};

/// Takes these steps; instances are numbered from 1.
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
            if (step == DeliverArrayOfTwo) handler.deliver(Array<CIMInstance>(2, next()));
            if (step == Complete) handler.complete();
            if (step == CompleteAndCatch) static_cast<void>(errorOf([&] { handler.complete(); }));
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

TEST_P(DeliveryOfInstances, CountsUpToComplete)
{
    scripted::provider("Leaf").onInstances = GetParam().steps;
    EXPECT_EQ(get("T_Leaf.Id=1"), GetParam().one);
    Lines list;
    const std::string error = errorOf([&] { list = instances("T_Leaf"); });
    EXPECT_EQ(error == "done" ? list : Lines{error}, GetParam().list);
}

const std::string one = "T_Leaf.Id=1{}", two = "T_Leaf.Id=2{}";
const InstanceDelivery instanceDeliveries[] = {
    {"OneThenComplete", {{Deliver, Complete}}, one, {one}},
    {"OneMoreAfterComplete", {{Deliver, Complete, Deliver, DeliverArrayOfTwo}}, one, {one}},
    {"OneAndAnArray", {{Deliver, DeliverArrayOfTwo, Complete}}, tooMany, {one, two, two}},
    {"ArrayOnly", {{DeliverArrayOfTwo, Complete}}, tooMany, {one, one}},
    {"WithoutComplete", {{Deliver}}, "", {}},
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

class DeliveryOfMethodResults : public BrokerTest
{
protected:
    /// The return value, or the error, and the output parameters of what is delivered.
    template <class Delivery>
    Lines resultsOf(Delivery delivery)
    {
        scripted::provider("Machine").onMethod = delivery;
        Array<CIMParamValue> out;
        Lines results{outcomeOf([&] {
            return text(broker->invokeMethod(me, test, CIMObjectPath("T_Machine"), "Run", {}, out));
        })};
        for (Uint32 i = 0; i < out.size(); ++i)
            results.push_back(text(out[i].getValue()));
        return results;
    }
    static CIMParamValue parameter(Uint32 number) { return {"Out", CIMValue(number)}; }
};

TEST_F(DeliveryOfMethodResults, AreTheLastReturnValueAndAllParametersBeforeComplete)
{
    const Lines results = resultsOf([](auto& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliverParamValue(parameter(2));
        handler.deliver(CIMValue(Uint32(3)));
        handler.deliverParamValue(Array<CIMParamValue>(2, parameter(4)));
        handler.complete();
        handler.deliver(CIMValue(Uint32(5)));
        handler.deliverParamValue(parameter(6));
    });
    EXPECT_EQ(results, (Lines{"uint32=3", "uint32=2", "uint32=4", "uint32=4"}));
}

TEST_F(DeliveryOfMethodResults, AreNoneWithoutComplete)
{
    const Lines results = resultsOf([](auto& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliverParamValue(parameter(2));
    });
    EXPECT_EQ(results, Lines{"boolean=null"});
    EXPECT_EQ(resultsOf([](auto& handler) { handler.complete(); }), Lines{"boolean=null"});
}

TEST_F(DeliveryOfMethodResults, MustBeInitialized)
{
    EXPECT_EQ(resultsOf([](auto& handler) { handler.deliver(CIMValue(CIMTYPE_UINT32, false)); }),
              Lines{notInitialized});
    EXPECT_EQ(resultsOf([](auto& handler) { handler.deliverParamValue(CIMParamValue()); }),
              Lines{notInitialized});
}

// ---- Exceptions ----

/// Something thrown, and the error that comes of it.
struct Thrown : Row
{
    void (*fault)();
    std::string error;
};

using ErrorOfProvider = BrokerTableTest<Thrown>;

TEST_P(ErrorOfProvider, CountsMoreThanWhatWasDelivered)
{
    scripted::provider("Leaf").onInstances = [](InstanceResponseHandler& handler) {
        handler.deliver(instanceOf("T_Leaf.Id=1"));
        handler.complete();
        GetParam().fault();
    };
    EXPECT_EQ(get("T_Leaf.Id=1"), GetParam().error);
}

const Thrown thrown[] = {
    {"CodeAndText", [] { throw CIMAccessDeniedException("no"); }, "CIM_ERR_ACCESS_DENIED: no"},
    {"CodeWithoutText", [] { throw CIMException(CIM_ERR_NOT_FOUND); }, "CIM_ERR_NOT_FOUND"},
    {"UnknownCode", [] { throw CIMException(static_cast<CIMStatusCode>(31), "t"); },
     "Unrecognized CIM status code \"31\": t"},
    {"ExceptionOfTheLibrary", [] { throw TypeMismatchException(); },
     "CIM_ERR_FAILED: type mismatch"},
    {"StandardException", [] { throw std::runtime_error("not UTF-8: \xE4"); },
     "CIM_ERR_FAILED: not UTF-8: ?"},
    {"AnythingElse", [] { throw 5; }, "CIM_ERR_FAILED: Unknown error."},
    {"SuccessAsNoResult", [] { throw CIMException(CIM_ERR_SUCCESS, "t"); }, ""},
};
INSTANTIATE_TEST_SUITE_P(Of, ErrorOfProvider, ::testing::ValuesIn(thrown), NameOfRow());

}  // namespace
}  // namespace cimom
