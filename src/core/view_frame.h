#pragma once

/// \file
/// The effects' shared shape with DibViews on both images, for the colour effects that read and write single
/// pixels. See core/effect_frame.h for the steps.

#include "core/dib_layout.h"
#include "core/dib_view.h"
#include "core/frame_steps.h"
#include "core/row_loop.h"
#include "platform/memory.h"
#include <initializer_list>
#include <optional>

namespace velmont {

class ViewFrame {
public:
    explicit ViewFrame(void *dib, const FrameSteps &steps = {});
    ~ViewFrame();
    ViewFrame(const ViewFrame &) = delete;
    ViewFrame &operator=(const ViewFrame &) = delete;

    /// Whether there is a source whose header fits its block and it has one of these depths.
    bool serves(std::initializer_list<int> depths) const;
    /// Whether there is a source whose header fits its block, of any depth but 0.
    bool hasPixels() const { return layout_ && layout_->bitCount != 0; }
    const DibView &source() const { return *source_; }
    /// Where the rows of both images lie: behind biSize and the palette. It holds whatever a callback does to
    /// the headers meanwhile.
    const DibLayout &layout() const { return *layout_; }

    /// Starts the work: allocate() and open(). On failure the arrow cursor is shown, the source is unlocked and the
    /// effect returns 0.
    bool begin(Contents contents = Contents::ZeroFilled);
    /// The same with a result that starts as a whole copy of the source.
    bool beginWithCopy();
    /// The first half of begin(): wait cursor and a block of the source's GetTotalBytes. What lies before its rows
    /// is zero, whatever the contents are to be.
    bool allocate(Contents contents);
    /// The second half: header and palette, then the dropped poll.
    void open();
    /// After allocate() or begin(): ends an effect that could not have its scratch memory, in the way of a result that could
    /// not be allocated.
    /// \return null.
    void *giveUp();
    DibView &result() { return *result_; }

    /// The rows of the source; an abort ends the range and the effect.
    RowLoop rows(RowCadence cadence = {}) { return {layout_->height, aborted_, cadence}; }
    /// Ends the effect as an abort does.
    void abort() { aborted_ = true; }

    /// Unlocks both blocks, frees the result after an abort, reports 100, shows the arrow cursor.
    /// \return the result's handle, or null after an abort.
    void *finish();

private:
    void dropPoll() const;

    FrameSteps steps_;
    std::optional<DibView> source_;
    std::optional<DibLayout> layout_; ///< nothing where it does not fit the block
    void *resultHandle_ = nullptr;
    std::optional<DibView> result_;
    bool aborted_ = false;
};

} // namespace velmont
