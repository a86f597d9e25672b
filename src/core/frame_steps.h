#pragma once

namespace velmont {

/// The steps of the effects' frame that an effect can leave out. An effect that does says so where it makes its
/// frame.
struct FrameSteps {
    bool waitCursor = true;  ///< before the result is allocated
    bool droppedPoll = true; ///< the abort poll whose answer is dropped
    bool arrowCursor = true; ///< at the end, and where the allocation failed
    bool finalReport = true; ///< 100 percent at the end
    /// The wait cursor comes once the result is allocated, and where that fails no cursor is touched.
    bool lateWaitCursor = false;
    /// At the end the arrow cursor comes while both blocks are still locked, and 100 percent after it.
    bool earlyArrowCursor = false;
};

/// Neither cursor nor poll nor progress from the frame.
inline constexpr FrameSteps kSilent{
    .waitCursor = false, .droppedPoll = false, .arrowCursor = false, .finalReport = false};

} // namespace velmont
