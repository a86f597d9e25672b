// Files cut short and files with wrong bytes: one clear line or a sound picture, nothing else.
#include "tests/io/picture_faults.h"
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>
#include <random>

namespace velmont::io {

namespace {

using testing::Bytes;
using testing::errorOf;

/// Decodes a file of unknown health. \return whether it was decoded.
bool decodesSoundly(std::span<const uint8_t> file, const std::string &name)
{
    try {
        EXPECT_EQ(samples::faultOf(decode(file)), "") << name;
        return true;
    } catch (const Error &error) {
        const std::string line = error.what();
        EXPECT_GT(line.size(), 10u) << name;
        EXPECT_EQ(line.find('\n'), std::string::npos) << name;
        return false;
    }
}

TEST(DamagedFiles, EveryBeginningOfEveryKindIsRefused)
{
    for (const samples::Sample &sample : samples::sampleFiles()) {
        SCOPED_TRACE(sample.name);
        ASSERT_EQ(errorOf(sample.file), "decoded");
        for (std::size_t length = 0; length < sample.file.size(); ++length) {
            // A copy of its own, so that a byte too far is seen.
            const Bytes beginning(sample.file.begin(),
                                  sample.file.begin() + static_cast<std::ptrdiff_t>(length));
            // Without the link to a next page, a page is whole.
            const bool isWhole = sample.name.starts_with("tiff-") && length + 4 >= sample.file.size();
            EXPECT_TRUE(!decodesSoundly(beginning, sample.name) || isWhole) << length << " bytes";
        }
    }
}

TEST(DamagedFiles, WrongBytesDoNoHarm)
{
    for (const samples::Sample &sample : samples::sampleFiles()) {
        for (std::size_t i = 0; i < sample.file.size(); ++i) {
            for (const unsigned change : {0x01u, 0x80u, 0xFFu}) {
                Bytes file = sample.file;
                file[i] = static_cast<uint8_t>(file[i] ^ change);
                decodesSoundly(file, sample.name);
            }
        }
    }
}

TEST(DamagedFiles, ManyWrongBytesDoNoHarm)
{
    std::mt19937 random(1);
    for (const samples::Sample &sample : samples::sampleFiles()) {
        for (int i = 0; i < 50; ++i) {
            Bytes file = sample.file;
            for (int k = 0; k < 8; ++k)
                file[random() % file.size()] = static_cast<uint8_t>(random());
            decodesSoundly(file, sample.name);
        }
    }
}

} // namespace

} // namespace velmont::io
