#define PEGASUS_USE_EXPERIMENTAL_INTERFACES
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>

#include <gtest/gtest.h>

using namespace Pegasus;

namespace
{

template <class Failure>
void expectCode(CIMStatusCode code)
{
    try {
        throw Failure(String("why"));
    } catch (const CIMOperationFailedException& failure) {
        EXPECT_EQ(code, failure.getCode());
        EXPECT_EQ(String("why"), failure.getMessage());
    }
}

TEST(Exception, FailuresOfProvidersHaveTheCodesOfTheirNames)
{
    expectCode<CIMOperationFailedException>(CIM_ERR_FAILED);
    expectCode<CIMAccessDeniedException>(CIM_ERR_ACCESS_DENIED);
    expectCode<CIMInvalidParameterException>(CIM_ERR_INVALID_PARAMETER);
    expectCode<CIMObjectNotFoundException>(CIM_ERR_NOT_FOUND);
    expectCode<CIMNotSupportedException>(CIM_ERR_NOT_SUPPORTED);
    expectCode<CIMObjectAlreadyExistsException>(CIM_ERR_ALREADY_EXISTS);
    expectCode<CIMPropertyNotFoundException>(CIM_ERR_NO_SUCH_PROPERTY);
    expectCode<CIMMethodNotFoundException>(CIM_ERR_METHOD_NOT_FOUND);
}

TEST(Exception, ThePlaceSurvivesSlicing)
{
    const CIMException sliced =
        TraceableCIMException(CIM_ERR_NOT_FOUND, String("m"), String("f.cpp"), 7);
    TraceableCIMException again(sliced);
    EXPECT_EQ(String("f.cpp(7): CIM_ERR_NOT_FOUND: m"), again.getTraceDescription());
    again.setCIMMessage(String("Nicht da"));
    EXPECT_EQ(String("Nicht da: m"), again.getDescription());
    EXPECT_EQ(String("CIM_ERR_NOT_FOUND: m"), TraceableCIMException(sliced).getDescription());
}

TEST(Exception, TheMacroNamesThisPlace)
{
    const TraceableCIMException failure = PEGASUS_CIM_EXCEPTION(CIMStatusCode(99), String());
    EXPECT_EQ(String(__FILE__), failure.getFile());
    EXPECT_EQ(Uint32(__LINE__) - 2, failure.getLine());
    EXPECT_EQ(String("Unrecognized CIM status code \"99\""), failure.getDescription());
}

TEST(Exception, CarriesErrorInstances)
{
    const CIMException failure(CIM_ERR_FAILED, String("m"), CIMInstance(CIMName("CIM_Error")));
    ASSERT_EQ(1U, failure.getErrorCount());
    EXPECT_EQ(CIMName("CIM_Error"), failure.getError(0).getClassName());
    EXPECT_THROW(failure.getError(1), IndexOutOfBoundsException);
    EXPECT_EQ(0U, CIMException(CIM_ERR_FAILED).getErrorCount());
}

}  // namespace
