// What providers throw, as clients see it.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

#include <new>
#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// Throws something, and the error that comes of it.
struct Thrown : Row
{
    void (*fault)();
    std::string error;
};

class ErrorOfProvider : public BrokerTableTest<Thrown>
{
};

TEST_P(ErrorOfProvider, EndsAnEnumeration)
{
    scripted::provider("Leaf").onEnumerateInstances = [](InstanceResponseHandler&) {
        GetParam().fault();
    };
    EXPECT_EQ(errorOf([&] { broker->enumerateInstances(me, test, "T_Leaf", true, {}); }),
              GetParam().error);
}

TEST_P(ErrorOfProvider, CountsAfterCompletionToo)
{
    scripted::provider("Leaf").onGetInstance = [](InstanceResponseHandler& handler) {
        handler.deliver(CIMInstance(CIMName("T_Leaf")));
        handler.complete();
        GetParam().fault();
    };
    EXPECT_EQ(errorOf([&] { broker->getInstance(me, test, CIMObjectPath("T_Leaf.Id=1"), {}); }),
              GetParam().error);
}

const Thrown thrown[] = {
    {"CodeAndText", [] { throw CIMAccessDeniedException("no"); }, "CIM_ERR_ACCESS_DENIED: no"},
    {"CodeWithoutText", [] { throw CIMException(CIM_ERR_NOT_FOUND); }, "CIM_ERR_NOT_FOUND"},
    {"CodeOfNoStandard", [] { throw CIMException(static_cast<CIMStatusCode>(31), "t"); },
     "Unrecognized CIM status code \"31\": t"},
    {"ExceptionOfTheLibrary", [] { throw TypeMismatchException(); },
     "CIM_ERR_FAILED: type mismatch"},
    {"StandardException", [] { throw std::runtime_error("not UTF-8: \xE4"); },
     "CIM_ERR_FAILED: not UTF-8: ?"},
    {"AnythingElse", [] { throw 5; }, "CIM_ERR_FAILED: Unknown error."},
    {"SuccessAsEmptyResult", [] { throw CIMException(CIM_ERR_SUCCESS, "t"); }, "no error"},
};
INSTANTIATE_TEST_SUITE_P(Of, ErrorOfProvider, ::testing::ValuesIn(thrown), NameOfRow());

using ErrorCodeSuccess = BrokerTest;

TEST_F(ErrorCodeSuccess, DropsWhatWasDelivered)
{
    scripted::provider("Leaf").onGetInstance = [](InstanceResponseHandler& handler) {
        handler.deliver(CIMInstance(CIMName("T_Leaf")));
        handler.complete();
        throw CIMException(CIM_ERR_SUCCESS, "t");
    };
    const CIMInstance found = broker->getInstance(me, test, CIMObjectPath("T_Leaf.Id=1"), {});
    EXPECT_TRUE(found.isUninitialized());
}

}  // namespace
}  // namespace cimom
