// What providers throw, as clients see it.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

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
