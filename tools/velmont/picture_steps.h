#pragma once

/// \file
/// `velmont resize`, `crop`, `rotate` and `select`: the effects that they come down to.

#include "chain.h"
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

/// The steps that do it to this picture; none where it is to stay as it is.
/// \throws Failure with ExitCode::Usage for what is not understood
std::vector<Step> resizeSteps(const ResizeRequest &request, void *dib);
std::vector<Step> cropSteps(const CropRequest &request, void *dib);
std::vector<Step> rotateSteps(const RotateRequest &request, void *dib);
std::vector<Step> selectSteps(const SelectRequest &request, void *dib);

} // namespace velmont::cli
