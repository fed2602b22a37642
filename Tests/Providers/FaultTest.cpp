// Requests one of whose calls fails: what becomes of the request, and of the next one. Besides,
// requests of several threads at once.
#include "Providers.h"

#include <thread>

namespace
{

/// Where an event of that start stands in a list: all its positions.
std::vector<std::size_t> positionsOf(const std::string& start, const Texts& events)
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].compare(0, start.size(), start) == 0) found.push_back(i);
    }
    return found;
}

/// What the notes of a handler or of the object manager throw, and what becomes of that outside.
struct Thrown
{
    std::function<void()> raise;
    std::string text;
};

const std::vector<Thrown> THROWN = {
    {[] { throw CIMException(CIM_ERR_FAILED, "not now"); }, "1 not now"},
    {[] { throw CIMException(CIM_ERR_NOT_FOUND, "not now"); }, "6 not now"},
    {[] { throw AlreadyExistsException("not now"); },
     thrownBy([] { throw AlreadyExistsException("not now"); })},
    {[] { throw std::runtime_error("not now"); }, "not now"},
    {[] { throw 5; }, "no exception"},
};

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

    /// The event at this position of asEver throws: the request must throw the same at once.
    void expectPassedOn(std::size_t position)
    {
        for (const Thrown& thrown : THROWN) {
            const auto passed = positionsOf("handler.", asEver.first(position)).size() +
                                positionsOf("cimom.", asEver.first(position)).size();
            array.onNote = [&thrown, left = passed](const std::string&) mutable {
                if (left-- == 0) thrown.raise();
            };
            ASSERT_EQ(make(), thrown.text) << asEver[position];
            Texts done;
            for (const std::string& event : array.events()) {
                if (event != FREED || done.size() <= position) done.push_back(event);
            }
            EXPECT_LIST(done, asEver.first(position + 1)) << "nothing is done afterwards";
            expectUnharmed(asEver);
        }
    }

    Texts asEver;  ///< the events of the request when nothing fails
};

// ---- Reads ----

using FailedReadTest = FaultTest;

INSTANTIATE_TEST_SUITE_P(All, FailedReadTest, testing::ValuesIn(allReads()), nameOfRow);

TEST_P(FailedReadTest, AFailedQueryReadsAsAnEmptyList)
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
        if (asEver[query] == "api_getCagesPS_Cached(0) = 0") continue;  // it is empty anyway
        for (const Way& way : FAILURES) {
            plan(query, way);
            ASSERT_EQ(make(), thrown) << asEver[query] << " " << way.status;
            EXPECT_LIST(array.events().startingWith("handler."), delivered);
            expectUnharmed(asEver);
        }
    }
}

TEST_P(FailedReadTest, WhatTheHandlerThrowsIsPassedOn)
{
    for (const std::size_t step : positionsOf("handler.", asEver))
        expectPassedOn(step);
}

TEST_P(FailedReadTest, WhatTheObjectManagerThrowsIsPassedOn)
{
    for (const std::size_t upcall : positionsOf("cimom.", asEver)) {
        const bool isCageOfElement = asEver[upcall].find("cimom.getInstance") == 0;
        if (!isCageOfElement) expectPassedOn(upcall);
    }
}

/// The requests that fetch a cage from the object manager.
std::vector<Request> readsOfCages()
{
    std::vector<Request> requests;
    for (const Request& each : allReads()) {
        if (each.object.identical(CARD) || each.object.identical(MAGAZINE)) {
            if (each.operation[0] == 'r' || each.operation[0] == 'a') requests.push_back(each);
        }
    }
    return requests;
}

using FailedFetchTest = FaultTest;

INSTANTIATE_TEST_SUITE_P(All, FailedFetchTest, testing::ValuesIn(readsOfCages()), nameOfRow);

TEST_P(FailedFetchTest, ACageThatCannotBeFetchedIsMissing)
{
    for (const Thrown& thrown : THROWN) {
        array.onNote = [&thrown](const std::string& note) {
            if (note.find("cimom.getInstance") == 0) thrown.raise();
        };
        ASSERT_EQ(make(), "nothing") << thrown.text;
        EXPECT_LIST(array.events().startingWith("handler."),
                    {"handler.processing", "handler.complete"});
        expectUnharmed(asEver);
    }
}

// ---- Changes ----

using FailedChangeTest = FaultTest;

INSTANTIATE_TEST_SUITE_P(All, FailedChangeTest, testing::ValuesIn(CHANGES), nameOfRow);

TEST_P(FailedChangeTest, WhatCannotBeLookedUpIsNotFound)
{
    const std::string tag = str(row.object.getKeyBindings()[1].getValue());
    const std::string notFound =
        "1 " + row.provider + "::" + row.operation + "()  Device not found with Tag=";
    for (const Way& way : FAILURES) {
        plan(positionsOf("api_find", asEver).at(0), way);
        ASSERT_EQ(make(), notFound + tag) << way.status;
        EXPECT_LIST(array.events().startingWith("handler."), Texts());
        EXPECT_LIST(array.events().startingWith("4: <--QBX_Common"), {readKey("Tag", tag)[1]});
        expectUnharmed(asEver);
    }
    EXPECT_EQ(makeOf(element(str(row.object.getClassName()), "x y")), notFound + "x y");
    EXPECT_EQ(makeOf(pathOf(str(row.object.getClassName()))), notFound);
}

TEST_P(FailedChangeTest, TheStatusOfTheActionIsTheResultOfTheMethod)
{
    const bool isModify = row.operation == "modifyInstance";  // its status is ignored
    const auto calls = positionsOf("api_", asEver);
    for (const Way& way : {Way{true, 1, false}, Way{false, 11, false}, Way{false, -1, true}}) {
        if (isModify && way.isWait) continue;  // it is called without the semaphore
        plan(calls.back(), way);
        ASSERT_EQ(make(), "nothing");
        EXPECT_LIST(array.events().startingWith("handler."),
                    isModify ? Texts() : delivered("sint32 " + std::to_string(way.status)));
        expectUnharmed(asEver);
    }
}

TEST_P(FailedChangeTest, WhatTheHandlerThrowsIsPassedOn)
{
    for (const std::size_t step : positionsOf("handler.", asEver))
        expectPassedOn(step);
}

// ---- Threads ----

using ThreadTest = RowTest<ProviderRow>;

INSTANTIATE_TEST_SUITE_P(All, ThreadTest, testing::ValuesIn(PROVIDERS), nameOfRow);

TEST_P(ThreadTest, RequestsOfSeveralThreadsAreAnsweredAlike)
{
    start(row.name);
    std::vector<std::pair<Request, Texts>> expected;
    for (const Request& request : allReads()) {
        if (request.provider != row.name) continue;
        Handler handler;
        sendRead(request.operation, request.object, {}, {}, handler);
        expected.push_back({request, handler.paths});
    }
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 4; ++first) {
        threads.emplace_back([&, first] {
            for (std::size_t i = first; i < first + 5 * expected.size(); ++i) {
                const auto& [request, paths] = expected[i % expected.size()];
                Handler handler;
                sendRead(request.operation, request.object, {}, {}, handler);
                EXPECT_LIST(handler.paths, paths);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
