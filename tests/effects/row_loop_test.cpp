// The rows of a picture with what a host sees of them.

#include "core/row_loop.h"
#include "tests/effects/watching_host.h"
#include <climits>
#include <gtest/gtest.h>
#include <string>

namespace velmont::testing {

namespace {

struct Walk {
    Events events;
    std::vector<int> rows;
    bool aborted;
};

/// Walks all rows; the polls from the n-th on answer `answer`.
Walk walk(int rows, int abortFromPoll = 0, int answer = 1)
{
    RecordingHost host;
    host.abortFromPoll(abortFromPoll, answer);
    Walk result{{}, {}, false};
    for (const int y : RowLoop(rows, result.aborted)) {
        host.events.push_back("row");
        result.rows.push_back(y);
    }
    result.events = host.events;
    return result;
}

/// Polls and rows in turn, `count` times.
void addRows(Events &events, int count)
{
    for (int i = 0; i < count; ++i)
        events.insert(events.end(), {"poll", "row"});
}

TEST(RowLoopTest, OneRow)
{
    const Walk result = walk(1);
    EXPECT_EQ(result.events, (Events{"poll", "0%", "row"}));
    EXPECT_EQ(result.rows, std::vector<int>{0});
    EXPECT_FALSE(result.aborted);
}

TEST(RowLoopTest, ReportsBeforeThePoll)
{
    RecordingHost host;
    host.abortFromPoll(3);
    bool aborted = false;
    for (const int y :
         RowLoop(4, aborted, {.reportEvery = 1, .percentFrom = 50, .percentSpan = 50, .reportFirst = true}))
        host.events.push_back("row " + std::to_string(y));
    EXPECT_EQ(host.events, (Events{"50%", "poll", "row 0", "62%", "poll", "row 1", "75%", "poll"}));
    EXPECT_TRUE(aborted);
}

TEST(RowLoopTest, SixteenRowsReportOnce)
{
    Events expected{"poll", "0%", "row"};
    addRows(expected, 15);
    EXPECT_EQ(walk(16).events, expected);
}

TEST(RowLoopTest, SeventeenRowsReportTwice)
{
    Events expected{"poll", "0%", "row"};
    addRows(expected, 15);
    expected.insert(expected.end(), {"poll", "94%", "row"});
    EXPECT_EQ(walk(17).events, expected);
}

TEST(RowLoopTest, FortyRowsReportEverySixteenth)
{
    Events expected{"poll", "0%", "row"};
    addRows(expected, 15);
    expected.insert(expected.end(), {"poll", "40%", "row"});
    addRows(expected, 15);
    expected.insert(expected.end(), {"poll", "80%", "row"});
    addRows(expected, 7);
    const Walk result = walk(40);
    EXPECT_EQ(result.events, expected);
    for (int y = 0; y < 40; ++y)
        EXPECT_EQ(result.rows.at(static_cast<std::size_t>(y)), y);
    EXPECT_EQ(result.rows.size(), 40u);
}

TEST(RowLoopTest, NoRowsAskNobody)
{
    for (const int rows : {0, -1, INT_MIN})
        EXPECT_EQ(walk(rows).events, Events{}) << rows;
}

TEST(RowLoopTest, AbortEndsTheRangeBeforeReportAndRow)
{
    const Walk first = walk(40, 1);
    EXPECT_EQ(first.events, Events{"poll"});
    EXPECT_TRUE(first.aborted);

    Events expected{"poll", "0%", "row"};
    addRows(expected, 15);
    expected.push_back("poll"); // of row 16, whose report does not come any more
    const Walk later = walk(40, 17);
    EXPECT_EQ(later.events, expected);
    EXPECT_TRUE(later.aborted);

    const Walk last = walk(40, 40);
    EXPECT_EQ(last.rows.size(), 39u);
    EXPECT_TRUE(last.aborted);

    const Walk never = walk(40, 41);
    EXPECT_EQ(never.rows.size(), 40u);
    EXPECT_FALSE(never.aborted);
}

TEST(RowLoopTest, AnyAnswerButZeroAborts)
{
    for (const int answer : {1, 2, -1, 256, 0x10000, INT_MIN, INT_MAX}) {
        const Walk result = walk(3, 2, answer);
        EXPECT_TRUE(result.aborted) << answer;
        EXPECT_EQ(result.rows, std::vector<int>{0}) << answer;
    }
}

TEST(RowLoopTest, RangeAfterAnAbortAsksNobody)
{
    RecordingHost host;
    bool aborted = true;
    for ([[maybe_unused]] const int y : RowLoop(40, aborted))
        host.events.push_back("row");
    EXPECT_EQ(host.events, Events{});
    EXPECT_TRUE(aborted);
}

TEST(RowLoopTest, SecondRangeStartsAnew)
{
    RecordingHost host;
    bool aborted = false;
    for (int pass = 0; pass < 2; ++pass)
        for ([[maybe_unused]] const int y : RowLoop(2, aborted)) {
        }
    EXPECT_EQ(host.events, (Events{"poll", "0%", "poll", "poll", "0%", "poll"}));
}

/// The events of a walk in another cadence.
Events eventsOf(int rows, RowCadence cadence, int abortFromPoll = 0)
{
    RecordingHost host;
    host.abortFromPoll(abortFromPoll);
    bool aborted = false;
    for (const int y : RowLoop(rows, aborted, cadence))
        host.events.push_back("row " + std::to_string(y));
    return host.events;
}

TEST(RowLoopTest, OtherCadences)
{
    EXPECT_EQ(eventsOf(3, {.pollEvery = 1, .reportEvery = 0}),
              (Events{"poll", "row 0", "poll", "row 1", "poll", "row 2"}));
    EXPECT_EQ(eventsOf(5, {.pollEvery = 2, .reportEvery = 3}),
              (Events{"poll", "0%", "row 0", "row 1", "poll", "row 2", "60%", "row 3", "poll", "row 4"}));
    EXPECT_EQ(eventsOf(5, {.pollEvery = 4, .reportEvery = 4}, 2),
              (Events{"poll", "0%", "row 0", "row 1", "row 2", "row 3", "poll"}));
}

/// What entering one row of a picture shows.
Events enteringRow(int row, int rows)
{
    RecordingHost host;
    bool aborted = false;
    const RowLoop loop(rows, aborted);
    const RowLoop::Iterator iterator(loop, row);
    EXPECT_EQ(*iterator, row);
    return host.events;
}

TEST(RowLoopTest, ProgressOfHugeHeightsWrapsIn32Bits)
{
    // 21474832 * 100 = 2147483200 is the last multiple of sixteen rows that does not wrap.
    EXPECT_EQ(enteringRow(21474832, 50000000), (Events{"poll", "42%"}));
    // 2147484800 - 2^32 = -2147482496, and the division truncates toward zero.
    EXPECT_EQ(enteringRow(21474848, 50000000), (Events{"poll", "-42%"}));
    // 4294968000 - 2^32 = 704
    EXPECT_EQ(enteringRow(42949680, 50000000), (Events{"poll", "0%"}));
    // 2500000000 - 2^32 = -1794967296
    EXPECT_EQ(enteringRow(25000000, 30000000), (Events{"poll", "-59%"}));
    // 6300000000 - 2^32 = 2005032704
    EXPECT_EQ(enteringRow(63000000, 64000000), (Events{"poll", "31%"}));
}

TEST(RowLoopTest, HighestRowEndsTheRange)
{
    RecordingHost host;
    bool aborted = false;
    const RowLoop loop(INT_MAX, aborted);
    RowLoop::Iterator iterator(loop, INT_MAX - 1);
    EXPECT_FALSE(iterator == RowLoop::End{});
    ++iterator;
    EXPECT_TRUE(iterator == RowLoop::End{});
    EXPECT_EQ(host.events, Events{"poll"});
}

} // namespace

} // namespace velmont::testing
