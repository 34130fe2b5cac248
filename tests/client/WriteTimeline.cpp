#include "support/Files.h"
#include "support/Xml.h"

#include <kyrOrvelClient/Pictures>

#include <gtest/gtest.h>

#include <chrono>
#include <locale>
#include <string>

using kyrOrvel::FactorTrace;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeTimeline;

namespace {

using Clock = FactorTrace::Clock;

/// So many milliseconds after the beginning of time.
Clock::time_point at(int milliseconds)
{
    return Clock::time_point(std::chrono::milliseconds(milliseconds));
}

/// Two threads, the second of which waits for half of its only stretch.
FactorTrace twoThreads()
{
    FactorTrace trace;
    trace.threads.resize(2);
    trace.threads[0] = {{0, false, at(10), at(14)}, {1, false, at(14), at(20)}};
    trace.threads[1] = {{0, true, at(10), at(14)}, {2, false, at(10), at(18)}};
    return trace;
}

TEST(WriteTimeline, EveryThreadIsALaneWithItsShareAtWork)
{
    const support::Folder folder;
    const std::string path = folder.path("timeline.svg");
    ASSERT_TRUE(writeTimeline(path, twoThreads()).ok());

    const std::string text = support::contentOf(path);
    EXPECT_TRUE(support::isWellFormed(text));
    EXPECT_EQ(support::count(text, "thread 0: 100 % of 10.00 ms at work"), 1u) << text;
    EXPECT_EQ(support::count(text, "thread 1: 40 % of 10.00 ms at work"), 1u) << text;
}

/// Numbers as much of Europe writes them: 1.234,5.
class DecimalComma : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(WriteTimeline, IsTheSameWhereADecimalCommaIsUsed)
{
    FactorTrace trace = twoThreads();
    trace.threads.resize(1234); // so many lanes that the picture is more than 1000 pixels high
    for (std::size_t t = 2; t < trace.threads.size(); ++t)
        trace.threads[t] = trace.threads[0];
    const support::Folder folder;
    ASSERT_TRUE(writeTimeline(folder.path("point.svg"), trace).ok());
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    const Status status = writeTimeline(folder.path("comma.svg"), trace);
    std::locale::global(before);

    ASSERT_TRUE(status.ok()) << status.message;
    EXPECT_EQ(support::contentOf(folder.path("comma.svg")),
              support::contentOf(folder.path("point.svg")));
}

TEST(WriteTimeline, StretchesTooThinToSeeAreOneBar)
{
    FactorTrace trace;
    trace.threads.resize(1);
    trace.threads[0] = {{0, false, at(0), at(1000000)}};
    const support::Folder folder;
    ASSERT_TRUE(writeTimeline(folder.path("one.svg"), trace).ok());
    for (int i = 0; i < 50; ++i) // all together less than a tenth of a pixel
        trace.threads[0].push_back({1, false, at(1000000 + i), at(1000001 + i)});
    ASSERT_TRUE(writeTimeline(folder.path("many.svg"), trace).ok());

    EXPECT_EQ(support::count(support::contentOf(folder.path("one.svg")), "<rect") + 1,
              support::count(support::contentOf(folder.path("many.svg")), "<rect"));
}

TEST(WriteTimeline, TraceWithoutEventsIsInvalidInput)
{
    const support::Folder folder;
    FactorTrace trace;
    trace.threads.resize(2);
    const Status status = writeTimeline(folder.path("timeline.svg"), trace);
    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, folder.path("timeline.svg") + ": the trace holds no events");
    EXPECT_EQ(folder.numFiles(), 0u);
}

} // namespace
