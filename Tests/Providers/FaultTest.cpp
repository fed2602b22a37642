// Requests of every provider with each of their calls failing once: what becomes of the request,
// and of the next one. Besides, requests of several threads at once.
#include "ProviderTest.h"

#include <fnmatch.h>

#include <regex>
#include <thread>

namespace
{

/// What comes of a request.
struct Result
{
    std::string thrown;
    Texts steps;    ///< of the handler
    Texts objects;  ///< delivered, whole
    Texts events;   ///< calls, upcalls and lines, in order

    Texts all() const { return Texts{thrown} + objects + events; }
};

/// A request of data/requests.txt.
struct Request
{
    std::string provider;
    std::string operation;
    CIMObjectPath object;
    std::string tag;  ///< of the object
    std::string arguments;
    std::string thrown;
};

/// One fault of a request, and its outcome; see data/faults.txt.
struct Fault
{
    std::size_t position;  ///< of the call in the events of the whole request
    std::string way;
    std::string outcome;

    /// The number in the way.
    std::string status() const { return way.substr(way.find_first_of("-0123456789")); }
};

bool begins(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

/// True when the text fits one of the patterns, in which * stands for any text.
bool fits(const std::string& text, const std::string& patterns)
{
    const Texts list = split(patterns);
    return std::any_of(list.begin(), list.end(), [&text](const std::string& pattern) {
        return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
    });
}

bool isUpcall(const std::string& event)
{
    return begins(event, "0: cimom.") || begins(event, "0: handler.");
}

unsigned count(const Texts& events, const std::string& part)
{
    const auto has = [&part](const std::string& event) {
        return event.find(part) != std::string::npos;
    };
    return static_cast<unsigned>(std::count_if(events.begin(), events.end(), has));
}

std::string textOf(const CIMInstance& instance)
{
    std::string text = str(instance.getPath());
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i)
        text += " " + str(instance.getProperty(i).getValue());
    return text;
}

[[noreturn]] void raise(const std::string& way)
{
    if (way == "library") throw AlreadyExistsException("not now");
    if (way == "standard") throw std::runtime_error("not now");
    if (way == "other") throw 5;
    throw CIMException(CIMStatusCode(std::stoi(way)), "not now");
}

/// Puts upcalls on record from now on, and makes that one fail; 0 for none.
void watchUpcalls(std::size_t failing, const std::string& way = "")
{
    onUpcall = [number = std::size_t(0), failing, way](const std::string& upcall) mutable {
        log_message(0, "%s", upcall.c_str());
        if (++number == failing) raise(way);
    };
}

class FaultTest : public ProviderTest
{
protected:
    FaultTest() { setenv("QBX_SIM_STRICT", "0", 1); }  // a misuse shows on record
    ~FaultTest() override { onUpcall = nullptr; }

    /// Calls `use(requests)` for each provider, which then serves data/faults.json.
    template <class Use>
    void forEachProvider(Use&& use)
    {
        std::map<std::string, std::vector<Request>> requests;
        for (const Texts& row : table("requests", 5)) {
            for (const std::string& operation : split(row[1]))
                requests[row[0]].push_back(
                    {row[0], operation, at(row[2]), rest(row[2]), row[3], row[4]});
        }
        for (auto& [name, its] : requests) {
            start(name, "faults");
            for (Request& request : its) {
                if (request.operation != "getInstance") continue;
                Handler names;
                provider->enumerateInstanceNames(contextOf(), request.object, names);
                request.object = CIMObjectPath(names.paths.at(0).c_str());
            }
            use(its);
        }
    }

    Result resultOf(const Request& request, const OperationContext& context = contextOf())
    {
        array.forget();
        Handler handler;
        const std::string thrown = thrownBy(
            [&] { run(request.operation, request.object, request.arguments, handler, context); });
        Texts objects = handler.paths;
        std::transform(handler.instances.begin(), handler.instances.end(), objects.begin(), textOf);
        EXPECT_TRUE(TestArray::lists.empty()) << "a record list was not freed";
        return {thrown, handler.steps, objects, array.events()};
    }

    /// Makes the fault happen in the next request, and returns all events up to the failing one.
    Texts plan(const Texts& events, const Fault& fault)
    {
        const bool isWait = begins(fault.way, "wait");
        Texts planned(events.begin(), events.begin() + fault.position + (isWait ? 0 : 1));
        const std::string name = planned.back().substr(0, planned.back().find('('));
        array.mend();
        watchUpcalls(0);
        if (fault.way == "nobody") {
            planned.pop_back();
        } else if (isUpcall(planned.back())) {
            watchUpcalls(std::count_if(planned.begin(), planned.end(), isUpcall), fault.way);
        } else {
            array.fail(name, std::stoi(fault.status()), count(planned, name + "("),
                       begins(fault.way, "after"));
            planned.back().replace(planned.back().rfind(' ') + 1, std::string::npos,
                                   fault.status());
        }
        return planned;
    }

    void expectOutcome(const Request& request, const Result& whole, const Fault& fault)
    {
        const Texts planned = plan(whole.events, fault);
        const bool isNobodys = fault.way == "nobody";
        const Result got = resultOf(request, isNobodys ? OperationContext() : contextOf());
        const auto failed = got.events.begin() + std::min(planned.size(), got.events.size());
        EXPECT_EQ(Texts(got.events.begin(), failed), planned) << "up to the fault";
        const Texts after(failed, got.events.end());
        EXPECT_LE(got.events.size(), whole.events.size()) << testing::PrintToString(after);
        const Result expected = expectedOf(request, whole, fault);
        const bool isThrown = expected.thrown != "nothing";
        EXPECT_EQ(got.thrown, expected.thrown);
        EXPECT_EQ(got.steps, expected.steps);
        EXPECT_EQ(got.events.back() == lineOf(request.provider, request.operation + "<"),
                  !isThrown);
        if (!isThrown) {
            EXPECT_EQ(got.objects, expected.objects);
            EXPECT_EQ(count(got.events, "-->"), count(got.events, "<--"));
        } else if (!begins(fault.outcome, "6 ")) {  // a search in vain goes on to its end
            EXPECT_EQ(after.size(), count(after, FREED) + count(after, "cim_sem_post()"));
        }
        EXPECT_EQ(count(got.events, "cim_sem_wait() = 0"), count(got.events, "cim_sem_post()"));
        EXPECT_EQ(resultOf(request).all(), whole.all()) << "the next request";
    }

private:
    /// What must come of the request, but its events and what was delivered before it threw.
    static Result expectedOf(const Request& request, const Result& whole, const Fault& fault)
    {
        Result expected = whole;
        const Texts words = split(fault.outcome);
        if (fault.outcome == "passes") {
            expected.thrown = thrownBy([&fault] { raise(fault.way); });
        } else if (fault.outcome == "status") {
            expected.steps[1] = "deliver sint32 " + fault.status();
        } else if (words.size() == 3 && words[1] == "to") {
            expected.objects = {whole.objects.begin() + std::stoi(words[0]),
                                whole.objects.begin() + std::stoi(words[2])};
            expected.steps = {"processing", "deliver " + std::to_string(expected.objects.size()),
                              "complete"};
            if (!begins(request.operation, "enumerate"))
                expected.steps.erase(expected.steps.begin() + 1);
        } else if (fault.outcome != "whole") {
            std::string& thrown = expected.thrown;
            thrown = std::regex_replace(fault.outcome, std::regex("PROVIDER"), request.provider);
            thrown = std::regex_replace(thrown, std::regex("OPERATION"), request.operation);
            thrown = std::regex_replace(thrown, std::regex("TAG"), request.tag);
        }
        if (expected.thrown == "nothing") return expected;
        // Only references builds its results while the handler is open.
        const Texts before(whole.events.begin(), whole.events.begin() + fault.position);
        const bool mayBeOpen = request.operation == "references" ||
                               begins(whole.events[fault.position], "0: handler.");
        expected.steps.resize(mayBeOpen ? count(before, "0: handler.") : 0);
        return expected;
    }
};

TEST_F(FaultTest, EachCallFailsOnceAndTheNextRequestIsRight)
{
    const std::vector<Texts> rows = table("faults", 5);
    forEachProvider([&](const std::vector<Request>& requests) {
        int cells = 0;
        for (const Request& request : requests) {
            array.mend();
            watchUpcalls(0);
            const Result whole = resultOf(request);
            EXPECT_EQ(whole.thrown, request.thrown.empty() ? "nothing" : request.thrown);
            EXPECT_EQ(whole.objects.empty(), !request.arguments.empty());
            for (std::size_t i = 0; i < whole.events.size(); ++i) {
                const std::string& event = whole.events[i];
                SCOPED_TRACE(request.provider + "::" + request.operation + " " +
                             str(request.object) + " " + request.arguments + "\n" + event);
                std::map<std::string, std::string> outcomes;  // by way
                for (const Texts& row : rows) {
                    if (!fits(request.provider, row[0]) || !fits(request.operation, row[1]) ||
                        !fits(event, row[2]))
                        continue;
                    for (const std::string& way : split(row[3]))
                        outcomes.emplace(way, row[4]);
                }
                EXPECT_EQ(outcomes.empty(), !begins(event, "api_") && !isUpcall(event));
                for (const auto& [way, outcome] : outcomes) {
                    SCOPED_TRACE("failing: " + way + ", outcome: " + outcome);
                    expectOutcome(request, whole, {i, way, outcome});
                    ++cells;
                }
            }
        }
        RecordProperty(requests[0].provider, cells);
    });
}

TEST_F(FaultTest, RequestsOfSeveralThreadsAtOnce)
{
    forEachProvider([&](const std::vector<Request>& requests) {
        const auto deliveredBy = [this](const Request& request) {
            Handler handler;
            const std::string thrown = thrownBy(
                [&] { run(request.operation, request.object, request.arguments, handler); });
            return handler.steps + handler.paths + Texts{thrown};
        };
        std::vector<Texts> expected;
        for (const Request& request : requests)
            expected.push_back(deliveredBy(request));
        std::vector<std::thread> threads;
        for (std::size_t thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&, thread] {
                for (std::size_t i = 0; i < 5 * requests.size(); ++i) {
                    const std::size_t each = (i + thread) % requests.size();
                    EXPECT_EQ(deliveredBy(requests[each]), expected[each]);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    });
}

}  // namespace
