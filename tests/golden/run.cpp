#include "tests/golden/run.h"
#include "catalogue/digest.h"
#include "catalogue/fitted_operands.h"
#include "core/clock.h"
#include "core/generator.h"
#include "platform/memory.h"
#include "tests/support/recording_host.h"
#include <algorithm>
#include <velmont/painting.h>

namespace velmont::golden {

namespace {

using catalogue::Digest, catalogue::Effect, catalogue::Record, testing::Bytes;

void addBlock(Digest &digest, void *handle, bool definesPadding = true)
{
    digest.addNumber(handle != nullptr);
    if (!handle)
        return;
    Bytes bytes = testing::bytesOf(handle);
    if (!definesPadding)
        testing::clearPadding(bytes);
    digest.add(bytes);
    digest.addNumber(static_cast<uint64_t>(memory_hooks::locksOn(handle)));
}

/// What the window of lead writes into a record beside the fields; its pointers are of no use after the run.
void addWorkingStorage(Digest &digest, const tagStainedGlassParam &record)
{
    digest.addReal(record.lineSlope);
    for (const int32_t number :
         {record.linePixelsPerRow, record.lineRows, record.lineColor0, record.lineColor1, record.lineColor2,
          record.imageHeight, record.imageWidth, record.imageBitCount})
        digest.addNumber(static_cast<uint32_t>(number));
    for (const double coverage : record.lineFalloff)
        digest.addReal(coverage);
}

/// Field by field: where a field lies depends on the system.
void addRecord(Digest &digest, const Effect &effect, Record &record)
{
    for (const catalogue::Field &field : effect.fields)
        if (field.table)
            digest.add(std::span<const uint8_t>(field.table(record.bytes.data()), field.bytes));
        else
            digest.addReal(field.load(record.bytes.data()));
    if (effect.workBytes > 0 && effect.recordName == "tagStainedGlassParam")
        addWorkingStorage(digest, *reinterpret_cast<const tagStainedGlassParam *>(record.bytes.data()));
    for (const catalogue::Operand &operand : effect.operands)
        addBlock(digest, operand.handle(record.bytes.data()));
}

/// Four numbers tell every state of the generator that can be told.
void addGenerator(Digest &digest)
{
    for (int i = 0; i < 4; ++i)
        digest.addNumber(static_cast<uint64_t>(velmont::rand()));
}

/// Frees the blocks that were not there before and that nobody holds.
/// \return their number
uint64_t freeLeft(const std::vector<void *> &before, const Effect &effect, Record &record)
{
    uint64_t left = 0;
    const auto isHeld = [&](void *handle) {
        return std::find(before.begin(), before.end(), handle) != before.end() ||
               std::any_of(effect.operands.begin(), effect.operands.end(),
                           [&](const auto &each) { return each.handle(record.bytes.data()) == handle; });
    };
    for (void *const handle : memory_hooks::liveBlocks())
        if (!isHeld(handle)) {
            KelMemFree(handle);
            ++left;
        }
    return left;
}

void addRun(Digest &digest, const Group &group, const Case &one, const Size &size)
{
    constexpr uint32_t kSeconds = 1000000007;
    const Effect &effect = *group.effect;
    const testing::Handle source = testing::blockOf(picture(*group.kind, size.width, size.height));
    Record record = one.record;
    const catalogue::FittedOperands operands(effect, record, source);
    const std::vector<void *> before = memory_hooks::liveBlocks();
    testing::RecordingHost host;
    host.abortFromPoll(one.abortAtPoll);
    stopClock(kSeconds);
    velmont::srand(1);

    void *const result = catalogue::apply(effect, source, record);
    addGenerator(digest);
    runClock();
    for (const std::string &event : host.events)
        digest.addText(event);
    digest.addNumber(result == source);
    addBlock(digest, result, effect.definesPadding || result == source);
    addBlock(digest, source);
    addRecord(digest, effect, record);
    digest.addNumber(freeLeft(before, effect, record)); // the result is one of them
}

} // namespace

uint32_t digestOf(const Group &group, const Case &one)
{
    Digest digest;
    for (const Size &size : one.sizes)
        addRun(digest, group, one, size);
    return digest.value();
}

} // namespace velmont::golden
