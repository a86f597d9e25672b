/// \file
/// velmont_scene: renders the picture that comes with the project.

#include "io/picture.h"
#include "render.h"
#include <charconv>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmont::samples {

namespace {

constexpr int kWrongUsage = 2, kOutputFailed = 4;
constexpr int kLargestSide = 16384;
constexpr char kUsage[] =
    "usage: velmont_scene OUTPUT.png [WIDTH HEIGHT]  (an existing OUTPUT.png is replaced)";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Job {
    std::string output;
    int width = 1200, height = 800;
};

int parseSide(std::string_view text)
{
    int side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    if (error != std::errc() || end != text.data() + text.size() || side < 1 || side > kLargestSide)
        throw UsageError("'" + std::string(text) + "' is not a size from 1 to " +
                         std::to_string(kLargestSide));
    return side;
}

Job parse(int count, char **arguments)
{
    if (count != 2 && count != 4)
        throw UsageError(kUsage);
    Job job;
    job.output = arguments[1];
    if (io::formatOfName(job.output) != io::Format::Png)
        throw UsageError("'" + job.output + "' does not end in .png");
    if (count == 4) {
        job.width = parseSide(arguments[2]);
        job.height = parseSide(arguments[3]);
    }
    return job;
}

} // namespace

} // namespace velmont::samples

int main(int count, char **arguments)
{
    using namespace velmont;
    try {
        const samples::Job job = samples::parse(count, arguments);
        const io::Picture picture = samples::render(job.width, job.height);
        io::writeFile(job.output, io::encode(picture, io::Format::Png), io::Existing::Replace);
        return 0;
    } catch (const samples::UsageError &error) {
        std::fprintf(stderr, "velmont_scene: %s\n", error.what());
        return samples::kWrongUsage;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "velmont_scene: %s\n", error.what());
        return samples::kOutputFailed;
    }
}
