#include "Replay.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

namespace replay
{

namespace
{

/// All parts in one.
const Part& library()
{
    static const Part whole = [] {
        Part sum;
        for (Part part : {namesAndPaths(), values(), objects(), contexts()}) {
            sum.topics.insert(sum.topics.end(), part.topics.begin(), part.topics.end());
            sum.operations.merge(part.operations);
            sum.verbs.merge(part.verbs);
        }
        return sum;
    }();
    return whole;
}

template <class Table>
auto find(const Table& table, const Json& name)
{
    const auto found = table.find(name.get<std::string>());
    if (found == table.end()) throw std::runtime_error("nothing replays " + name.dump());
    return found->second;
}

Json runScript(const Json& steps)
{
    Registers registers;
    Json out = Json::array();
    for (const Json& step : steps) {
        const Verb verb = find(library().verbs, step[0]);
        out.push_back(orThrows([&] { return verb(registers, step); }));
    }
    return out;
}

/// {"out"} or {"throws"}, as recorded.
Json run(const Json& in)
{
    return orThrows([&] {
        if (in["op"] == "script") return Json{{"out", runScript(in["steps"])}};
        return Json{{"out", find(library().operations, in["op"])(in)}};
    });
}

class Recorded : public testing::TestWithParam<std::string>
{
};

TEST_P(Recorded, UsesComeOutAsRecorded)
{
    std::ifstream file(VECTORS "/" + GetParam() + ".json");
    const Json cases = Json::parse(file);
    ASSERT_FALSE(cases.empty());
    for (const Json& recorded : cases) {
        Json expected = recorded;
        expected.erase("id");
        expected.erase("in");
        Json got;
        try {
            got = run(recorded["in"]);
        } catch (const std::exception& fault) {
            got = {{"cannot be replayed", fault.what()}};
        }
        EXPECT_EQ(expected, got) << recorded["id"] << "\n      in: " << recorded["in"].dump()
                                 << "\nexpected: " << expected.dump()
                                 << "\n     got: " << got.dump();
    }
}

INSTANTIATE_TEST_SUITE_P(Topics, Recorded, testing::ValuesIn(library().topics),
                         [](const auto& topic) { return topic.param; });

}  // namespace

}  // namespace replay
