#include "histogram.h"
#include "catalogue/effect.h"
#include "exit_codes.h"
#include "field_value.h"
#include "input_file.h"
#include "io/picture.h"
#include "notes.h"
#include "standard_streams.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <span>
#include <utility>
#include <velmont/velmont.h>

namespace velmont::cli {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kLevels = 256;
constexpr int kPlotRows = 8;
constexpr int kPlotColumns = 64;

/// One curve.
struct Channel {
    std::string_view name;
    std::array<double, kLevels> bins;
};

struct Histogram {
    int width = 0;
    int height = 0;
    std::vector<Channel> channels;
};

/// Brings a paletted image to 24 bits, when that is allowed.
void makeCountable(io::Picture &picture, const std::string &name, bool convert)
{
    using catalogue::Depth;
    const unsigned depth = catalogue::depthOf(picture.dib.get());
    if (depth & (Depth::Depth8Gray | Depth::Depth24))
        return;
    if (!convert)
        throw Failure(ExitCode::Input,
                      concat("histogram: ", name, " is ", catalogue::depthName(static_cast<Depth>(depth)),
                             "; histogram takes 8-bit gray and 24-bit; pass --convert to count its colours"));
    picture.dib = io::DibHandle(ProcessConvertTo24BitColor(picture.dib.get()));
    if (!picture.dib)
        throw std::bad_alloc();
}

/// The bins of a record that GetHistogram made; the record is released.
std::vector<Channel> takeChannels(unsigned char *bytes)
{
    const auto *const record = reinterpret_cast<const HistogramRecord *>(bytes);
    const bool isGray = record->channelCount == 2;
    const std::vector<std::pair<std::string_view, int>> order =
        isGray ? std::vector<std::pair<std::string_view, int>>{{"gray", 0}}
               : std::vector<std::pair<std::string_view, int>>{
                     {"red", 3}, {"green", 2}, {"blue", 1}, {"largest", 0}};
    std::vector<Channel> channels;
    for (const auto &[name, index] : order) {
        Channel &channel = channels.emplace_back(Channel{name, {}});
        std::copy_n(record->channels[index], kLevels, channel.bins.begin());
    }
    DelHistogram(bytes);
    return channels;
}

Histogram count(const std::filesystem::path &input, const HistogramOptions &options)
{
    io::Picture picture = readInput(input, options.decode);
    for (const std::string &notice : picture.notices)
        say(concat(inputName(input), ": ", notice));
    makeCountable(picture, inputName(input), options.convert);
    Histogram histogram;
    GetDibSize(picture.dib.get(), &histogram.width, &histogram.height);
    unsigned char *const record = GetHistogram(picture.dib.get());
    if (!record)
        throw std::bad_alloc();
    histogram.channels = takeChannels(record);
    return histogram;
}

/// Level `rank` of all samples in ascending order, the first being 0.
int levelAt(const Channel &channel, double rank)
{
    double below = 0;
    for (int level = 0; level < kLevels; ++level) {
        below += channel.bins[static_cast<std::size_t>(level)];
        if (below > rank)
            return level;
    }
    return kLevels - 1;
}

struct Summary {
    int darkest, median, lightest;
    double mean;
};

Summary summarize(const Channel &channel)
{
    double samples = 0, sum = 0;
    for (int level = 0; level < kLevels; ++level) {
        const double bin = channel.bins[static_cast<std::size_t>(level)];
        samples += bin;
        sum += bin * level;
    }
    return {levelAt(channel, 0), levelAt(channel, (samples - 1) / 2), levelAt(channel, samples - 1),
            sum / samples};
}

/// Tenths are enough for a mean.
std::string meanText(double mean)
{
    const auto tenths = static_cast<long long>(mean * 10 + 0.5);
    return concat(std::to_string(tenths / 10), ".", std::to_string(tenths % 10));
}

/// A column of the plot from the bottom up, in eighths of a row.
std::array<int, kPlotColumns> columnHeights(const Channel &channel)
{
    constexpr int kLevelsPerColumn = kLevels / kPlotColumns;
    std::array<double, kPlotColumns> sums{};
    for (std::size_t level = 0; level < kLevels; ++level)
        sums[level / kLevelsPerColumn] += channel.bins[level];
    const double highest = std::max(1.0, *std::max_element(sums.begin(), sums.end()));
    std::array<int, kPlotColumns> heights{};
    for (std::size_t i = 0; i < kPlotColumns; ++i) {
        const auto eighths = static_cast<int>(sums[i] / highest * kPlotRows * 8 + 0.5);
        // What occurs at all is seen.
        heights[i] = sums[i] > 0 ? std::max(eighths, 1) : 0;
    }
    return heights;
}

std::string plot(const Channel &channel)
{
    static constexpr std::array<std::string_view, 9> kBlocks{" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    const auto heights = columnHeights(channel);
    std::string text;
    for (int row = kPlotRows - 1; row >= 0; --row) {
        text += "  |";
        for (const int height : heights)
            text += kBlocks[static_cast<std::size_t>(std::clamp(height - 8 * row, 0, 8))];
        text += "|\n";
    }
    return concat(text, "  0", std::string(kPlotColumns - 2, ' '), "255\n");
}

std::string asText(const Histogram &histogram, const std::string &name)
{
    std::string text =
        concat(name, ": ", std::to_string(histogram.width), "x", std::to_string(histogram.height), "\n");
    for (const Channel &channel : histogram.channels) {
        const Summary summary = summarize(channel);
        text += concat("\n", channel.name, ": darkest ", std::to_string(summary.darkest), ", median ",
                       std::to_string(summary.median), ", mean ", meanText(summary.mean), ", lightest ",
                       std::to_string(summary.lightest), "\n", plot(channel));
    }
    return text;
}

std::string asJson(const Histogram &histogram)
{
    Json channels = Json::array();
    for (const Channel &channel : histogram.channels) {
        Json bins = Json::array();
        for (const double bin : channel.bins)
            bins.push_back(static_cast<long long>(bin));
        const Summary summary = summarize(channel);
        channels.push_back({{"name", channel.name},
                            {"darkest", summary.darkest},
                            {"median", summary.median},
                            {"mean", summary.mean},
                            {"lightest", summary.lightest},
                            {"bins", bins}});
    }
    const Json document = {{"width", histogram.width}, {"height", histogram.height}, {"channels", channels}};
    return concat(document.dump(2), "\n");
}

} // namespace

std::string histogramText(const std::filesystem::path &input, const HistogramOptions &options)
{
    const Histogram histogram = count(input, options);
    return options.json ? asJson(histogram) : asText(histogram, inputName(input));
}

} // namespace velmont::cli
