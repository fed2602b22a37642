// Requests one of whose calls fails: what becomes of the request, and of the next one.
#include "Providers.h"

namespace
{

/// The positions of the events that start so.
std::vector<std::size_t> positionsOf(const std::string& start, const Texts& events)
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].compare(0, start.size(), start) == 0) found.push_back(i);
    }
    return found;
}

/// A way in which a call that holds the semaphore fails: by the wait or by the call, which then
/// returns the status.
struct Way
{
    bool isWait;
    int status;
    bool doesWork;
};

const std::vector<Way> FAILURES = {{true, -1, false}, {false, 11, false}, {false, -1, true}};

class FaultTest : public RequestTest
{
protected:
    FaultTest()
    {
        EXPECT_EQ(make(), "nothing");
        asEver = array.events();
    }

    /// Makes the call at this position of asEver, or the wait before it, fail.
    void plan(std::size_t position, const Way& way)
    {
        const std::string name = asEver[position].substr(0, asEver[position].find('('));
        const Texts before = asEver.first(position);
        array.mend();
        if (way.isWait)
            array.fail("cim_sem_wait", way.status,
                       unsigned(before.startingWith("cim_sem_wait").size()));
        else
            array.fail(name, way.status, 0, way.doesWork);
    }

    /// The semaphore and every record list were given back, and the next request is answered as
    /// ever.
    void expectUnharmed()
    {
        const Texts events = array.events();
        EXPECT_EQ(events.startingWith("cim_sem_wait() = 0").size(),
                  events.startingWith("cim_sem_post()").size());
        std::size_t lists = 0;
        for (const std::string& query : events.startingWith("api_get"))
            lists += query.find("= 11") == std::string::npos ? 1 : 0;  // which delivers none
        EXPECT_EQ(events.startingWith(FREED).size(), lists);
        array.onNote = nullptr;
        array.mend();
        EXPECT_EQ(make(), "nothing") << "the next request";
        EXPECT_LIST(array.events(), asEver);
    }

    Texts asEver;  ///< the events of the request when nothing fails
};

INSTANTIATE_TEST_SUITE_P(All, FaultTest, testing::ValuesIn(allRequests()), NameOfRow());

TEST_P(FaultTest, PassesOnExceptionsOfHandlerAndObjectManager)
{
    std::size_t notes = 0;
    for (std::size_t i = 0; i < asEver.size(); ++i) {
        const bool isUpcall = asEver[i].find("cimom.") == 0;
        if (!isUpcall && asEver[i].find("handler.") != 0) continue;
        ++notes;
        if (asEver[i].find("cimom.getInstance") == 0) continue;  // whose failure is forgiven
        array.onNote = [left = notes](const std::string&) mutable {
            if (--left == 0) throw CIMException(CIM_ERR_NOT_FOUND, "not now");
        };
        ASSERT_EQ(make(), "6 not now") << asEver[i];
        Texts done = array.events();
        while (done.back() == FREED)
            done.pop_back();
        EXPECT_LIST(done, asEver.first(i + 1)) << "nothing is done afterwards";
        expectUnharmed();
    }
}

// ---- Reads ----

using FailedReadTest = FaultTest;

INSTANTIATE_TEST_SUITE_P(All, FailedReadTest, testing::ValuesIn(allReads()), NameOfRow());

TEST_P(FailedReadTest, FailedQueryReadsAsEmptyList)
{
    Texts delivered = {"handler.processing", "handler.complete"};
    std::string thrown = "nothing";
    if (row.operation[0] == 'e') {
        delivered = {"handler.processing", "handler.deliver 0", "handler.complete"};
    } else if (row.operation == "getInstance") {
        const bool isAssociation = associations != nullptr;
        const Array<CIMKeyBinding> keys = row.object.getKeyBindings();
        delivered = Texts();
        thrown = "6 " + row.provider + " CIM Object not found." +
                 (isAssociation ? "" : str(keys[1].getValue()));
    }
    for (const std::size_t query : positionsOf("api_get", asEver)) {
        if (asEver[query] == "api_getCagesPS_Cached(0) = 0") continue;  // it has no sensors anyway
        for (const Way& way : FAILURES) {
            plan(query, way);
            ASSERT_EQ(make(), thrown) << asEver[query] << " " << way.status;
            EXPECT_LIST(array.events().startingWith("handler."), delivered);
            expectUnharmed();
        }
    }
}

// ---- Changes ----

using FailedChangeTest = FaultTest;

INSTANTIATE_TEST_SUITE_P(All, FailedChangeTest, testing::ValuesIn(CHANGES), NameOfRow());

TEST_P(FailedChangeTest, FailedLookupIsDeviceNotFound)
{
    const std::string tag = str(row.object.getKeyBindings()[1].getValue());
    const std::string notFound =
        "1 " + row.provider + "::" + row.operation + "()  Device not found with Tag=";
    for (const Way& way : FAILURES) {
        plan(positionsOf("api_find", asEver).at(0), way);
        ASSERT_EQ(make(), notFound + tag) << way.status;
        EXPECT_LIST(array.events().startingWith("handler."), Texts());
        EXPECT_LIST(array.events().startingWith("4: <--QBX_Common"), {readKey("Tag", tag)[1]});
        expectUnharmed();
    }
    EXPECT_EQ(makeOf(element(str(row.object.getClassName()), "x y")), notFound + "x y");
    EXPECT_EQ(makeOf(pathOf(str(row.object.getClassName()))), notFound);
}

TEST_P(FailedChangeTest, ReturnsStatusOfTheAction)
{
    const bool isModify = row.operation == "modifyInstance";  // its status is ignored
    for (const Way& way : FAILURES) {
        if (isModify && way.isWait) continue;  // it is called without the semaphore
        plan(positionsOf("api_", asEver).back(), way);
        ASSERT_EQ(make(), "nothing");
        EXPECT_LIST(array.events().startingWith("handler."),
                    isModify ? Texts() : delivered("sint32 " + std::to_string(way.status)));
        expectUnharmed();
    }
}

}  // namespace
