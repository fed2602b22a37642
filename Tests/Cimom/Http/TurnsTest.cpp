// In which order turns are given, and logins get theirs.
#include "Http/LoginQueue.h"
#include "Http/Task.h"
#include "Http/Turns.h"

#include <gtest/gtest.h>
#include <list>
#include <optional>
#include <string>

namespace cimom
{
namespace
{

/// One turn, which is taken at first, and coroutines that wait for it.
class TurnsTest : public ::testing::Test
{
protected:
    TurnsTest()
    {
        taken.emplace(turns, other, 0);
        taken->await_ready();
    }

    Task wait(char name, Turns::Party& party, unsigned rank)
    {
        Turns::Turn turn(turns, party, rank);
        const bool isGiven = co_await turn;
        order += isGiven ? std::string(1, name) : "(" + std::string(1, name) + ")";
    }
    void add(char name, Turns::Party& party, unsigned rank = 0)
    {
        waiting.push_back(wait(name, party, rank));
        waiting.back().handle().resume();
    }
    /// The names of those that wait, as they get their turn; refused ones in brackets.
    std::string orderOfAll()
    {
        taken.reset();
        while (turns.hasNext())
            turns.next().resume();
        return order;
    }

    Turns turns{1};
    Turns::Party other, hog, modest;
    std::optional<Turns::Turn> taken;
    std::string order;
    std::list<Task> waiting;
};

TEST_F(TurnsTest, AreGivenInTheOrderOfArrivalToOneParty)
{
    for (const char name : {'a', 'b', 'c'})
        add(name, hog);
    EXPECT_EQ(orderOfAll(), "abc");
}

TEST_F(TurnsTest, PartiesAlternateHoweverManyOneWants)
{
    for (const char name : {'a', 'b', 'c'})
        add(name, hog);
    add('x', modest);
    add('y', modest);
    EXPECT_EQ(orderOfAll(), "axbyc");
}

TEST_F(TurnsTest, LowerRanksComeFirst)
{
    add('a', hog, 2);
    add('b', hog, 1);
    add('c', modest, 0);
    EXPECT_EQ(orderOfAll(), "cba");
}

TEST_F(TurnsTest, ThoseOfAPartyCanBeRefusedBeyondANumber)
{
    for (const char name : {'a', 'b', 'c'})
        add(name, hog);
    add('x', modest);
    turns.refuse(&hog, 1);
    EXPECT_TRUE(turns.hasNext());  // the refused ones need no turn
    EXPECT_EQ(orderOfAll(), "(b)(c)ax");
}

TEST(LoginQueue, AddressesThatHaveLoggedInGoFirstAndThoseThatGuessedLast)
{
    LoginQueue queue;
    queue.enter("known")->noteRight();
    queue.enter("guesser")->noteWrong();
    const unsigned known = queue.enter("known")->rank(), newcomer = queue.enter("new")->rank();
    EXPECT_LT(known, newcomer);
    EXPECT_LT(newcomer, queue.enter("guesser")->rank());
}

TEST(LoginQueue, AnAddressThatGuessedHasFewPlaces)
{
    LoginQueue queue;
    queue.enter("guesser")->noteWrong();
    std::list<std::unique_ptr<LoginQueue::Place>> places;
    while (auto place = queue.enter("guesser"))
        places.push_back(std::move(place));
    EXPECT_EQ(places.size(), 4U);
}

TEST(LoginQueue, BoundsTheAddressesThatWaitButNotKnownOnes)
{
    LoginQueue queue;
    queue.enter("known")->noteRight();
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
    for (const auto delay : {400ms, 800ms, 1600ms, 3200ms, 6400ms, 6400ms})
        EXPECT_EQ(queue.enter("guesser")->noteWrong(), delay);
}

}  // namespace
}  // namespace cimom
