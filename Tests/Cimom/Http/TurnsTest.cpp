// In which order turns are given, and logins get theirs.
#include "Http/LoginQueue.h"
#include "Http/Turns.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <list>
#include <string>

namespace cimom
{
namespace
{

/// One turn, which is taken at first, and others that wait for it.
class TurnsTest : public ::testing::Test
{
protected:
    struct Waiting
    {
        Waiting(char given, Turns& turns, const char* owner, unsigned rank)
            : name(given), turn(turns, owner, rank)
        {
        }

        const char name;
        Turns::Turn turn;
    };

    void add(char name, const char* owner, unsigned rank = 0)
    {
        waiting.emplace_back(name, turns, owner, rank);
    }
    /// The names of those that wait, as they get their turn.
    std::string orderOfAll()
    {
        std::string order;
        for (waiting.pop_front(); !waiting.empty();) {
            const auto next = std::find_if(waiting.begin(), waiting.end(),
                                           [](const Waiting& each) { return each.turn.isGiven(); });
            if (next == waiting.end()) return order + " and no turn for the rest";
            order += next->name;
            waiting.erase(next);
        }
        return order;
    }

    Turns turns{1};
    std::list<Waiting> waiting;
};

TEST_F(TurnsTest, AreGivenInTheOrderOfArrivalToOneOwner)
{
    for (const char name : {'0', 'a', 'b', 'c'})
        add(name, "hog");
    EXPECT_EQ(orderOfAll(), "abc");
}

TEST_F(TurnsTest, OwnersAlternateHoweverManyOneWants)
{
    for (const char name : {'0', 'a', 'b', 'c'})
        add(name, "hog");
    add('x', "modest");
    add('y', "modest");
    EXPECT_EQ(orderOfAll(), "xaybc");
}

TEST_F(TurnsTest, LowerRanksComeFirst)
{
    add('0', "other");
    add('a', "hog", 2);
    add('b', "hog", 1);
    add('c', "modest", 0);
    EXPECT_EQ(orderOfAll(), "cba");
}

TEST_F(TurnsTest, OneThatIsNotWaitedForIsLeftOut)
{
    for (const char name : {'0', 'a', 'b'})
        add(name, "hog");
    waiting.erase(std::next(waiting.begin()));
    EXPECT_EQ(orderOfAll(), "b");
}

bool login(LoginQueue& queue, const std::string& address, bool isRight)
{
    return queue.enter(address)->check([=] { return isRight; }).has_value();
}

TEST(LoginQueue, AddressesThatHaveLoggedInGoFirstAndThoseThatGuessedLast)
{
    LoginQueue queue;
    login(queue, "known", true);
    login(queue, "guesser", false);
    const unsigned known = queue.enter("known")->rank(), newcomer = queue.enter("new")->rank();
    EXPECT_LT(known, newcomer);
    EXPECT_LT(newcomer, queue.enter("guesser")->rank());
}

TEST(LoginQueue, AnAddressThatGuessedHasFewPlaces)
{
    LoginQueue queue;
    login(queue, "guesser", false);
    std::list<std::unique_ptr<LoginQueue::Place>> places;
    while (auto place = queue.enter("guesser"))
        places.push_back(std::move(place));
    EXPECT_EQ(places.size(), 4U);
}

TEST(LoginQueue, LoginsBeyondThosePlacesAreNotCheckedAfterAWrongOne)
{
    LoginQueue queue;
    std::list<std::unique_ptr<LoginQueue::Place>> places;
    for (unsigned i = 0; i < 6; ++i)
        places.push_back(queue.enter("guesser"));
    const auto wrong = [] { return false; };
    EXPECT_EQ(places.front()->check(wrong), false);
    EXPECT_EQ(places.back()->check(wrong), std::nullopt);
}

TEST(LoginQueue, BoundsTheAddressesThatWaitButNotKnownOnes)
{
    LoginQueue queue;
    login(queue, "known", true);
    std::list<std::unique_ptr<LoginQueue::Place>> places;
    while (auto place = queue.enter(std::to_string(places.size())))
        places.push_back(std::move(place));
    EXPECT_EQ(places.size(), 32U);
    EXPECT_TRUE(queue.enter("0"));
    EXPECT_TRUE(queue.enter("known"));
}

TEST(LoginQueue, HoldsBackTheAnswerToAGuessLongerEachTime)
{
    LoginQueue queue;
    using namespace std::chrono_literals;
    for (const auto delay : {400ms, 800ms, 1600ms, 3200ms, 6400ms, 6400ms}) {
        login(queue, "guesser", false);
        EXPECT_EQ(queue.enter("guesser")->delay(), delay);
    }
}

}  // namespace
}  // namespace cimom
