#pragma once

/// \file
/// The shape that the effects share. An effect written on it says only how it departs:
///
///     EffectFrame frame(dib);                   // locks and examines the source
///     if (!frame.serves({8, 24}))               // refuses a null handle, a lying header, another depth
///         return nullptr;
///     if (!frame.begin())                       // wait cursor, zero-filled result, header, one dropped poll
///         return nullptr;
///     for (int y : frame.rows())                // poll, progress, row; an abort ends the loop
///         work(frame.result().row(y), frame.source().row(y));
///     return frame.finish();                    // unlocks, 100 percent, arrow cursor; 0 after an abort
///
/// Hosts see the order of these steps.

#include "core/byte_kernels.h"
#include "core/dib_layout.h"
#include "core/frame_steps.h"
#include "core/row_loop.h"
#include "platform/memory.h"
#include <initializer_list>
#include <optional>

namespace velmont {

/// What an effect's result is to be.
struct ResultPlan {
    DibLayout layout; ///< where the rows of the result lie
    Contents contents = Contents::ZeroFilled;
    /// Bytes of the block where they are more than the layout asks for.
    std::size_t minimumBytes = 0;
    /// Bytes of header to copy; 0 stands for the source's biSize.
    std::size_t headerBytes = 0;
    unsigned flags = KEL_MEM_MOVEABLE | KEL_MEM_ZERO; ///< that the result's block is asked for with
};

class EffectFrame {
public:
    explicit EffectFrame(void *dib, const FrameSteps &steps = {});
    ~EffectFrame();
    EffectFrame(const EffectFrame &) = delete;
    EffectFrame &operator=(const EffectFrame &) = delete;

    /// Whether there is a source whose header fits its block.
    bool hasSource() const { return source_.has_value(); }
    /// Whether there is a source and it has one of these depths.
    bool serves(std::initializer_list<int> depths) const;
    const Dib &source() const { return *source_; }

    /// Starts the work: allocate() and open(). On failure everything is as it was, but for the cursors shown,
    /// and the effect returns 0.
    bool begin(const ResultPlan &plan);
    /// A result laid out like the source.
    bool begin(Contents contents = Contents::ZeroFilled)
    {
        return begin(ResultPlan{source_->layout(), contents});
    }
    /// The first half of begin(): wait cursor, the result's block and its lock. What lies before the rows is
    /// zero, whatever the plan says of the contents.
    bool allocate(const ResultPlan &plan);
    /// The second half: the dropped poll, and the header (0 bytes stand for the source's biSize).
    void open(std::size_t headerBytes = 0);
    Dib &result() { return *result_; }

    /// How kernels best store into the result: past the caches where it is larger than they are and its pages are
    /// there already.
    Stores stores() const;

    /// Copies as much palette as the result's layout has, as it stands.
    void copyPalette();
    /// Maps blue, green and red of each palette entry; the reserved byte is carried over.
    template <typename Map>
    void mapPalette(Map map)
    {
        copyPalette();
        uint8_t *const palette = result_->palette();
        for (std::size_t i = 0; i < kColorBytes * std::size_t{result_->paletteEntries()}; ++i)
            if (i % kColorBytes != 3)
                palette[i] = map(palette[i]);
    }
    /// Hands each palette entry to map(to, from), from the source's entries to the result's. What the map
    /// does not write stays as it is: 0.
    template <typename Map>
    void mapPaletteColors(Map map)
    {
        for (std::size_t i = 0; i < result_->paletteEntries(); ++i)
            map(result_->palette() + kColorBytes * i, source_->palette() + kColorBytes * i);
    }
    /// For a result that is not zero-filled: clears what lies behind the pixels of a row.
    void clearPadding(int y);
    /// The same for all rows, for an effect that does not write row after row.
    void clearPadding();
    /// The rows of the source; an abort ends the range and the effect.
    RowLoop rows(RowCadence cadence = {}) { return steps(source_->height(), cadence); }
    /// The columns of the source, for passes that go through them.
    RowLoop columns(RowCadence cadence = {}) { return steps(source_->width(), cadence); }
    /// So many rows, for passes that see them in parts.
    RowLoop steps(int count, RowCadence cadence = {}) { return {count, aborted_, cadence}; }
    /// Ends the effect as an abort does: the ranges over rows are empty from now on.
    void abort() { aborted_ = true; }
    bool isAborted() const { return aborted_; }

    /// Between the halves of begin(): ends an effect that could not have its scratch memory, in the way of a
    /// result that could not be allocated.
    /// \return null.
    void *giveUp() { return takeBack(steps_.arrowCursor); }
    /// The same without a cursor: the host sees no more of the effect.
    void *discard() { return takeBack(false); }

    /// From here on the wait cursor is left to the host.
    void leaveWaitCursor() { steps_.arrowCursor = false; }

    /// Ends the work: unlocks both blocks, frees the result after an abort, reports 100, shows the arrow
    /// cursor.
    /// \return the result's handle, or null after an abort.
    void *finish();
    /// The same, but for an effect whose hosts rely on a lock that stays on each of both blocks.
    void *finishLocked();
    /// Leaves everything as it stands, for an effect whose hosts rely on that: the cursor, a lock on the source, and
    /// the result's block, which nobody frees.
    /// \return null.
    void *abandon();
    /// The same, but that the source is unlocked.
    /// \return null.
    void *loseResult();

private:
    void *takeBack(bool showsArrow);
    void keepLocks();

    FrameSteps steps_;
    void *sourceHandle_;
    BlockLock sourceLock_;
    std::optional<Dib> source_;
    void *resultHandle_ = nullptr;
    std::optional<BlockLock> resultLock_;
    std::optional<Dib> result_;
    std::size_t headerBytes_ = 0; ///< those copied into the result
    bool aborted_ = false;
};

} // namespace velmont
