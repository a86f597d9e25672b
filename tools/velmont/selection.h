#pragma once

/// \file
/// What effects leave alone: the image as it was, where it is not selected.

#include "chain.h"
#include "io/picture.h"
#include "measures.h"
#include "runner.h"
#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// The connected pixels of similar colour around one.
struct SelectedPlace {
    TypedPoint at;
    std::array<int, 3> tolerance{}; ///< of red, green and blue
    std::string typed;              ///< as the person wrote it
};

/// Which pixels count: those around any of the places, as far as the mask selects them too.
struct SelectionOptions {
    std::filesystem::path mask;        ///< what is bright here; empty for everywhere
    std::vector<SelectedPlace> places; ///< none for everywhere
    int feather = 0;                   ///< pixels by which the edge is softened
    bool invert = false;               ///< what is not selected counts

    bool selects() const { return !mask.empty() || !places.empty(); }
};

/// "30,40", "30,40,20" or "30,40,10,20,30": a pixel and how far channels may differ, 32 levels if not given.
/// \throws Failure with ExitCode::Usage
SelectedPlace parsePlace(std::string_view text);
/// "5": 0 to 1000 pixels.
/// \throws Failure with ExitCode::Usage
int parseFeather(std::string_view text);
/// Refuses what would change a selection where there is none.
/// \throws Failure with ExitCode::Usage
void checkSelection(const SelectionOptions &options);

/// An image before effects ran on it, and what is selected of it.
class Selection {
public:
    /// Selects. Says so where nothing is selected.
    /// \param picture brought to 24 bits first, if it has to be and may be
    /// \param steps the effects that will run
    /// \param subject the image's name in messages
    /// \throws Failure for a place outside, a mask or an image that does not fit, and effects that are known to change the
    /// image's size
    Selection(io::Picture &picture, const std::vector<Step> &steps, const SelectionOptions &options,
              const RunOptions &run, const std::string &subject);

    /// Lays the effects' result into the image. Where they changed the depth, both come to the one that keeps all colours.
    /// \throws Failure when they changed the size
    void compose(io::Picture &result);

private:
    struct Size {
        int width = 0, height = 0;
        bool operator==(const Size &) const = default;
    };
    static Size sizeOf(void *dib);

    void requireSamples(io::Picture &picture, const RunOptions &run) const;
    std::vector<uint8_t> select(void *dib, const SelectionOptions &options,
                                const io::DecodeOptions &decode) const;
    void refuseResizing(const std::vector<Step> &steps) const;
    void requireSize(Size size) const;
    std::vector<uint8_t> composedAlpha(std::span<const uint8_t> result) const;

    std::string subject_;
    Size size_;
    io::DibHandle image_, mask_; ///< null where all is selected
    std::vector<uint8_t> alpha_; ///< of the image
};

} // namespace velmont::cli
