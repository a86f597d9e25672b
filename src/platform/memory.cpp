#include "platform/memory.h"
#include "platform/pages.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <vector>

namespace velmont {

namespace {

// Under AddressSanitizer every block is an allocation of its own and of its exact size, so that a byte too
// far is seen; else large blocks come as whole pages and are recycled.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kExactBlocks = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kExactBlocks = true;
#else
constexpr bool kExactBlocks = false;
#endif
#else
constexpr bool kExactBlocks = false;
#endif

constexpr std::size_t kLargeBlock = std::size_t{1} << 20;
constexpr std::size_t kMappingUnit = std::size_t{64} << 10;
constexpr std::size_t kKeptBlocks = 4;
constexpr std::size_t kKeptBytes = std::size_t{sizeof(void *) == 8 ? 256 : 64} << 20;

/// A piece of memory as it came from the system.
struct Storage {
    void *memory = nullptr;
    std::size_t capacity = 0;
    bool isLarge = false;
    bool isZero = false; ///< fresh from the system
};

/// A few freed large blocks, kept for the next call: pages that are there already cost nothing to touch.
class KeptBlocks {
public:
    /// The smallest that holds `bytes` and wastes less than a quarter.
    Storage take(std::size_t bytes)
    {
        const std::lock_guard guard(mutex_);
        auto best = kept_.end();
        for (auto it = kept_.begin(); it != kept_.end(); ++it)
            if (it->capacity >= bytes && it->capacity - bytes <= bytes / 4 &&
                (best == kept_.end() || it->capacity < best->capacity))
                best = it;
        if (best == kept_.end())
            return {};
        const Storage storage = *best;
        kept_.erase(best);
        bytes_ -= storage.capacity;
        return storage;
    }

    void give(Storage storage)
    {
        std::vector<Storage> surplus;
        {
            const std::lock_guard guard(mutex_);
            if (enabled_ && storage.capacity <= kKeptBytes) {
                storage.isZero = false;
                kept_.push_back(storage);
                bytes_ += storage.capacity;
            } else {
                surplus.push_back(storage);
            }
            while (kept_.size() > kKeptBlocks || bytes_ > kKeptBytes) {
                surplus.push_back(kept_.front());
                bytes_ -= kept_.front().capacity;
                kept_.erase(kept_.begin());
            }
        }
        release(surplus);
    }

    void enable(bool keep)
    {
        std::vector<Storage> surplus;
        {
            const std::lock_guard guard(mutex_);
            enabled_ = keep;
            if (!keep) {
                surplus.swap(kept_);
                bytes_ = 0;
            }
        }
        release(surplus);
    }

    std::size_t bytes()
    {
        const std::lock_guard guard(mutex_);
        return bytes_;
    }

private:
    static void release(const std::vector<Storage> &surplus)
    {
        for (const Storage &storage : surplus)
            unmapPages(storage.memory, storage.capacity);
    }

    std::mutex mutex_;
    std::vector<Storage> kept_; ///< the longest kept first
    std::size_t bytes_ = 0;
    bool enabled_ = true;
};

// The service must answer until the last static object of the process is gone, so its state is never
// destroyed.
KeptBlocks &keptBlocks()
{
    static KeptBlocks &blocks = *new KeptBlocks;
    return blocks;
}

Storage smallStorage(std::size_t bytes)
{
    return {std::malloc(std::max<std::size_t>(bytes, 1)), bytes, false, false};
}

Storage largeStorage(std::size_t bytes)
{
    if (bytes > SIZE_MAX - kMappingUnit)
        return {};
    if (const Storage kept = keptBlocks().take(bytes); kept.memory)
        return kept;
    const std::size_t capacity = (bytes + kMappingUnit - 1) / kMappingUnit * kMappingUnit;
    return {mapPages(capacity), capacity, true, true};
}

Storage obtain(std::size_t bytes)
{
    return kExactBlocks || bytes < kLargeBlock ? smallStorage(bytes) : largeStorage(bytes);
}

void giveBack(const Storage &storage)
{
    if (storage.isLarge)
        keptBlocks().give(storage);
    else
        std::free(storage.memory);
}

struct Block {
    Storage storage;
    std::size_t bytes = 0;
    int locks = 0;
};

/// The blocks alive, by handle. A handle is a place in the table and the generation of that place, under a
/// mark that no pointer of the process carries, so that stale and foreign handles are told from good ones
/// without following them.
class BlockTable {
public:
    void *add(const Block &block)
    {
        uint32_t place;
        if (free_.size() > kPlacesRested || (!free_.empty() && slots_.size() == kPlaces)) {
            place = free_.front();
            free_.pop_front();
        } else if (slots_.size() < kPlaces) {
            place = static_cast<uint32_t>(slots_.size());
            slots_.emplace_back();
        } else {
            return nullptr;
        }
        slots_[place].block = block;
        slots_[place].isLive = true;
        return handleOf(place);
    }

    Block *find(void *handle)
    {
        const auto value = reinterpret_cast<std::uintptr_t>(handle);
        const auto place = static_cast<uint32_t>(value >> kMarkLowBits & (kPlaces - 1));
        if (place >= slots_.size() || !slots_[place].isLive || handleOf(place) != handle)
            return nullptr;
        return &slots_[place].block;
    }

    void remove(void *handle)
    {
        const auto value = reinterpret_cast<std::uintptr_t>(handle);
        const auto place = static_cast<uint32_t>(value >> kMarkLowBits & (kPlaces - 1));
        slots_[place].isLive = false;
        slots_[place].generation = (slots_[place].generation + 1) & kGenerations;
        free_.push_back(place);
    }

private:
    struct Slot {
        Block block;
        uint32_t generation = 0;
        bool isLive = false;
    };

    // 64 bits: 16 bits of mark that make no canonical address, 24 of generation, 24 of place. 32 bits: 14 of
    // generation, 16 of place, and two low bits that no aligned pointer has.
    static constexpr bool kWide = sizeof(void *) == 8;
    static constexpr int kMarkLowBits = kWide ? 0 : 2;
    static constexpr int kPlaceBits = kWide ? 24 : 16;
    static constexpr std::size_t kPlaces = std::size_t{1} << kPlaceBits;
    static constexpr uint32_t kGenerations = kWide ? 0xFFFFFF : 0x3FFF;
    static constexpr std::uintptr_t kMark = kWide ? std::uintptr_t{0x4B4D} << (kWide ? 48 : 0) : 2;
    /// A freed place rests while this many others do, so that a stale handle stays stale for long.
    static constexpr std::size_t kPlacesRested = 256;

    void *handleOf(uint32_t place) const
    {
        return reinterpret_cast<void *>(
            kMark | std::uintptr_t{slots_[place].generation} << (kPlaceBits + kMarkLowBits) |
            std::uintptr_t{place} << kMarkLowBits);
    }

    std::vector<Slot> slots_;
    std::deque<uint32_t> free_;
};

/// The state of the service, under one mutex.
struct Service {
    std::mutex mutex;
    BlockTable table;
    memory_hooks::Counts counts{};
    int allocationsUntilFailure = 0;
    int locksUntilFailure = 0;
    int fillByte = -1;
};

Service &service()
{
    static Service &instance = *new Service;
    return instance;
}

/// Counts down to a failure that a test has ordered; true when this call is the one.
bool failsNow(int &callsUntilFailure)
{
    return callsUntilFailure > 0 && --callsUntilFailure == 0;
}

/// Notes an allocation; false when it is to fail.
bool admitAllocation(unsigned flags, std::size_t bytes, int &fillByte)
{
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    ++state.counts.allocations;
    state.counts.lastFlags = flags;
    state.counts.lastBytes = bytes;
    fillByte = state.fillByte;
    return !failsNow(state.allocationsUntilFailure);
}

void fillUndefined(uint8_t *memory, std::size_t bytes, int fillByte)
{
    if (fillByte >= 0 && bytes > 0)
        std::memset(memory, fillByte, bytes);
}

void *registerBlock(const Block &block)
{
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    try {
        void *const handle = state.table.add(block);
        state.counts.blocks += handle != nullptr;
        return handle;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

/// Makes the block `bytes` long where it stands.
void resizeInPlace(Block &block, std::size_t bytes, unsigned flags, int fillByte)
{
    if (bytes > block.bytes) {
        auto *const gained = static_cast<uint8_t *>(block.storage.memory) + block.bytes;
        if (flags & KEL_MEM_ZERO)
            std::memset(gained, 0, bytes - block.bytes);
        else
            fillUndefined(gained, bytes - block.bytes, fillByte);
    }
    block.bytes = bytes;
}

/// A copy of the block's contents in storage of `bytes` bytes; without memory when there is none.
Storage copyOf(const Block &block, std::size_t bytes)
{
    const Storage storage = obtain(bytes);
    if (storage.memory)
        std::memcpy(storage.memory, block.storage.memory, std::min(bytes, block.bytes));
    return storage;
}

} // namespace

void *allocateBlock(unsigned flags, std::size_t bytes, Contents contents)
{
    int fillByte = -1;
    if (!admitAllocation(flags, bytes, fillByte))
        return nullptr;
    const Storage storage = obtain(bytes);
    if (!storage.memory)
        return nullptr;
    auto *const memory = static_cast<uint8_t *>(storage.memory);
    if (!(flags & KEL_MEM_ZERO) || contents == Contents::Overwritten)
        fillUndefined(memory, bytes, fillByte);
    else if (!storage.isZero)
        std::memset(memory, 0, bytes);
    void *const handle = registerBlock({storage, bytes, 0});
    if (!handle)
        giveBack(storage);
    return handle;
}

namespace memory_hooks {

void failAllocation(int n)
{
    const std::lock_guard guard(service().mutex);
    service().allocationsUntilFailure = n;
}

void failLock(int n)
{
    const std::lock_guard guard(service().mutex);
    service().locksUntilFailure = n;
}

void setFillByte(int byte)
{
    const std::lock_guard guard(service().mutex);
    service().fillByte = byte;
}

void keepFreedBlocks(bool keep)
{
    keptBlocks().enable(keep);
}

Counts counts()
{
    const std::lock_guard guard(service().mutex);
    Counts counts = service().counts;
    counts.keptBytes = keptBlocks().bytes();
    return counts;
}

int locksOn(void *handle)
{
    const std::lock_guard guard(service().mutex);
    const Block *const block = service().table.find(handle);
    return block ? block->locks : 0;
}

} // namespace memory_hooks

} // namespace velmont

using namespace velmont;

void *KelMemAlloc(unsigned int flags, unsigned long bytes)
{
    return allocateBlock(flags, bytes, Contents::ZeroFilled);
}

void *KelMemLock(void *handle)
{
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    Block *const block = state.table.find(handle);
    if (!block || failsNow(state.locksUntilFailure))
        return nullptr;
    ++block->locks;
    ++state.counts.locks;
    return block->storage.memory;
}

int KelMemUnlock(void *handle)
{
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    Block *const block = state.table.find(handle);
    if (!block || block->locks == 0)
        return 0;
    --state.counts.locks;
    return --block->locks;
}

void KelMemFree(void *handle)
{
    Storage storage;
    {
        Service &state = service();
        const std::lock_guard guard(state.mutex);
        const Block *const block = state.table.find(handle);
        if (!block)
            return;
        storage = block->storage;
        state.counts.locks -= block->locks;
        --state.counts.blocks;
        state.table.remove(handle);
    }
    giveBack(storage);
}

unsigned long KelMemSize(void *handle)
{
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    const Block *const block = state.table.find(handle);
    return block ? static_cast<unsigned long>(block->bytes) : 0;
}

void *KelMemReAlloc(void *handle, unsigned long bytes, unsigned int flags)
{
    int fillByte = -1;
    if (!admitAllocation(flags, bytes, fillByte))
        return nullptr;
    Storage outgrown;
    {
        Service &state = service();
        const std::lock_guard guard(state.mutex);
        Block *const block = state.table.find(handle);
        if (!block)
            return nullptr;
        if (bytes > block->storage.capacity) {
            if (block->locks > 0)
                return nullptr;
            const Storage grown = copyOf(*block, bytes);
            if (!grown.memory)
                return nullptr;
            outgrown = block->storage;
            block->storage = grown;
        }
        resizeInPlace(*block, bytes, flags, fillByte);
    }
    if (outgrown.memory)
        giveBack(outgrown);
    return handle;
}
