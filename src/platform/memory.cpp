#include "platform/memory.h"
#include "platform/pages.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
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

/// Of every block, on systems whose malloc gives less too.
constexpr std::align_val_t kAlignment{16};
constexpr std::size_t kLargeBlock = std::size_t{1} << 20;
constexpr std::size_t kMappingUnit = std::size_t{64} << 10;
constexpr std::size_t kLargestBlock = sizeof(void *) == 8 ? SIZE_MAX >> 25 : SIZE_MAX / 2; // 512 GiB, 2 GiB
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
    /// The smallest that holds `bytes` and wastes at most a quarter.
    Storage take(std::size_t bytes)
    {
        const std::lock_guard guard(mutex_);
        std::size_t best = count_;
        for (std::size_t i = 0; i < count_; ++i) {
            const std::size_t capacity = kept_[i].capacity;
            const bool fits = capacity >= bytes && capacity - bytes <= bytes / 4;
            if (fits && (best == count_ || capacity < kept_[best].capacity))
                best = i;
        }
        return best < count_ ? removeAt(best) : Storage{};
    }

    void give(Storage storage)
    {
        const std::lock_guard guard(mutex_);
        if (!enabled_ || storage.capacity > kKeptBytes)
            return unmapPages(storage.memory, storage.capacity);
        storage.isZero = false;
        while (count_ == kKeptBlocks || bytes_ + storage.capacity > kKeptBytes)
            releaseOldest();
        kept_[count_++] = storage;
        bytes_ += storage.capacity;
    }

    /// Gives all of them back to the system.
    void clear()
    {
        const std::lock_guard guard(mutex_);
        while (count_ > 0)
            releaseOldest();
    }

    void enable(bool keep)
    {
        {
            const std::lock_guard guard(mutex_);
            enabled_ = keep;
        }
        if (!keep)
            clear();
    }

    std::size_t bytes()
    {
        const std::lock_guard guard(mutex_);
        return bytes_;
    }

private:
    Storage removeAt(std::size_t place)
    {
        const Storage storage = kept_[place];
        std::move(kept_.begin() + place + 1, kept_.begin() + count_, kept_.begin() + place);
        --count_;
        bytes_ -= storage.capacity;
        return storage;
    }
    void releaseOldest()
    {
        const Storage oldest = removeAt(0);
        unmapPages(oldest.memory, oldest.capacity);
    }

    std::mutex mutex_;
    std::array<Storage, kKeptBlocks> kept_; ///< the longest kept first
    std::size_t count_ = 0;
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
    return {::operator new(std::max<std::size_t>(bytes, 1), kAlignment, std::nothrow), bytes, false, false};
}

Storage largeStorage(std::size_t bytes)
{
    if (const Storage kept = keptBlocks().take(bytes); kept.memory)
        return kept;
    const std::size_t capacity = (bytes + kMappingUnit - 1) / kMappingUnit * kMappingUnit;
    return {mapPages(capacity), capacity, true, true};
}

Storage obtainOnce(std::size_t bytes)
{
    return kExactBlocks || bytes < kLargeBlock ? smallStorage(bytes) : largeStorage(bytes);
}

/// Storage of at least `bytes` bytes; without memory when there is none, not even with the kept blocks given
/// back.
Storage obtain(std::size_t bytes)
{
    if (bytes > kLargestBlock)
        return {};
    const Storage storage = obtainOnce(bytes);
    if (storage.memory || keptBlocks().bytes() == 0)
        return storage;
    keptBlocks().clear();
    return obtainOnce(bytes);
}

void giveBack(const Storage &storage)
{
    if (storage.isLarge)
        keptBlocks().give(storage);
    else
        ::operator delete(storage.memory, kAlignment);
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
    /// The block's handle, or null when there is no place or no memory for the table.
    void *add(const Block &block)
    {
        const uint32_t place = takePlace();
        if (place == kNoPlace)
            return nullptr;
        slots_[place].block = block;
        slots_[place].isLive = true;
        return handleOf(place);
    }

    Block *find(void *handle)
    {
        const uint32_t place = placeOf(handle);
        if (place >= slots_.size() || !slots_[place].isLive || handleOf(place) != handle)
            return nullptr;
        return &slots_[place].block;
    }

    /// Forgets the block of a good handle. Freed places queue, so that a stale handle stays stale for long.
    void remove(void *handle)
    {
        const uint32_t place = placeOf(handle);
        Slot &slot = slots_[place];
        slot.isLive = false;
        slot.generation = (slot.generation + 1) & kGenerations;
        slot.nextFree = kNoPlace;
        if (freeCount_++ == 0)
            firstFree_ = place;
        else
            slots_[lastFree_].nextFree = place;
        lastFree_ = place;
    }

    std::vector<void *> live() const
    {
        std::vector<void *> handles;
        for (uint32_t place = 0; place < slots_.size(); ++place)
            if (slots_[place].isLive)
                handles.push_back(handleOf(place));
        return handles;
    }

private:
    // 64 bits: 16 bits of mark that make no canonical address, 24 of generation, 24 of place. 32 bits: 14 of
    // generation, 16 of place, and two low bits that no aligned pointer has.
    static constexpr bool kWide = sizeof(void *) == 8;
    static constexpr int kMarkLowBits = kWide ? 0 : 2;
    static constexpr int kPlaceBits = kWide ? 24 : 16;
    static constexpr std::size_t kPlaces = std::size_t{1} << kPlaceBits;
    static constexpr uint32_t kGenerations = kWide ? 0xFFFFFF : 0x3FFF;
    static constexpr std::uintptr_t kMark = kWide ? std::uintptr_t{0x4B4D} << (kWide ? 48 : 0) : 2;
    /// A freed place rests while this many others do.
    static constexpr std::size_t kPlacesRested = 256;
    static constexpr uint32_t kNoPlace = UINT32_MAX;

    struct Slot {
        Block block;
        uint32_t generation;
        uint32_t nextFree = kNoPlace;
        bool isLive = false;

        /// Places start at scattered generations, so that a handle with a changed place names nobody's block.
        explicit Slot(uint32_t place) : generation(place * 2654435761u & kGenerations) {}
    };

    uint32_t takePlace()
    {
        const bool mayGrow = slots_.size() < kPlaces;
        if (freeCount_ > (mayGrow ? kPlacesRested : 0)) {
            --freeCount_;
            return std::exchange(firstFree_, slots_[firstFree_].nextFree);
        }
        if (!mayGrow)
            return kNoPlace;
        try {
            slots_.emplace_back(static_cast<uint32_t>(slots_.size()));
        } catch (const std::bad_alloc &) {
            return kNoPlace;
        }
        return static_cast<uint32_t>(slots_.size() - 1);
    }

    static uint32_t placeOf(void *handle)
    {
        return static_cast<uint32_t>(reinterpret_cast<std::uintptr_t>(handle) >> kMarkLowBits &
                                     (kPlaces - 1));
    }

    void *handleOf(uint32_t place) const
    {
        return reinterpret_cast<void *>(
            kMark | std::uintptr_t{slots_[place].generation} << (kPlaceBits + kMarkLowBits) |
            std::uintptr_t{place} << kMarkLowBits);
    }

    std::vector<Slot> slots_;
    uint32_t firstFree_ = kNoPlace; ///< the longest free
    uint32_t lastFree_ = kNoPlace;
    std::size_t freeCount_ = 0;
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
    void *const handle = state.table.add(block);
    state.counts.blocks += handle != nullptr;
    return handle;
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

/// Whether the block must move to become `bytes` long.
bool mustMove(const Block &block, std::size_t bytes)
{
    return bytes > block.storage.capacity || (kExactBlocks && bytes < block.bytes && block.locks == 0);
}

/// Moves the block to storage of `bytes` bytes. The copying is done outside the mutex: a handle belongs to
/// one thread at a time, so nobody else touches the block meanwhile. False when it is locked or there is no
/// memory.
bool moveBlock(void *handle, const Block &block, std::size_t bytes)
{
    if (block.locks > 0)
        return false;
    Storage grown = obtain(bytes);
    if (!grown.memory)
        return false;
    if (const std::size_t kept = std::min(bytes, block.bytes); kept > 0)
        std::memcpy(grown.memory, block.storage.memory, kept);
    grown.isZero = false;
    {
        Service &state = service();
        const std::lock_guard guard(state.mutex);
        if (Block *const current = state.table.find(handle))
            std::swap(current->storage, grown);
    }
    giveBack(grown);
    return true;
}

std::optional<Block> snapshot(void *handle)
{
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    const Block *const block = state.table.find(handle);
    return block ? std::optional(*block) : std::nullopt;
}

} // namespace

void *allocateBlock(unsigned flags, uint64_t wanted, Contents contents)
{
    // More than there can be where addresses are too short for it.
    const auto bytes = static_cast<std::size_t>(std::min<uint64_t>(wanted, SIZE_MAX));
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

bool isOfFreshPages(void *handle)
{
    const auto block = snapshot(handle);
    return block && block->storage.isZero;
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

std::vector<void *> liveBlocks()
{
    const std::lock_guard guard(service().mutex);
    return service().table.live();
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
    const auto block = snapshot(handle);
    if (!block || (mustMove(*block, bytes) && !moveBlock(handle, *block, bytes)))
        return nullptr;
    Service &state = service();
    const std::lock_guard guard(state.mutex);
    Block *const current = state.table.find(handle);
    if (!current || current->storage.capacity < bytes)
        return nullptr; // freed or resized by another thread, against the rules
    resizeInPlace(*current, bytes, flags, fillByte);
    return handle;
}
