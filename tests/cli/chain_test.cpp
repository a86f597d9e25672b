#include "chain.h"
#include "failure_of.h"
#include "made_up_effects.h"
#include <cstring>

namespace velmont::test {

namespace {

using cli::Chain;
using Words = std::vector<std::string>;

Chain parse(const Words &words)
{
    return cli::parseChain(words, madeUpEffects());
}

std::string refusal(const Words &words)
{
    return failureOf(cli::ExitCode::Usage, [&] { parse(words); });
}

BlendRecord recordOf(const cli::Step &step)
{
    BlendRecord record;
    std::memcpy(&record, step.record.bytes.data(), sizeof record);
    return record;
}

TEST(Chain, OneEffectAndAnImage)
{
    const Chain chain = parse({"plain", "in.png"});
    ASSERT_EQ(chain.steps.size(), 1u);
    EXPECT_EQ(chain.steps[0].effect->name, "plain");
    EXPECT_EQ(chain.inputs.at(0), "in.png");
}

TEST(Chain, FieldsNotGivenHaveTheirDefaults)
{
    const BlendRecord record = recordOf(parse({"blend", "amount=-7", "in.png"}).steps.at(0));
    EXPECT_EQ(record.amount, -7);
    EXPECT_EQ(record.ratio, 0.25f);
    EXPECT_EQ(record.colour, 0x332211u);
    EXPECT_EQ(record.mode, 1);
}

TEST(Chain, EveryEffectHasItsOwnFields)
{
    const Chain chain =
        parse({"blend", "amount=1", "then", "plain", "then", "blend", "amount=2", "mode=hard", "in.png"});
    ASSERT_EQ(chain.steps.size(), 3u);
    EXPECT_EQ(recordOf(chain.steps[0]).amount, 1);
    EXPECT_EQ(recordOf(chain.steps[0]).mode, 1);
    EXPECT_EQ(chain.steps[1].effect->name, "plain");
    EXPECT_EQ(recordOf(chain.steps[2]).amount, 2);
    EXPECT_EQ(recordOf(chain.steps[2]).mode, 2);
}

TEST(Chain, TheImageMayStandBetweenEffectsAndFields)
{
    const Chain chain = parse({"blend", "in.png", "amount=5", "then", "plain"});
    EXPECT_EQ(chain.inputs.at(0), "in.png");
    EXPECT_EQ(chain.steps.size(), 2u);
    EXPECT_EQ(recordOf(chain.steps[0]).amount, 5);
}

TEST(Chain, AnImageNamedAsAFieldOrThenIsGivenWithItsFolder)
{
    EXPECT_EQ(parse({"plain", "./amount=3"}).inputs.at(0), "./amount=3");
    EXPECT_EQ(parse({"plain", "./then"}).inputs.at(0), "./then");
}

TEST(Chain, AnImageMayBeNamedAsAnEffect)
{
    EXPECT_EQ(parse({"plain", "blend"}).inputs.at(0), "blend");
}

TEST(Chain, TakesManyImages)
{
    const Chain chain = parse({"plain", "a.png", "./blend", "then", "plain", "b.png"});
    EXPECT_EQ(chain.inputs, (std::vector<std::filesystem::path>{"a.png", "./blend", "b.png"}));
    EXPECT_EQ(chain.steps.size(), 2u);
}

TEST(Chain, FieldsAreALetterThenLettersAndDigits)
{
    EXPECT_TRUE(cli::looksLikeField("a=1"));
    EXPECT_TRUE(cli::looksLikeField("nLevel2="));
    EXPECT_TRUE(cli::looksLikeField("colour=#aabbcc"));
    EXPECT_TRUE(cli::looksLikeField("a=b=c"));
    EXPECT_FALSE(cli::looksLikeField("=1"));
    EXPECT_FALSE(cli::looksLikeField("2a=1"));
    EXPECT_FALSE(cli::looksLikeField("a-b=1"));
    EXPECT_FALSE(cli::looksLikeField("a.png"));
    EXPECT_FALSE(cli::looksLikeField("./a=1"));
    EXPECT_FALSE(cli::looksLikeField(""));
}

TEST(Chain, PicturesBesideTheImageAreFiles)
{
    const Chain chain =
        parse({"masked", "mask=a=b.png", "in.png", "then", "masked", "made=made.png", "mask=c.png"});
    ASSERT_EQ(chain.steps.size(), 2u);
    ASSERT_EQ(chain.steps[0].operands.size(), 1u);
    EXPECT_EQ(chain.steps[0].operands[0].operand->name, "mask");
    EXPECT_EQ(chain.steps[0].operands[0].file, "a=b.png");
    ASSERT_EQ(chain.steps[1].operands.size(), 2u);
    EXPECT_EQ(chain.steps[1].operands[0].operand->name, "made");
    EXPECT_EQ(chain.steps[1].operands[0].file, "made.png");
    EXPECT_EQ(chain.steps[1].operands[1].file, "c.png");
}

TEST(Chain, RefusesWhatIsMissingOfPictures)
{
    EXPECT_EQ(refusal({"masked", "in.png"}), "masked needs mask=FILE: what to look at");
    EXPECT_EQ(refusal({"masked", "made=a.png", "in.png", "then", "plain"}),
              "masked needs mask=FILE: what to look at");
    EXPECT_EQ(refusal({"masked", "mask=", "in.png"}), "masked: mask= needs the name of a file");
    EXPECT_EQ(refusal({"masked", "mask=a.png", "mask=b.png", "in.png"}), "masked: mask is given twice");
    EXPECT_EQ(refusal({"masked", "maks=a.png", "in.png"}),
              "masked: there is no field \"maks\"; did you mean mask?");
    EXPECT_EQ(refusal({"masked", "size=3", "in.png"}),
              "masked: there is no field \"size\"; it takes mask, made");
}

TEST(Chain, RefusesWhatIsMissing)
{
    EXPECT_EQ(refusal({}), "apply needs an effect and an image");
    EXPECT_EQ(refusal({"plain"}), "no image is given");
    EXPECT_EQ(refusal({"plain", "in.png", "then"}), "\"then\" at the end needs an effect after it");
    EXPECT_EQ(refusal({"plain", ""}), "an image's name is empty");
}

TEST(Chain, RefusesWordsInTheWrongPlace)
{
    EXPECT_EQ(refusal({"then", "plain", "in.png"}), "an effect is expected in place of \"then\"");
    EXPECT_EQ(refusal({"amount=3", "blend", "in.png"}), "an effect is expected in place of \"amount=3\"");
    EXPECT_EQ(refusal({"plain", "then", "then", "plain"}), "an effect is expected in place of \"then\"");
    EXPECT_EQ(refusal({"plain", "a.png", "blend"}), "\"blend\" is an effect, and effects are joined by "
                                                    "\"then\"; an image of this name is given as ./blend");
}

TEST(Chain, RefusesUnknownEffects)
{
    EXPECT_EQ(refusal({"blned", "in.png"}), "there is no effect \"blned\"; did you mean blend?");
    EXPECT_EQ(refusal({"sharpness", "in.png"}),
              "there is no effect \"sharpness\"; \"velmont list\" shows all");
    EXPECT_EQ(refusal({"in.png", "plain"}),
              "there is no effect \"in.png\"; the effect comes before the image");
}

TEST(Chain, RefusesUnknownFields)
{
    EXPECT_EQ(refusal({"blend", "amuont=3", "in.png"}),
              "blend: there is no field \"amuont\"; did you mean amount?");
    EXPECT_EQ(refusal({"blend", "size=3", "in.png"}),
              "blend: there is no field \"size\"; it takes amount, ratio, colour, mode");
    EXPECT_EQ(refusal({"plain", "size=3", "in.png"}), "plain: there is no field \"size\"; it takes none");
    EXPECT_EQ(refusal({"blend", "amount=3", "amount=3", "in.png"}), "blend: amount is given twice");
}

} // namespace

} // namespace velmont::test
