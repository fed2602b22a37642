// Operations that deliver their results in parts.
#include "ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class PulledEnumeration : public ServiceTest
{
protected:
    /// The Id of each instance in the response, and its output parameters; or its error.
    Lines result(const CimRequest& request)
    {
        const Reply reply = send(request);
        if (reply.error() != "no error") return {reply.error()};
        Lines lines;
        for (const XmlElement* key : all(reply.response, "KEYBINDING")) {
            if (attribute(*key, "NAME") == "Id") lines.push_back(key->children.at(0).text);
        }
        for (const XmlElement* parameter : all(reply.response, "PARAMVALUE"))
            lines.push_back(attribute(*parameter, "NAME") + "=" + parameter->children.at(0).text);
        return lines;
    }
    /// T_Static has three instances in the repository.
    Lines open(const std::string& parameters)
    {
        return result(intrinsic("OpenEnumerateInstancePaths", className("T_Static") + parameters));
    }
    static std::string atMost(const char* count) { return flag("MaxObjectCount", count); }
    static CimRequest pull(const char* context, const char* count,
                           const char* operation = "PullInstancePaths")
    {
        return intrinsic(operation, flag("EnumerationContext", context) + atMost(count));
    }
    static CimRequest close(const char* context)
    {
        return intrinsic("CloseEnumeration", flag("EnumerationContext", context));
    }

    const std::string unknown = "21 CIM_ERR_INVALID_ENUMERATION_CONTEXT: Context undefined.";
};

TEST_F(PulledEnumeration, DeliversEachElementOnceInTheirOrder)
{
    EXPECT_EQ(open(atMost("1")), (Lines{"1", "EndOfSequence=FALSE", "EnumerationContext=1"}));
    EXPECT_EQ(result(pull("1", "0")), (Lines{"EndOfSequence=FALSE", "EnumerationContext=1"}));
    EXPECT_EQ(result(pull("1", "1")), (Lines{"2", "EndOfSequence=FALSE", "EnumerationContext=1"}));
    EXPECT_EQ(result(pull("1", "1")), (Lines{"3", "EndOfSequence=TRUE", "EnumerationContext="}));
    EXPECT_EQ(result(pull("1", "1")), Lines{unknown});
}

TEST_F(PulledEnumeration, NeedsNoContextForWhatFitsTheFirstResponse)
{
    EXPECT_EQ(open(atMost("3")),
              (Lines{"1", "2", "3", "EndOfSequence=TRUE", "EnumerationContext="}));
    EXPECT_EQ(open(""), (Lines{"EndOfSequence=FALSE", "EnumerationContext=1"}));
}

TEST_F(PulledEnumeration, HoldsInstancesWithTheirFullPaths)
{
    send(intrinsic("OpenEnumerateInstances", className("T_Static") + propertyList({"Text"})));
    const Reply reply = send(pull("1", "1", "PullInstancesWithPath"));
    const XmlElement instance = the(reply.response, "VALUE.INSTANCEWITHPATH");
    EXPECT_EQ(the(instance, "HOST").text, "here");
    EXPECT_EQ(namesOf(instance, "PROPERTY"), Lines{"Text"});
}

TEST_F(PulledEnumeration, IsOfItsUserNamespaceAndKindOnly)
{
    open("");
    CimRequest ofAnother = pull("1", "1");
    ofAnother.user = "you";
    EXPECT_EQ(result(ofAnother), Lines{unknown});
    CimRequest elsewhere = intrinsic("PullInstancePaths",
                                     flag("EnumerationContext", "1") + atMost("1"), "root/interop");
    EXPECT_EQ(result(elsewhere),
              Lines{"1 CIM_ERR_FAILED: Incorrect namespace (root/interop) in pull "
                    "operation. Expected: root/test."});
    EXPECT_EQ(result(pull("1", "1", "PullInstancesWithPath")),
              Lines{"1 CIM_ERR_FAILED: Open and Pull Message types do not match."});
    EXPECT_EQ(result(pull("1", "1")), Lines{unknown}) << "closed by the error before";
}

TEST_F(PulledEnumeration, EndsWhenItIsClosed)
{
    open("");
    EXPECT_EQ(result(close("1")), Lines{});
    EXPECT_EQ(result(close("1")), Lines{unknown});
    EXPECT_EQ(result(pull("1", "1")), Lines{unknown});
}

TEST_F(PulledEnumeration, EndsWhenItsClientIsLate)
{
    OpenEnumeration enumeration{"abc", {1, 2, 3}, OpenEnumeration::Paths, "me", "root/test", {}};
    enumerations.open(enumeration);
    EXPECT_EQ(result(pull("1", "1")), Lines{unknown});
}

TEST_F(PulledEnumeration, IsRefusedBeyondTheLimits)
{
    const auto opens = [&](std::size_t size, const char* user) {
        const OpenEnumeration large{
            std::string(size, 'x'),  {size}, OpenEnumeration::Paths, user, "root/test",
            std::chrono::seconds(90)};
        return errorOf([&] { enumerations.open(large); }).substr(0, 30);
    };
    const std::string refused = "CIM_ERR_SERVER_LIMITS_EXCEEDED";
    EXPECT_EQ(opens(500001, "me"), refused) << "more than half of all memory";
    EXPECT_EQ(opens(500000, "me"), "done");
    EXPECT_EQ(opens(1, "me"), refused);
    EXPECT_EQ(opens(500000, "you"), "done");
    EXPECT_EQ(opens(1, "they"), refused) << "more than all memory";
    enumerations.close("1", "me");
    for (unsigned i = 0; i < Enumerations::mostOfUser; ++i)
        EXPECT_EQ(opens(1, "me"), "done");
    EXPECT_EQ(opens(1, "me"), refused) << "too many of one user";
}

/// Parameters, and the error that they lead to.
struct BadParameters : Row
{
    std::string operation;
    std::string parameters;
    std::string error;
};

using PullParameters = ServiceTableTest<BadParameters>;

TEST_P(PullParameters, AreRefused)
{
    EXPECT_EQ(send(intrinsic(GetParam().operation, GetParam().parameters)).error(),
              GetParam().error);
}

const std::string paths = "OpenEnumerateInstancePaths", fromStatic = className("T_Static");
const std::string timeoutError = "22 CIM_ERR_INVALID_OPERATION_TIMEOUT: Operation timeout ";
const std::string parameterError = "4 CIM_ERR_INVALID_PARAMETER: ";

INSTANTIATE_TEST_SUITE_P(
    Requests, PullParameters,
    ::testing::ValuesIn(std::vector<BadParameters>{
        {{"NoTime"},
         paths,
         fromStatic + flag("OperationTimeout", "0"),
         timeoutError + "value of 0 not allowed."},
        {{"MuchTime"},
         paths,
         fromStatic + flag("OperationTimeout", "91"),
         timeoutError + "too large. Maximum allowed: 90."},
        {{"ManyElements"},
         paths,
         fromStatic + flag("MaxObjectCount", "10001"),
         parameterError + "Operation maximum object count argument 10001 too large. Maximum "
                          "allowed: 10000."},
        {{"ContinueOnError"},
         paths,
         fromStatic + flag("ContinueOnError"),
         "7 CIM_ERR_NOT_SUPPORTED: ContinueOnError = true argument not supported."},
        {{"Filter"},
         paths,
         fromStatic + flag("FilterQueryLanguage", "DMTF:FQL") + flag("FilterQuery", "Id = 1"),
         "25 CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED: Operation does not support FilterQuery "
         "parameters"},
        {{"NoCount"},
         "PullInstancePaths",
         flag("EnumerationContext", "1"),
         parameterError + "Required parameter \"MaxObjectCount\" missing from request."},
        {{"NoContext"},
         "CloseEnumeration",
         "",
         parameterError + "The EnumerationContext input parameter is required."},
        {{"ClassAsInstance"},
         "OpenAssociatorInstances",
         className("T_Leaf", "InstanceName"),
         parameterError + "Full Model Path with keys required."},
    }),
    NameOfRow());

}  // namespace
}  // namespace cimom
