#include "conversion.h"
#include "made_up_effects.h"
#include <gtest/gtest.h>

namespace velmont::test {

namespace {

using namespace velmont::catalogue;

/// What is typed to bring an image of one depth to an effect that accepts others.
std::string way(unsigned from, unsigned accepted)
{
    Effect effect = blend();
    effect.depths = accepted;
    return cli::stepNames(cli::conversionFor(effect, from));
}

TEST(Conversion, LosesNothingWherePossible)
{
    for (const unsigned depth : {Depth1, Depth4, Depth8Gray, Depth8Paletted})
        EXPECT_EQ(way(depth, DepthAll & ~depth), "to-24-bit");
    EXPECT_EQ(way(Depth1, Depth24 | Depth8Gray), "to-24-bit");
}

TEST(Conversion, GoesToGrayBeforeBlackAndWhite)
{
    EXPECT_EQ(way(Depth24, Depth8Gray), "to-gray");
    EXPECT_EQ(way(Depth24, Depth8Gray | Depth1), "to-gray");
    EXPECT_EQ(way(Depth4, Depth8), "to-gray");
}

TEST(Conversion, GoesThroughGrayToBlackAndWhite)
{
    EXPECT_EQ(way(Depth24, Depth1), "to-gray then to-1-bit");
    EXPECT_EQ(way(Depth8Paletted, Depth1), "to-gray then to-1-bit");
    EXPECT_EQ(way(Depth8Gray, Depth1), "to-1-bit");
}

TEST(Conversion, ThresholdIsTheMiddle)
{
    Effect effect = blend();
    effect.depths = Depth1;
    const cli::Step last = cli::conversionFor(effect, Depth24).back();
    EXPECT_EQ(last.effect->fields[0].load(last.record.bytes.data()), 127);
}

TEST(Conversion, ThereIsNotAlwaysAWay)
{
    EXPECT_EQ(way(Depth24, Depth4), "");
    EXPECT_EQ(way(Depth24, Depth8Paletted), "");
    EXPECT_EQ(way(0, DepthAll), "");
}

TEST(Conversion, IsNeedlessToTheDepthThatIsThere)
{
    const Effect *const to24 = findEffect("to-24-bit");
    ASSERT_NE(to24, nullptr);
    EXPECT_TRUE(cli::isNeedless(*to24, Depth24));
    EXPECT_FALSE(cli::isNeedless(*to24, Depth1));
    EXPECT_FALSE(cli::isNeedless(blend(), Depth24));
}

} // namespace

} // namespace velmont::test
