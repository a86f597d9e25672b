#pragma once

/// \file
/// The effects' shared shape with DibViews on both images, for the colour effects that read and write single
/// pixels. See core/effect_frame.h for the steps.

#include "core/dib_view.h"
#include "core/row_loop.h"
#include <initializer_list>
#include <optional>

namespace velmont {

class ViewFrame {
public:
    explicit ViewFrame(void *dib);
    ~ViewFrame();
    ViewFrame(const ViewFrame &) = delete;
    ViewFrame &operator=(const ViewFrame &) = delete;

    /// Whether there is a source whose header fits its block and it has one of these depths.
    bool serves(std::initializer_list<int> depths) const;
    const DibView &source() const { return *source_; }

    /// Wait cursor, a zero-filled block of the source's GetTotalBytes, header and palette, one dropped poll.
    /// On failure the arrow cursor is shown, the source is unlocked and the effect returns 0.
    bool begin();
    DibView &result() { return *result_; }

    /// The rows of the source; an abort ends the range and the effect.
    RowLoop rows() { return {source_->GetHeight(), aborted_}; }

    /// Unlocks both blocks, frees the result after an abort, reports 100, shows the arrow cursor.
    /// \return the result's handle, or null after an abort.
    void *finish();

private:
    std::optional<DibView> source_;
    void *resultHandle_ = nullptr;
    std::optional<DibView> result_;
    bool fitsBlock_ = false;
    bool aborted_ = false;
};

} // namespace velmont
