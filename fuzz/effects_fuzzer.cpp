// Blocks with any header through every effect of the catalogue and the image utilities, with a failing
// allocation and an abort on the way. Input: a control record, the effect's parameter record, the block.

#include "catalogue/effect.h"
#include "catalogue/fitted_operands.h"
#include "core/cpu.h"
#include "core/generator.h"
#include "fuzz/fuzz.h"
#include "platform/memory.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <velmont/velmont.h>

namespace {

using namespace velmont;

struct Control {
    uint8_t effect;
    uint8_t failAllocation; ///< 0 none
    uint8_t failLock;       ///< 0 none
    uint8_t abortAtPoll;    ///< 0 none
    uint8_t cpuLevel;
    uint8_t recordBytes; ///< bytes of the record that follow, the rest is the default
};

int pollsUntilAbort = 0;

int poll()
{
    return pollsUntilAbort > 0 && --pollsUntilAbort == 0;
}

void useUtilities(void *dib, const Control &control)
{
    int width = 0, height = 0;
    GetDibSize(dib, &width, &height);
    for (const int x : {0, 1, 7, width, int{control.effect}})
        GetPixelValue(dib, x, std::min(height, int{control.abortAtPoll}));
    IsDibGray(dib);
    GetColorIndex(dib, 0x123456);
    CheckDibColor(dib, control.effect);
    TuDibGetType(dib);
}

void *blockOf(const uint8_t *data, std::size_t size)
{
    void *const handle = KelMemAlloc(KEL_MEM_MOVEABLE, size);
    if (size > 0)
        std::memcpy(KelMemLock(handle), data, size);
    KelMemUnlock(handle);
    return handle;
}

void applyEffect(void *dib, const catalogue::Effect &effect, catalogue::Record &record,
                 const Control &control)
{
    limitCpuLevel(static_cast<CpuLevel>(control.cpuLevel % 3));
    velmont::srand(1);
    pollsUntilAbort = control.abortAtPoll;
    SetProcessEnvironment(poll, nullptr);
    memory_hooks::failAllocation(control.failAllocation);
    memory_hooks::failLock(control.failLock);
    void *const result = catalogue::apply(effect, dib, record);
    memory_hooks::failAllocation(0);
    memory_hooks::failLock(0);
    if (result && result != dib)
        KelMemFree(result);
}

/// Frees what an effect left behind.
void freeAllBut(const std::vector<void *> &kept)
{
    for (void *const handle : memory_hooks::liveBlocks())
        if (std::find(kept.begin(), kept.end(), handle) == kept.end())
            KelMemFree(handle);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    Control control;
    if (size < sizeof control)
        return 0;
    std::memcpy(&control, data, sizeof control);
    data += sizeof control;
    size -= sizeof control;

    const auto all = catalogue::effects();
    const catalogue::Effect &effect = all[control.effect % all.size()];
    catalogue::Record record = catalogue::defaultRecord(effect), given = record;
    const std::size_t recordBytes = std::min({std::size_t{control.recordBytes}, effect.recordBytes, size});
    std::memcpy(given.bytes.data(), data, recordBytes);
    for (const catalogue::Field &field : effect.fields) // pointers of the record are not the input's to say
        if (field.table)
            std::memcpy(field.table(record.bytes.data()), field.table(given.bytes.data()), field.bytes);
        else
            field.store(record.bytes.data(),
                        catalogue::heldForTrial(effect, field, field.load(given.bytes.data())));

    const auto before = memory_hooks::counts();
    const std::vector<void *> blocksBefore = memory_hooks::liveBlocks();
    void *const dib = blockOf(data + recordBytes, size - recordBytes);
    useUtilities(dib, control);
    {
        const catalogue::FittedOperands operands(effect, record, dib);
        applyEffect(dib, effect, record, control);
    }
    KelMemFree(dib);
    // A late refusal loses a locked block, and so may memory that cannot be had; a lock that else is left on the source may
    // be on a block that is left.
    const bool losesOne = effect.smallestSide > 1 || effect.losesRefused || effect.locksLostWithMemory > 0 ||
                          (effect.locksLeft > 0 && effect.blocksLeft > 0);
    const long mayLose = losesOne ? 1 : 0;
    const long mayLeave = effect.blocksLeft + (effect.usesCreateDib && control.failLock > 0 ? 1 : 0);
    const long lost = memory_hooks::counts().locks - before.locks;
    const long left = memory_hooks::counts().blocks - before.blocks - lost;
    if (lost < 0 || lost > mayLose || left < 0 || left > mayLeave)
        std::abort(); // something was lost
    if (left > 0 || lost > 0)
        freeAllBut(blocksBefore);
    return 0;
}

std::vector<std::vector<uint8_t>> fuzzSeeds()
{
    std::vector<std::vector<uint8_t>> seeds;
    for (std::size_t effect = 0; effect < catalogue::effects().size(); ++effect)
        for (const int bits : {1, 4, 8, 24}) {
            const uint32_t entries = bits == 24 ? 0 : 1u << bits;
            constexpr int kWidth = 19, kHeight = 5;
            const std::size_t stride = static_cast<std::size_t>((kWidth * bits + 31) / 32 * 4);
            const DibHeader header{40, kWidth, kHeight, 1,      static_cast<uint16_t>(bits), 0, 0,
                                   0,  0,      entries, entries};
            std::vector<uint8_t> seed(sizeof(Control) + sizeof header);
            const Control control{static_cast<uint8_t>(effect), 0, 0, 0, 2, 0};
            std::memcpy(seed.data(), &control, sizeof control);
            std::memcpy(seed.data() + sizeof control, &header, sizeof header);
            for (uint32_t i = 0; i < entries; ++i)
                seed.insert(seed.end(), 4, static_cast<uint8_t>(i));
            for (std::size_t i = 0; i < stride * kHeight; ++i)
                seed.push_back(static_cast<uint8_t>(37 * i));
            seeds.push_back(seed);
        }
    return seeds;
}
