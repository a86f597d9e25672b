// The functions that write a catalogue entry, on a record of the test's own.

#include "catalogue/families.h"
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace velmont::catalogue {

namespace {

struct Sample {
    int32_t count;
    uint32_t color;
    float ratio;
    int32_t shape;
    double angle;
};
static_assert(sizeof(Sample) == 24);

constexpr std::array kShapes{Choice{"round", 3}, Choice{"square-cut", 7}};

constexpr std::array kFields{
    field<&Sample::count>({.name = "count",
                           .unit = "pixels",
                           .minimum = -5,
                           .maximum = 500,
                           .defaultValue = -2,
                           .help = "how many"}),
    field<&Sample::color>({.name = "color",
                           .unit = {},
                           .minimum = 0,
                           .maximum = 4294967295.0,
                           .defaultValue = 4000000000.0,
                           .help = "which"}),
    field<&Sample::ratio>({.name = "ratio",
                           .unit = "percent",
                           .minimum = 0,
                           .maximum = 1,
                           .defaultValue = 0.1,
                           .help = "how much"}),
    field<&Sample::shape>({.name = "shape",
                           .unit = {},
                           .minimum = 3,
                           .maximum = 7,
                           .defaultValue = 7,
                           .help = "which shape",
                           .choices = kShapes}),
    field<&Sample::angle>({.name = "angle",
                           .unit = "degrees",
                           .minimum = -360,
                           .maximum = 360,
                           .defaultValue = 0.1,
                           .help = "which way"}),
};
static_assert(coverRecord<Sample>(kFields));

Effect sampleEffect()
{
    return {.name = "sample",
            .exportName = "ProcessSample",
            .code = {},
            .family = Family::Tone,
            .help = {},
            .recordName = "tagSample",
            .recordBytes = sizeof(Sample),
            .fields = kFields,
            .depths = DepthAll,
            .random = false,
            .call = nullptr};
}

Sample sampleIn(const Record &record)
{
    Sample sample;
    std::memcpy(&sample, record.bytes.data(), sizeof sample);
    return sample;
}

TEST(CatalogueField, TypesAndSizesAreTheMembers)
{
    EXPECT_EQ(kFields[0].type, FieldType::Int32);
    EXPECT_EQ(kFields[1].type, FieldType::UInt32);
    EXPECT_EQ(kFields[2].type, FieldType::Float);
    EXPECT_EQ(kFields[3].type, FieldType::Int32);
    EXPECT_EQ(kFields[4].type, FieldType::Double);
    const std::size_t bytes[] = {4, 4, 4, 4, 8};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(kFields[i].bytes, bytes[i]) << i;
}

TEST(CatalogueField, TextIsTheEntrys)
{
    const Field &field = kFields[0];
    EXPECT_EQ(field.name, "count");
    EXPECT_EQ(field.unit, "pixels");
    EXPECT_EQ(field.minimum, -5);
    EXPECT_EQ(field.maximum, 500);
    EXPECT_EQ(field.defaultValue, -2);
    EXPECT_EQ(field.help, "how many");
    EXPECT_TRUE(field.choices.empty());
    ASSERT_EQ(kFields[3].choices.size(), 2u);
    EXPECT_EQ(kFields[3].choices[1].name, "square-cut");
    EXPECT_EQ(kFields[3].choices[1].value, 7);
}

TEST(CatalogueField, StoresIntoItsMemberAlone)
{
    Record record;
    const double values[] = {-123, 4123456789.0, 0.5, 3, 1e-300};
    for (std::size_t i = 0; i < 5; ++i)
        kFields[i].store(record.bytes.data(), values[i]);
    const Sample sample = sampleIn(record);
    EXPECT_EQ(sample.count, -123);
    EXPECT_EQ(sample.color, 4123456789u);
    EXPECT_EQ(sample.ratio, 0.5f);
    EXPECT_EQ(sample.shape, 3);
    EXPECT_EQ(sample.angle, 1e-300);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(kFields[i].load(record.bytes.data()), values[i]) << i;
    for (std::size_t i = sizeof(Sample); i < kLargestRecord; ++i)
        ASSERT_EQ(record.bytes[i], std::byte{0}) << i;
}

TEST(CatalogueField, ValuesAreHeldToTheirType)
{
    Record record;
    const auto stored = [&](std::size_t i, double value) {
        kFields[i].store(record.bytes.data(), value);
        return kFields[i].load(record.bytes.data());
    };
    EXPECT_EQ(stored(0, 1e10), 2147483647.0);
    EXPECT_EQ(stored(0, -1e10), -2147483648.0);
    EXPECT_EQ(stored(0, std::numeric_limits<double>::infinity()), 2147483647.0);
    EXPECT_EQ(stored(0, std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(stored(0, -2.9), -2) << "toward zero";
    EXPECT_EQ(stored(1, -1), 0);
    EXPECT_EQ(stored(1, 1e10), 4294967295.0);
    EXPECT_EQ(stored(1, std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(stored(2, 0.1), static_cast<double>(0.1f));
    EXPECT_TRUE(std::isnan(stored(4, std::numeric_limits<double>::quiet_NaN())));
}

TEST(CatalogueField, DefaultsMakeTheDefaultRecord)
{
    const Sample sample = sampleIn(defaultRecord(sampleEffect()));
    EXPECT_EQ(sample.count, -2);
    EXPECT_EQ(sample.color, 4000000000u);
    EXPECT_EQ(sample.ratio, 0.1f);
    EXPECT_EQ(sample.shape, 7);
    EXPECT_EQ(sample.angle, 0.1);
}

TEST(CatalogueField, FieldsAreFoundByTheirName)
{
    const Effect effect = sampleEffect();
    EXPECT_EQ(findField(effect, "ratio"), &kFields[2]);
    EXPECT_EQ(findField(effect, "angle"), &kFields[4]);
    EXPECT_EQ(findField(effect, "Angle"), nullptr);
    EXPECT_EQ(findField(effect, ""), nullptr);
}

TEST(CatalogueCover, CountsEveryByte)
{
    EXPECT_TRUE(coverRecord<Sample>(kFields));
    const std::array missing{kFields[0], kFields[1], kFields[2], kFields[3]};
    EXPECT_FALSE(coverRecord<Sample>(missing));
    const std::array tooMany{kFields[0], kFields[0], kFields[1], kFields[2], kFields[3], kFields[4]};
    EXPECT_FALSE(coverRecord<Sample>(tooMany));
}

struct Padded {
    int32_t first;
    double second;
};

TEST(CatalogueCover, RefusesPaddedRecords)
{
    constexpr std::array fields{
        field<&Padded::first>(
            {.name = "first", .unit = {}, .minimum = 0, .maximum = 1, .defaultValue = 0, .help = {}}),
        field<&Padded::second>(
            {.name = "second", .unit = {}, .minimum = 0, .maximum = 1, .defaultValue = 0, .help = {}}),
    };
    // Where a double begins on any fourth byte there is no padding.
    EXPECT_EQ(coverRecord<Padded>(fields), sizeof(Padded) == 12);
}

struct Sly {
    int32_t value;
    Sly() = default;
    Sly(const Sly &other) : value(other.value + 1) {}
    Sly &operator=(const Sly &) = default;
};

TEST(CatalogueCover, RefusesRecordsThatAreNoPlainBytes)
{
    constexpr std::array fields{field<&Sly::value>(
        {.name = "value", .unit = {}, .minimum = 0, .maximum = 1, .defaultValue = 0, .help = {}})};
    EXPECT_FALSE(coverRecord<Sly>(fields));
}

int argument = 0;
void *receivedDib = nullptr;
void *receivedRecord = nullptr;

void *plainExport(void *dib)
{
    receivedDib = dib;
    return &argument;
}
void *intExport(void *dib, int value)
{
    receivedDib = dib;
    argument = value;
    return &argument;
}
void *recordExport(void *dib, Sample *record)
{
    receivedDib = dib;
    receivedRecord = record;
    return &argument;
}

TEST(CatalogueCall, HandsOnWhatTheExportTakes)
{
    int image = 0;
    Record record;
    const int32_t value = -77;
    std::memcpy(record.bytes.data(), &value, sizeof value);

    EXPECT_EQ(callPlain<&plainExport>(&image, nullptr), &argument);
    EXPECT_EQ(receivedDib, &image);

    receivedDib = nullptr;
    EXPECT_EQ(callWithInt<&intExport>(&image, record.bytes.data()), &argument);
    EXPECT_EQ(receivedDib, &image);
    EXPECT_EQ(argument, -77);

    receivedDib = nullptr;
    EXPECT_EQ((callWithRecord<&recordExport, Sample>(&image, record.bytes.data())), &argument);
    EXPECT_EQ(receivedDib, &image);
    EXPECT_EQ(receivedRecord, record.bytes.data());
}

} // namespace

} // namespace velmont::catalogue
