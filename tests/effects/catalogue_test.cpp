// The catalogue's entries by themselves.

#include "catalogue/effect.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <velmont/tone.h>

namespace velmont::catalogue {

namespace {

using testing::bytesOf;
using testing::Handle;

bool isKebabCase(std::string_view name)
{
    bool wordStarts = true;
    for (const char c : name) {
        const bool letterOrDigit = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (!letterOrDigit && (c != '-' || wordStarts))
            return false;
        wordStarts = c == '-';
    }
    return !wordStarts;
}

bool isOneLine(std::string_view text)
{
    return !text.empty() && text.find_first_of("\n\r\t") == std::string_view::npos && text.back() != '.' &&
           text.front() != ' ' && text.back() != ' ';
}

TEST(CatalogueNames, KebabCase)
{
    EXPECT_TRUE(isKebabCase("to-24-bit"));
    for (const char *name : {"", "-a", "a-", "a--b", "A", "a_b", "a b"})
        EXPECT_FALSE(isKebabCase(name)) << name;
}

class EachEntry : public ::testing::TestWithParam<std::string_view> {
protected:
    const Effect &effect_ = *findEffect(GetParam());
};

TEST_P(EachEntry, Text)
{
    EXPECT_TRUE(isKebabCase(effect_.name));
    constexpr std::string_view kOtherNames[] = {"BoundingMask", "CreateMagicMaskFromDib", "GetShadowDib"};
    EXPECT_TRUE(effect_.exportName.starts_with("Process") ||
                std::ranges::find(kOtherNames, effect_.exportName) != std::end(kOtherNames))
        << effect_.exportName;
    EXPECT_TRUE(std::all_of(effect_.exportName.begin(), effect_.exportName.end(),
                            [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }));
    EXPECT_TRUE(isOneLine(effect_.help)) << effect_.help;
    EXPECT_FALSE(familyName(effect_.family).empty());
    EXPECT_NE(effect_.depths, 0u);
    EXPECT_EQ(effect_.depths & ~unsigned{DepthAll}, 0u);
    EXPECT_NE(effect_.call, nullptr);
}

TEST_P(EachEntry, FieldText)
{
    std::set<std::string_view> names;
    for (const Field &field : effect_.fields) {
        EXPECT_TRUE(names.insert(field.name).second) << field.name;
        EXPECT_FALSE(field.name.empty());
        EXPECT_TRUE(std::islower(static_cast<unsigned char>(field.name.front()))) << field.name;
        EXPECT_TRUE(std::all_of(field.name.begin(), field.name.end(), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) != 0;
        })) << field.name;
        EXPECT_TRUE(isOneLine(field.help)) << field.name << ": " << field.help;
        EXPECT_EQ(findField(effect_, field.name), &field);
    }
}

TEST_P(EachEntry, FieldRanges)
{
    for (const Field &field : effect_.fields) {
        EXPECT_LE(field.minimum, field.maximum) << field.name;
        EXPECT_GE(field.defaultValue, field.minimum) << field.name;
        EXPECT_LE(field.defaultValue, field.maximum) << field.name;
        std::set<std::string_view> names;
        std::set<int> values;
        for (const Choice &choice : field.choices) {
            EXPECT_TRUE(isKebabCase(choice.name)) << field.name;
            EXPECT_TRUE(names.insert(choice.name).second) << choice.name;
            EXPECT_TRUE(values.insert(choice.value).second) << choice.name;
            EXPECT_GE(choice.value, field.minimum) << choice.name;
            EXPECT_LE(choice.value, field.maximum) << choice.name;
        }
        if (!values.empty()) {
            EXPECT_TRUE(values.contains(static_cast<int>(field.defaultValue))) << field.name;
        }
    }
}

TEST_P(EachEntry, FieldsStoreAndLoad)
{
    Record record;
    for (const Field &field : effect_.fields)
        for (const double value : {field.minimum, field.maximum, field.defaultValue}) {
            field.store(record.bytes.data(), value);
            const bool isFloat = field.type == FieldType::Float;
            EXPECT_EQ(field.load(record.bytes.data()),
                      isFloat ? static_cast<double>(static_cast<float>(value)) : value)
                << field.name;
            if (field.type == FieldType::Int32 || field.type == FieldType::UInt32) {
                EXPECT_EQ(value, std::trunc(value)) << field.name;
            }
        }
}

TEST_P(EachEntry, FieldsHaveTheirOwnPlaces)
{
    Record record;
    double value = 1;
    for (const Field &field : effect_.fields)
        field.store(record.bytes.data(), value++);
    value = 1;
    for (const Field &field : effect_.fields)
        EXPECT_EQ(field.load(record.bytes.data()), value++) << field.name;
}

/// Bytes of a record that are no fields: operands, what the host owns, which is null in a record of the catalogue's,
/// and working storage.
std::size_t pointerBytes(const Effect &effect)
{
    return sizeof(void *) * (effect.operands.size() + (effect.recordName == "tagParamAutoLevel" ? 1 : 0)) +
           effect.workBytes;
}

TEST_P(EachEntry, FieldsCoverTheRecordAndNothingElse)
{
    ASSERT_LE(effect_.recordBytes, kLargestRecord);
    const bool hasNone = effect_.fields.empty() && effect_.operands.empty();
    EXPECT_EQ(effect_.recordBytes == 0, hasNone);
    EXPECT_EQ(effect_.recordName.empty(), hasNone);
    if (!hasNone && effect_.recordName != "int" && effect_.recordName != "arguments") {
        EXPECT_TRUE(effect_.recordName.starts_with("tag") || effect_.recordName == "SPREADParam")
            << effect_.recordName;
    }
    if (effect_.recordName == "int") {
        EXPECT_EQ(effect_.recordBytes, 4u);
    }
    std::size_t sum = pointerBytes(effect_);
    Record zeros, ones;
    ones.bytes.fill(std::byte{0xFF});
    for (const Field &field : effect_.fields) {
        sum += field.bytes;
        field.store(zeros.bytes.data(), field.defaultValue);
        field.store(ones.bytes.data(), field.defaultValue);
    }
    // Behind fields that follow pointers there may be padding.
    const std::size_t padding = effect_.operands.empty() ? effect_.recordPadding : effect_.recordBytes - sum;
    EXPECT_LT(padding, effect_.recordPadding + std::max(alignof(void *), alignof(double)));
    EXPECT_EQ(sum + padding, effect_.recordBytes);
    std::size_t untouched = 0;
    for (std::size_t i = 0; i < effect_.recordBytes; ++i)
        untouched += zeros.bytes[i] != ones.bytes[i];
    EXPECT_EQ(untouched, pointerBytes(effect_) + padding);
    for (std::size_t i = effect_.recordBytes; i < kLargestRecord; ++i)
        ASSERT_TRUE(zeros.bytes[i] == std::byte{0} && ones.bytes[i] == std::byte{0xFF}) << i;
}

TEST_P(EachEntry, OperandsHaveNamesAndPlacesOfTheirOwn)
{
    Record record;
    std::set<std::string_view> names;
    std::set<void *> places;
    for (const Operand &operand : effect_.operands) {
        EXPECT_TRUE(names.insert(operand.name).second) << operand.name;
        EXPECT_EQ(findField(effect_, operand.name), nullptr) << operand.name;
        EXPECT_EQ(findOperand(effect_, operand.name), &operand);
        EXPECT_TRUE(isOneLine(operand.help)) << operand.name << ": " << operand.help;
        auto *const place = reinterpret_cast<std::byte *>(&operand.handle(record.bytes.data()));
        EXPECT_TRUE(places.insert(place).second) << operand.name;
        EXPECT_TRUE(place >= record.bytes.data() &&
                    place + sizeof(void *) <= record.bytes.data() + effect_.recordBytes);
        EXPECT_EQ(operand.handle(record.bytes.data()), nullptr);
    }
    EXPECT_EQ(findOperand(effect_, "no-such-operand"), nullptr);
}

TEST_P(EachEntry, DefaultRecordHoldsTheDefaults)
{
    const Record record = defaultRecord(effect_);
    for (const Field &field : effect_.fields) {
        const double expected =
            field.type == FieldType::Float ? static_cast<float>(field.defaultValue) : field.defaultValue;
        EXPECT_EQ(field.load(record.bytes.data()), expected) << field.name;
    }
}

std::vector<std::string_view> allNames()
{
    std::vector<std::string_view> names;
    for (const Effect &effect : effects())
        names.push_back(effect.name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EachEntry, ::testing::ValuesIn(allNames()), [](const auto &info) {
    std::string name(info.param);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(Catalogue, IsNotEmpty)
{
    EXPECT_GE(effects().size(), 4u);
    EXPECT_NE(findEffect("negative"), nullptr);
}

TEST(Catalogue, NamesAndCodesAreUnique)
{
    std::set<std::string_view> names;
    std::set<unsigned> codes;
    for (const Effect &effect : effects()) {
        EXPECT_TRUE(names.insert(effect.name).second) << effect.name;
        EXPECT_EQ(findEffect(effect.name), &effect);
        if (effect.code) {
            EXPECT_TRUE(codes.insert(*effect.code).second) << effect.name;
        }
    }
    EXPECT_EQ(findEffect(""), nullptr);
    EXPECT_EQ(findEffect("no-such-effect"), nullptr);
    EXPECT_EQ(findEffect("Negative"), nullptr);
}

TEST(Catalogue, IsSortedByFamilyAndName)
{
    const auto all = effects();
    for (std::size_t i = 1; i < all.size(); ++i) {
        EXPECT_LE(all[i - 1].family, all[i].family) << all[i].name;
        if (all[i - 1].family == all[i].family) {
            EXPECT_LT(all[i - 1].name, all[i].name);
        }
    }
}

TEST(Catalogue, FamiliesHaveNames)
{
    std::set<std::string_view> names;
    for (const Family family :
         {Family::Tone, Family::Filters, Family::Geometry, Family::Masks, Family::Artistic})
        EXPECT_TRUE(isOneLine(familyName(family)) && names.insert(familyName(family)).second);
}

TEST(Catalogue, DepthsOfImages)
{
    EXPECT_EQ(depthOf(nullptr), 0u);
    EXPECT_EQ(depthOf(testing::noiseImage(3, 2, 1, 2)), unsigned{Depth1});
    EXPECT_EQ(depthOf(testing::noiseImage(3, 2, 4, 16)), unsigned{Depth4});
    EXPECT_EQ(depthOf(testing::grayNoise(3, 2)), unsigned{Depth8Gray});
    EXPECT_EQ(depthOf(testing::noiseImage(3, 2, 8, 256)), unsigned{Depth8Paletted});
    EXPECT_EQ(depthOf(testing::noiseImage(3, 2, 8, 10)), unsigned{Depth8Paletted});
    EXPECT_EQ(depthOf(testing::noiseImage(3, 2, 24, 0)), unsigned{Depth24});
    for (const int bits : {0, 16, 32})
        EXPECT_EQ(depthOf(testing::noiseImage(3, 2, bits, 0)), 0u) << bits;
    // A ramp of more than 256 entries is no gray image for the effects.
    testing::Bytes ramp = testing::grayRamp();
    ramp.resize(4 * 257, 0);
    const Handle longer = testing::blockOf(
        testing::makeBlock(testing::makeHeader(4, 1, 8, 257), ramp, testing::Bytes{1, 2, 3, 4}));
    EXPECT_EQ(depthOf(longer), unsigned{Depth8Paletted});
}

TEST(Catalogue, NamesOfDepths)
{
    EXPECT_EQ(depthName(Depth8Gray), "8-bit gray");
    EXPECT_EQ(depthName(DepthAll), "");
    EXPECT_EQ(depthNames(0), "");
    EXPECT_EQ(depthNames(Depth24), "24-bit");
    EXPECT_EQ(depthNames(Depth8Gray | Depth24), "8-bit gray and 24-bit");
    EXPECT_EQ(depthNames(DepthAll), "1-bit, 4-bit, 8-bit gray, 8-bit paletted and 24-bit");
}

TEST(Catalogue, ApplyRunsTheEffect)
{
    const Handle source = testing::noiseImage(5, 3, 24, 0);
    const Effect &negative = *findEffect("negative");
    Record record = defaultRecord(negative);
    EXPECT_EQ(bytesOf(Handle(apply(negative, source, record))), bytesOf(Handle(ProcessNegative(source))));
    EXPECT_EQ(bytesOf(Handle(negative.call(source, nullptr))), bytesOf(Handle(ProcessNegative(source))));
}

} // namespace

} // namespace velmont::catalogue
