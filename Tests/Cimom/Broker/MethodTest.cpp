// Methods: which provider is called, and with what.
#include "BrokerFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class Methods : public BrokerTest
{
protected:
    std::string outcome(const char* path, const char* method)
    {
        Array<CIMParamValue> in, out;
        in.append(CIMParamValue("cOUNT", CIMValue(Uint32(3))));
        in.append(CIMParamValue("Other", CIMValue(String("x")), false));
        return outcomeOf([&] {
            return text(
                broker->invokeMethod(me, test, CIMObjectPath(path), CIMName(method), in, out));
        });
    }
};

TEST_F(Methods, HandsOverPathNameAndArgumentsAsTyped)
{
    EXPECT_EQ(outcome("t_machine.Id=1", "rUN"), "uint32=0");
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"Machine invokeMethod //here/root/test:t_machine.Id=1 "
                    "rUN(cOUNT:uint32=3, Other:untyped string=x) by me"});
}

TEST_F(Methods, OfAClassGetAPathWithoutKeys)
{
    outcome("T_Machine", "Run");
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"Machine invokeMethod //here/root/test:T_Machine "
                    "Run(cOUNT:uint32=3, Other:untyped string=x) by me"});
}

TEST_F(Methods, AreNotAvailableInClassesWithoutMethodProvider)
{
    EXPECT_EQ(outcome("T_MachineSub.Id=1", "rUN"), "CIM_ERR_METHOD_NOT_AVAILABLE: rUN");
    EXPECT_EQ(outcome("T_Base.Id=1", "rUN"), "CIM_ERR_METHOD_NOT_AVAILABLE: rUN");
}

TEST_F(Methods, ReturnsNotFoundForAnUnknownClass)
{
    EXPECT_EQ(outcome("T_Nothing.Id=1", "Run"), "CIM_ERR_NOT_FOUND: T_Nothing");
}

}  // namespace
}  // namespace cimom
