#pragma once

/// \file
/// The commands of the program and their options, as the parser, the help, the manual page and the completions know
/// them.

#include "apply.h"
#include "histogram.h"
#include "list.h"
#include "picture_steps.h"
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace velmont::cli {

/// What the arguments said.
struct Request {
    ListRequest list;
    bool json = false; ///< of info
    std::string effect;
    std::vector<std::string> words;
    std::string output, mask;
    std::optional<std::string> quality;
    ApplyOptions apply;
    HistogramOptions histogram;
    ResizeRequest resize;
    CropRequest crop;
    RotateRequest rotate;
    SelectRequest select;
    FillRequest fill;
    GradientRequest gradient;
    ShadowRequest shadow;
    StampRequest stamp;
};

/// Adds every command to a program without any.
/// \param request filled when the program parses its arguments; has to live as long as `app`
void defineCommands(CLI::App &app, Request &request);

} // namespace velmont::cli
