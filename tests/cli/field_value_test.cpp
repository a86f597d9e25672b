#include "failure_of.h"
#include "field_value.h"
#include "made_up_effects.h"

namespace velmont::test {

namespace {

const catalogue::Field &fieldNamed(std::string_view name)
{
    return *catalogue::findField(blend(), name);
}

double value(std::string_view field, std::string_view text)
{
    return cli::parseValue(blend(), fieldNamed(field), text);
}

std::string refusal(std::string_view field, std::string_view text)
{
    return failureOf(cli::ExitCode::Usage, [&] { value(field, text); });
}

TEST(FieldValue, WholeNumbersWithinTheirRange)
{
    EXPECT_EQ(value("amount", "-10"), -10);
    EXPECT_EQ(value("amount", "0"), 0);
    EXPECT_EQ(value("amount", "10"), 10);
}

TEST(FieldValue, WholeNumbersOutOfRange)
{
    EXPECT_EQ(refusal("amount", "11"), "blend: amount=11 is out of range: a whole number from -10 to 10");
    EXPECT_EQ(refusal("amount", "-11"), "blend: amount=-11 is out of range: a whole number from -10 to 10");
    EXPECT_EQ(refusal("amount", "99999999999999999999"),
              "blend: amount=99999999999999999999 is out of range: a whole number from -10 to 10");
}

TEST(FieldValue, WholeNumbersThatAreNone)
{
    for (const std::string text : {"", "1.5", "1e1", "x", "3x", " 3", "0x3", "--3", "#112233"}) {
        EXPECT_EQ(refusal("amount", text),
                  "blend: amount=" + text + " is not understood: a whole number from -10 to 10");
    }
}

TEST(FieldValue, Reals)
{
    EXPECT_EQ(value("ratio", "0.5"), 0.5);
    EXPECT_EQ(value("ratio", "1"), 1);
    EXPECT_EQ(value("ratio", "1e-3"), 0.001);
    EXPECT_EQ(refusal("ratio", "1.01"), "blend: ratio=1.01 is out of range: a number from 0 to 1");
    EXPECT_EQ(refusal("ratio", "1e999"), "blend: ratio=1e999 is out of range: a number from 0 to 1");
    for (const std::string text : {"", "nan", "inf", "0,5", "half"})
        EXPECT_EQ(refusal("ratio", text),
                  "blend: ratio=" + text + " is not understood: a number from 0 to 1");
}

TEST(FieldValue, ColoursHaveRedInTheLowByte)
{
    EXPECT_EQ(value("colour", "#ff8001"), 0x0180FF);
    EXPECT_EQ(value("colour", "#AbCdEf"), 0xEFCDAB);
    for (const std::string text : {"", "#", "#12345", "#1234567", "#12345g", "ff8001", "#-12345", "255"}) {
        EXPECT_EQ(refusal("colour", text),
                  "blend: colour=" + text + " is not understood: a colour as #rrggbb");
    }
}

TEST(FieldValue, Choices)
{
    EXPECT_EQ(value("mode", "soft"), 1);
    EXPECT_EQ(value("mode", "hard"), 2);
    EXPECT_EQ(refusal("mode", "hrad"), "blend: mode=hrad is not one of soft, hard; did you mean hard?");
    EXPECT_EQ(refusal("mode", "2"), "blend: mode=2 is not one of soft, hard");
}

TEST(FieldValue, TextIsWhatIsTyped)
{
    EXPECT_EQ(cli::formatValue(fieldNamed("amount"), -3), "-3");
    EXPECT_EQ(cli::formatValue(fieldNamed("ratio"), 0.1), "0.1");
    EXPECT_EQ(cli::formatValue(fieldNamed("colour"), 0x0180FF), "#ff8001");
    EXPECT_EQ(cli::formatValue(fieldNamed("mode"), 2), "hard");
    for (const catalogue::Field &field : blend().fields)
        EXPECT_EQ(value(field.name, cli::formatValue(field, field.defaultValue)), field.defaultValue);
}

TEST(FieldValue, NumbersAreShort)
{
    EXPECT_EQ(cli::formatNumber(0), "0");
    EXPECT_EQ(cli::formatNumber(-2147483648.0), "-2147483648");
    EXPECT_EQ(cli::formatNumber(4294967295.0), "4294967295");
    EXPECT_EQ(cli::formatNumber(2.5), "2.5");
}

} // namespace

} // namespace velmont::test
