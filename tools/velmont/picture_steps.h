#pragma once

/// \file
/// `velmont resize`, `crop`, `rotate`, `select`, `fill`, `gradient`, `shadow` and `stamp`: the effects that they come
/// down to.

#include "chain.h"
#include "measures.h"
#include <array>
#include <optional>
#include <string>
#include <vector>

namespace velmont::cli {

/// What was typed for `velmont resize`.
struct ResizeRequest {
    std::optional<std::string> size;    ///< "800x600", "800x", "x600"
    std::optional<std::string> percent; ///< "50"
    std::string method = "smooth";      ///< "smooth" or "fast"
};

/// For `velmont crop`.
struct CropRequest {
    std::optional<std::string> at;   ///< "10,20", the upper left corner
    std::optional<std::string> size; ///< "800x600"; a side left out reaches to the edge
    std::optional<std::string> background;
    bool wrap = false;
};

/// For `velmont rotate`.
struct RotateRequest {
    std::string by; ///< "left", "right", "half" or degrees clockwise
    std::optional<std::string> background;
};

/// For `velmont select`.
struct SelectRequest {
    std::optional<std::string> at; ///< "10,20", a pixel of what is to be selected
    std::string tolerance = "32";  ///< "10" or "10,20,30"
};

/// For `velmont fill`: connected pixels of similar colour, or what a mask selects.
struct FillRequest {
    std::optional<std::string> at, mask, color;
    std::optional<std::string> tolerance; ///< as for select
};

/// For `velmont gradient`. Without points it spans the picture.
struct GradientRequest {
    std::optional<std::string> from, to; ///< "10,20", both or neither
    std::optional<std::string> shape, colors, repeatMode, repeats, startColor, endColor, share;
};

/// For `velmont shadow`.
struct ShadowRequest {
    std::optional<std::string> mask, newMask; ///< files
    std::optional<std::string> offset;        ///< "8,8", to the right and downwards
    std::optional<std::string> color, blur;
};

/// For `velmont stamp`.
struct StampRequest {
    std::optional<std::string> stamp; ///< a file
    std::optional<std::string> at, size, color, strength, polarity, blend;
};

/// Refuses a pixel outside a picture.
/// \param typed the option and its value \param subject the picture's name in the message \param dib null for a picture that
/// is not known yet
/// \throws Failure with ExitCode::Usage that names the picture's size
void requireInside(std::string_view typed, TypedPoint at, void *dib, std::string_view subject);

/// Makes a mask of the connected pixels of similar colour around one, counted from the top.
Step magicMaskStep(TypedPoint at, const std::array<int, 3> &tolerance);

/// The steps that do it to this picture; none where it is to stay as it is. Without a picture (null) they are about
/// the ones, and only what was typed is looked at.
/// \throws Failure with ExitCode::Usage for what is not understood
std::vector<Step> resizeSteps(const ResizeRequest &request, void *dib);
std::vector<Step> cropSteps(const CropRequest &request, void *dib);
std::vector<Step> rotateSteps(const RotateRequest &request, void *dib);
std::vector<Step> selectSteps(const SelectRequest &request, void *dib);
std::vector<Step> fillSteps(const FillRequest &request, void *dib);
std::vector<Step> gradientSteps(const GradientRequest &request, void *dib);
std::vector<Step> shadowSteps(const ShadowRequest &request, void *dib);
std::vector<Step> stampSteps(const StampRequest &request, void *dib);

} // namespace velmont::cli
