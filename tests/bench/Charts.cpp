#include "Tables.h"

#include "compare/Charts.h"
#include "support/Xml.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using tables::solved;

std::string profile(const bench::Table& table)
{
    return bench::profileOf(table, bench::kSolve, "profile");
}

std::string bars(const bench::Table& table)
{
    return bench::barsOf(table, bench::kSolve, "bars");
}

TEST(Charts, AreWellFormed)
{
    const bench::Table table = {{"one", 1, {solved("ours", 1), solved("theirs", 2)}},
                                {"two", 1, {solved("ours", 3), tables::unsolved("theirs", 1)}}};

    EXPECT_TRUE(support::isWellFormed(profile(table)));
    EXPECT_TRUE(support::isWellFormed(bars(table)));
}

TEST(Charts, OfNoInputsAreWellFormed)
{
    EXPECT_TRUE(support::isWellFormed(profile({})));
    EXPECT_TRUE(support::isWellFormed(bars({})));
}

TEST(Charts, NamesAreEscaped)
{
    const std::string chart = bars({{"a&b<c>.mtx", 1, {solved("ours", 1)}}});

    EXPECT_NE(chart.find(">a&amp;b&lt;c&gt;.mtx</text>"), std::string::npos);
}

/// The profile where the second contender takes so many times as long as the first.
std::string profileOfRatio(double ratio)
{
    return profile({{"one", 1, {solved("ours", 1), solved("theirs", ratio)}}});
}

TEST(Charts, ContenderBeyondTheAxisIsNotInTheProfile)
{
    bench::Table gaveUp = {{"one", 1, {solved("ours", 1), tables::unsolved("theirs", 0)}}};

    EXPECT_EQ(profileOfRatio(500), profile(gaveUp));
}

TEST(Charts, ContenderAtTheEndOfTheAxisIsInTheProfile)
{
    EXPECT_NE(profileOfRatio(64), profileOfRatio(65));
}

} // namespace
