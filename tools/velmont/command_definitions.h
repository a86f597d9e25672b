#pragma once

/// \file
/// The commands of the program and their options, as the parser, the help, the manual page and the completions know
/// them.

#include "apply.h"
#include "histogram.h"
#include "picture_steps.h"
#include "recipe_command.h"
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace velmont::cli {

/// What the arguments said.
struct Request {
    bool json = false;
    std::string effect;
    std::vector<std::string> words;
    std::string output, mask;
    std::vector<std::string> places; ///< of --select
    std::optional<std::string> feather;
    std::optional<std::string> quality, format, seed, workers, recipeFile, maxPixels;
    ApplyOptions apply;
    HistogramOptions histogram;
    RecipeRequest recipe;
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
