#include "cli_test.h"
#include "io/declared_size.h"
#include "worker_count.h"
#include <fstream>

namespace velmont::test {

namespace {

namespace fs = std::filesystem;

/// A system made of files.
class System : public CliTest {
protected:
    void put(const std::string &name, const std::string &text) const
    {
        fs::create_directories(file(name).parent_path());
        std::ofstream(file(name)) << text;
    }
    std::optional<uint64_t> memory() const { return cli::availableMemory(folder()); }
};

TEST_F(System, WithoutFilesTellsNothing)
{
    EXPECT_EQ(memory(), std::nullopt);
    EXPECT_GE(cli::usableCores(folder()), 1u);
}

TEST_F(System, MemoryIsWhatTheSystemHas)
{
    put("proc/meminfo", "MemTotal:  9000 kB\nMemFree:  1000 kB\nMemAvailable:   3000 kB\n");
    EXPECT_EQ(memory(), 3000u * 1024u);
}

TEST_F(System, MemoryIsWhatTheTightestGroupLeaves)
{
    put("proc/meminfo", "MemAvailable:   3000 kB\n");
    put("proc/self/cgroup", "0::/outer/inner\n");
    put("sys/fs/cgroup/outer/inner/memory.max", "max\n");
    put("sys/fs/cgroup/outer/inner/memory.current", "10\n");
    EXPECT_EQ(memory(), 3000u * 1024u);
    put("sys/fs/cgroup/outer/memory.max", "500000\n");
    put("sys/fs/cgroup/outer/memory.current", "300000\n");
    put("sys/fs/cgroup/outer/memory.stat", "anon 9\ninactive_file 100000\n");
    EXPECT_EQ(memory(), 300000u);
    put("sys/fs/cgroup/outer/memory.current", "900000\n");
    EXPECT_EQ(memory(), 0u);
}

TEST_F(System, OlderGroupsLimitMemoryToo)
{
    put("proc/self/cgroup", "5:cpu:/x\n4:memory:/job\n");
    put("sys/fs/cgroup/memory/job/memory.limit_in_bytes", "1000\n");
    put("sys/fs/cgroup/memory/job/memory.usage_in_bytes", "400\n");
    EXPECT_EQ(memory(), 600u);
}

TEST_F(System, CoresAreAShareOfTimeRoundedUp)
{
    put("proc/self/cgroup", "0::/job\n");
    put("sys/fs/cgroup/job/cpu.max", "50000 100000\n");
    EXPECT_EQ(cli::usableCores(folder()), 1u);
    put("sys/fs/cgroup/job/cpu.max", "max 100000\n");
    EXPECT_EQ(cli::usableCores(folder()), cli::usableCores());
}

class Estimates : public CliTest {};

TEST_F(Estimates, KnowTheDeclaredSize)
{
    for (const std::string name : {"a.png", "a.jpg", "a.bmp"}) {
        save(Kind::Colour, 300, 170, file(name));
        const auto size = io::declaredSize(file(name));
        ASSERT_TRUE(size) << name;
        EXPECT_EQ(size->width, 300u) << name;
        EXPECT_EQ(size->height, 170u) << name;
    }
    writeText("lossless.webp", std::string("RIFF....WEBPVP8L....\x2f\x2b\x41\x2a\x00", 25));
    EXPECT_EQ(io::declaredSize(file("lossless.webp"))->width, 300u);
    EXPECT_EQ(io::declaredSize(file("lossless.webp"))->height, 170u);
    writeText("large.webp", std::string("RIFF....WEBPVP8X........\x2b\x01\x00\xa9\x00\x00", 30));
    EXPECT_EQ(io::declaredSize(file("large.webp"))->width, 300u);
    EXPECT_EQ(io::declaredSize(file("large.webp"))->height, 170u);
}

TEST_F(Estimates, SurviveFilesThatAreNoImages)
{
    for (const std::string text :
         {"", "BM", "\x89PNG", "\xFF\xD8", "\xFF\xD8\xFF\xE0", "RIFF....WEBPVP8 ", "text"}) {
        writeText("bad", text);
        io::declaredSize(file("bad"));
        EXPECT_GT(cli::estimatedMemory(file("bad")), 0u);
    }
    writeText("bad", std::string("\xFF\xD8\xFF\xE1\x00\x00\xFF\xE1\x00\x00\xFF\xE1\x00\x00", 14));
    EXPECT_EQ(io::declaredSize(file("bad")), std::nullopt);
    EXPECT_EQ(io::declaredSize(folder()), std::nullopt);
    EXPECT_EQ(io::declaredSize(file("missing")), std::nullopt);
    EXPECT_GT(cli::estimatedMemory(file("missing")), 0u);
}

TEST_F(Estimates, GrowWithTheImageAndNotWithItsDeclaredNonsense)
{
    save(Kind::Colour, 100, 100, file("small.png"));
    save(Kind::OneBit, 2000, 1000, file("large.png"));
    const uint64_t small = cli::estimatedMemory(file("small.png"));
    EXPECT_GE(cli::estimatedMemory(file("large.png")) - small, 2000u * 1000u * 3u * 2u);
    std::string lies = textOf("small.png");
    lies.replace(16, 8, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
    writeText("lies.png", lies);
    EXPECT_LT(cli::estimatedMemory(file("lies.png")), uint64_t{1} << 40);
}

TEST_F(Estimates, WorkersAreNoMoreThanImages)
{
    save(Kind::Colour, 100, 100, file("small.png"));
    const std::vector<fs::path> one{file("small.png")}, many(1000, file("small.png"));
    EXPECT_EQ(cli::workersFor(one), 1u);
    EXPECT_EQ(cli::workersFor(many), std::min(cli::usableCores(), cli::kMostWorkers));
}

} // namespace

} // namespace velmont::test
