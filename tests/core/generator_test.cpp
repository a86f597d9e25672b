#include "core/generator.h"
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace velmont::testing {

namespace {

std::vector<int> draw(int count)
{
    std::vector<int> numbers;
    for (int i = 0; i < count; ++i)
        numbers.push_back(velmont::rand());
    return numbers;
}

/// In a thread of its own, whose stream nobody has drawn from.
std::vector<int> drawInNewThread(int count)
{
    std::vector<int> numbers;
    std::thread([&] { numbers = draw(count); }).join();
    return numbers;
}

} // namespace

// From state 1 the states are 2745024, 3357800067, 415139642, 3884216597, 3403800452, 1030492215: each the
// one before times 214013 plus 2531011, its low 32 bits. A number is bits 16 to 30 of a state, as in
// 2745024 / 65536 = 41 and 3357800067 / 65536 - 32768 = 18467.
TEST(GeneratorTest, StartsAtOne)
{
    EXPECT_EQ(drawInNewThread(6), (std::vector{41, 18467, 6334, 26500, 19169, 15724}));
}

TEST(GeneratorTest, SeedSetsTheState)
{
    velmont::srand(1);
    EXPECT_EQ(draw(2), (std::vector{41, 18467}));
    // 2531011 / 65536 = 38; 2531011 * 214013 + 2531011 = 541671788154, of which 505908858 is left in 32
    // bits, and 505908858 / 65536 = 7719.
    velmont::srand(0);
    EXPECT_EQ(draw(2), (std::vector{38, 7719}));
    velmont::srand(0);
    EXPECT_EQ(draw(1), (std::vector{38}));
    // -214013 + 2531011 = 2316998; 2316998 / 65536 = 35
    velmont::srand(0xFFFFFFFF);
    EXPECT_EQ(draw(1), (std::vector{35}));
}

TEST(GeneratorTest, FollowsTheRecurrenceForLong)
{
    velmont::srand(2);
    unsigned long long state = 2;
    for (int i = 0; i < 100000; ++i) {
        state = (state * 214013 + 2531011) % 4294967296;
        ASSERT_EQ(velmont::rand(), static_cast<int>(state / 65536 % 32768)) << i;
    }
}

TEST(GeneratorTest, ManyNumbersAreThoseOfSoManyCalls)
{
    for (std::size_t count = 0; count <= 70; ++count) {
        velmont::srand(static_cast<uint32_t>(count));
        const std::vector<int> expected = draw(static_cast<int>(count));
        const int after = velmont::rand();
        velmont::srand(static_cast<uint32_t>(count));
        std::vector<uint16_t> numbers(count + 1, 0xABCD);
        velmont::drawNumbers(numbers.data(), count);
        EXPECT_EQ(numbers.back(), 0xABCD) << "one too many";
        EXPECT_EQ(std::vector<int>(numbers.begin(), numbers.end() - 1), expected);
        EXPECT_EQ(velmont::rand(), after) << "the state behind " << count;
    }
}

TEST(GeneratorTest, AStreamLooksAheadAndSkips)
{
    constexpr std::size_t kMost = NumberStream::kMostSkipped;
    velmont::srand(8);
    const std::vector<int> expected = draw(2 * static_cast<int>(kMost) + 3);
    for (std::size_t count = 0; count <= kMost; ++count) {
        velmont::srand(8);
        {
            NumberStream numbers;
            EXPECT_EQ(numbers.next(), expected[0]);
            for (std::size_t i = 0; i < kMost; ++i)
                ASSERT_EQ(numbers.ahead(i), expected[1 + i]);
            numbers.skip(count);
            EXPECT_EQ(numbers.next(), expected[1 + count]);
        }
        EXPECT_EQ(velmont::rand(), expected[2 + count]) << "the stream is given back";
    }
}

TEST(GeneratorTest, EachThreadHasItsOwnStream)
{
    velmont::srand(3);
    const std::vector<int> alone = draw(4);
    velmont::srand(3);
    std::vector<int> numbers = draw(2);
    std::thread([] {
        velmont::srand(99);
        draw(10);
    }).join();
    EXPECT_EQ(drawInNewThread(1), (std::vector{41})) << "a new thread starts at 1 whatever others did";
    const std::vector<int> rest = draw(2);
    numbers.insert(numbers.end(), rest.begin(), rest.end());
    EXPECT_EQ(numbers, alone);
}

TEST(GeneratorTest, SkippedNumbersAreAsGoodAsDrawn)
{
    for (const uint64_t count : {0, 1, 2, 3, 15, 16, 17, 1000, 65537}) {
        velmont::srand(99);
        skipNumbers(count);
        const int next = velmont::rand();
        velmont::srand(99);
        draw(static_cast<int>(count));
        EXPECT_EQ(velmont::rand(), next) << count;
    }
    // After 2^32 numbers the stream starts again.
    velmont::srand(7);
    skipNumbers((uint64_t{1} << 32) + 3);
    const int next = velmont::rand();
    velmont::srand(7);
    EXPECT_EQ(draw(4).back(), next);
}

TEST(GeneratorTest, AStreamDrawsAndGivesBack)
{
    velmont::srand(5);
    const std::vector<int> expected = draw(7);
    velmont::srand(5);
    {
        NumberStream stream;
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(static_cast<int>(stream.next()), expected[static_cast<std::size_t>(i)]);
    }
    {
        const NumberStream unused;
    }
    EXPECT_EQ(velmont::rand(), expected[6]);
}

TEST(GeneratorTest, RangesAreRemainders)
{
    for (const uint32_t range :
         {1u,  2u,   3u,   5u,    6u,    7u,     9u,     50u,    51u,    63u,    64u,   65u,
          99u, 100u, 127u, 1000u, 4097u, 16383u, 16384u, 16385u, 32766u, 32767u, 32768u}) {
        const NumberRange remainder(range);
        EXPECT_EQ(remainder.range(), range);
        for (uint32_t number = 0; number < 32768; ++number)
            ASSERT_EQ(remainder(number), number % range) << range;
    }
    EXPECT_EQ(NumberRange(40000)(32767), 32767u);
    EXPECT_EQ(NumberRange(UINT32_MAX)(12345), 12345u);
}

} // namespace velmont::testing
