// One row per effect of the catalogue and depth that it accepts, on 12 megapixels, beside the copy of as many
// bytes; in recycled memory, where the result's pages are there already, and in fresh memory, where they
// fault in.
//
//     velmont_bench --benchmark_filter='negative'
//
// MP/s counts pixels of the source. `copy` is what memory allows: allocate the result, read every byte of the
// source once, write every byte of the result.

#include "catalogue/effect.h"
#include "catalogue/fitted_operands.h"
#include "platform/memory.h"
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>
#include <string>
#include <vector>
#include <velmont/dib.h>
#include <velmont/velmont.h>

namespace {

using namespace velmont;

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

/// A picture of noise over a slope, so that neither branches nor tables have it too easy.
void fillRows(uint8_t *bytes, std::size_t count)
{
    uint32_t state = 1;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525u + 1013904223u;
        bytes[i] = static_cast<uint8_t>((i * 200 / count) + (state >> 26));
    }
}

/// Images of each depth, made once.
void *source(unsigned depth)
{
    static void *sources[32] = {};
    void *&handle = sources[depth];
    if (handle)
        return handle;
    const int bits = depth == catalogue::Depth1    ? 1
                     : depth == catalogue::Depth4  ? 4
                     : depth == catalogue::Depth24 ? 24
                                                   : 8;
    const uint32_t entries = bits == 24 ? 0 : 1u << bits;
    const std::size_t stride = (std::size_t{kWidth} * static_cast<std::size_t>(bits) + 31) / 32 * 4;
    const std::size_t offset = 40 + 4 * entries;
    handle = KelMemAlloc(KEL_MEM_ZERO, offset + stride * kHeight);
    auto *const block = static_cast<uint8_t *>(KelMemLock(handle));
    const DibHeader header{40,
                           kWidth,
                           kHeight,
                           1,
                           static_cast<uint16_t>(bits),
                           0,
                           static_cast<uint32_t>(stride * kHeight),
                           3937,
                           3937,
                           entries,
                           entries};
    std::memcpy(block, &header, sizeof header);
    for (uint32_t i = 0; i < entries; ++i) {
        const auto level = static_cast<uint8_t>(i * 255 / (entries - 1));
        const uint8_t tint = depth == catalogue::Depth8Gray ? 0 : 1;
        const uint8_t color[4] = {level, static_cast<uint8_t>(level ^ tint), level, 0};
        std::memcpy(block + 40 + 4 * i, color, 4);
    }
    fillRows(block + offset, stride * kHeight);
    KelMemUnlock(handle);
    return handle;
}

void countPixels(benchmark::State &state)
{
    state.counters["MP/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6, benchmark::Counter::kIsRate);
}

/// Frees the pictures that an effect made beside its result.
void freeResults(const catalogue::Effect &effect, catalogue::Record &record)
{
    for (const catalogue::Operand &operand : effect.operands)
        if (void *const made = operand.isResult ? operand.handle(record.bytes.data()) : nullptr)
            KelMemFree(made);
}

/// Frees what an effect leaves behind by its nature.
void freeLeft(const catalogue::Effect &effect, const std::vector<void *> &before)
{
    if (effect.blocksLeft == 0)
        return;
    for (void *const block : memory_hooks::liveBlocks())
        if (std::find(before.begin(), before.end(), block) == before.end())
            KelMemFree(block);
}

void runEffect(benchmark::State &state, const catalogue::Effect &effect, unsigned depth, bool recycled)
{
    memory_hooks::keepFreedBlocks(recycled);
    void *const dib = source(depth);
    catalogue::Record defaults = catalogue::defaultRecord(effect);
    const catalogue::FittedOperands operands(effect, defaults, dib);
    const std::vector<void *> before = memory_hooks::liveBlocks();
    for (auto _ : state) {
        catalogue::Record record = defaults;
        void *const result = catalogue::apply(effect, dib, record);
        if (!result) {
            state.SkipWithError("the effect gave no result");
            break;
        }
        if (result != dib)
            KelMemFree(result);
        freeResults(effect, record);
        freeLeft(effect, before);
    }
    countPixels(state);
}

/// Reads what a copy leaves over, so that every byte of the source is touched.
uint64_t readBytes(const uint8_t *bytes, std::size_t count)
{
    uint64_t sum = 0;
    for (std::size_t i = 0; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, 8);
        sum ^= word;
    }
    return sum;
}

void runCopy(benchmark::State &state, unsigned depth, std::size_t resultBytes, bool recycled)
{
    memory_hooks::keepFreedBlocks(recycled);
    void *const dib = source(depth);
    const std::size_t sourceBytes = KelMemSize(dib);
    const auto *const from = static_cast<const uint8_t *>(KelMemLock(dib));
    for (auto _ : state) {
        void *const result = KelMemAlloc(KEL_MEM_MOVEABLE, resultBytes);
        auto *const to = static_cast<uint8_t *>(KelMemLock(result));
        const std::size_t copied = std::min(sourceBytes, resultBytes);
        std::memcpy(to, from, copied);
        std::memset(to + copied, 0, resultBytes - copied);
        benchmark::DoNotOptimize(readBytes(from + copied, sourceBytes - copied));
        benchmark::ClobberMemory();
        KelMemUnlock(result);
        KelMemFree(result);
    }
    KelMemUnlock(dib);
    countPixels(state);
}

void runHistogram(benchmark::State &state, unsigned depth)
{
    void *const dib = source(depth);
    for (auto _ : state) {
        unsigned char *const histogram = GetHistogram(dib);
        benchmark::DoNotOptimize(histogram);
        DelHistogram(histogram);
    }
    countPixels(state);
}

std::string rowName(std::string_view effect, std::string_view depth, std::string_view what, bool recycled)
{
    std::string name = std::string(effect) + "/" + std::string(depth) + "/" + std::string(what) + "/" +
                       (recycled ? "recycled" : "fresh");
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

template <typename Run>
void addRow(const std::string &name, Run run)
{
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
}

void registerEffect(const catalogue::Effect &effect, catalogue::Depth depth)
{
    catalogue::Record record = catalogue::defaultRecord(effect);
    const catalogue::FittedOperands operands(effect, record, source(depth));
    void *const result = catalogue::apply(effect, source(depth), record);
    if (!result)
        return;
    const std::size_t resultBytes = KelMemSize(result);
    if (result != source(depth))
        KelMemFree(result);
    for (const bool recycled : {true, false}) {
        const auto add = [&](std::string_view what, auto run) {
            addRow(rowName(effect.name, catalogue::depthName(depth), what, recycled), run);
        };
        add("effect", [=, &effect](benchmark::State &state) { runEffect(state, effect, depth, recycled); });
        add("copy", [=](benchmark::State &state) { runCopy(state, depth, resultBytes, recycled); });
    }
}

} // namespace

int main(int argc, char **argv)
{
    using namespace velmont::catalogue;
    for (const Effect &effect : effects())
        for (const Depth depth : {Depth1, Depth4, Depth8Gray, Depth8Paletted, Depth24})
            if (effect.depths & depth)
                registerEffect(effect, depth);
    for (const Depth depth : {Depth8Gray, Depth24})
        addRow(rowName("histogram", depthName(depth), "effect", true),
               [=](benchmark::State &state) { runHistogram(state, depth); });
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
