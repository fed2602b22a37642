// Who may make a request: the user, the API opened for the user, the privilege for a change.
#include "Providers.h"

namespace
{

using AccessTest = RequestTest;

INSTANTIATE_TEST_SUITE_P(All, AccessTest, testing::ValuesIn(allRequests()), NameOfRow());

/// The one operation that asks nothing of its user.
bool isForAnybody(const Request& request)
{
    return request.provider == "QBX_FCALCardProvider" &&
           request.operation == "enumerateInstanceNames";
}

TEST_P(AccessTest, ReturnsAccessDeniedForRefusedUser)
{
    for (const int status : {1, -1}) {
        array.fail("api_qbxOpenForCimserver", status);
        ASSERT_EQ(make(), isForAnybody(row) ? "nothing" : "2 Insufficient privilege for the user");
        if (isForAnybody(row)) continue;
        EXPECT_LIST(array.calls(),
                    {"api_qbxOpenForCimserver(\"joe\") = " + std::to_string(status)});
        EXPECT_LIST(array.events().startingWith("4: <--"), Texts()) << "no exit line";
    }
}

TEST_P(AccessTest, RejectsContextWithoutUser)
{
    context = OperationContext();
    EXPECT_EQ(make(), isForAnybody(row) ? "nothing" : "object not found");
    EXPECT_LIST(array.calls().startingWith("api_qbx"), Texts());
}

// ---- Changes ----

using PrivilegeTest = RequestTest;

INSTANTIATE_TEST_SUITE_P(All, PrivilegeTest, testing::ValuesIn(CHANGES), NameOfRow());

TEST_P(PrivilegeTest, ThrowsByDecisionOfTheArray)
{
    for (const int code : {1, 2, 3, 4, -1}) {
        const bool isDenied = code == 1 || code == 2;
        array.fail("api_authorizeCIMUser", code);
        ASSERT_EQ(make(),
                  isDenied ? "2 Insufficient generic privilege" : "7 Does not support in generic!")
            << code;
        const Texts calls = array.calls();
        ASSERT_EQ(calls.size(), 2u) << "nothing is called after the decision";
        EXPECT_EQ(calls[0], OPEN);
        EXPECT_EQ(calls[1].substr(calls[1].rfind('=')), "= " + std::to_string(code));
        EXPECT_LIST(array.events().startingWith("4: <--"), Texts()) << "no exit line";
    }
}

}  // namespace
