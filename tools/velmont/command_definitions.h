#pragma once

/// \file
/// The commands of the program and their options, as the parser, the help, the manual page and the completions know
/// them.

#include "apply.h"
#include "gallery.h"
#include "histogram.h"
#include "list.h"
#include "picture_steps.h"
#include "recipe_command.h"
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace velmont::cli {

/// What the arguments said.
struct Request {
    ListRequest list;
    bool json = false; ///< of info
    std::string effect;
    std::string shell; ///< of completion
    std::vector<std::string> words;
    std::string output, mask;
    std::vector<std::string> places; ///< of --select
    std::optional<std::string> feather;
    std::optional<std::string> quality, format, seed, workers, recipeFile, maxPixels;
    ApplyOptions apply;
    HistogramOptions histogram;
    GalleryOptions gallery;
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

/// The commands that people are told of.
std::vector<const CLI::App *> shownCommands(const CLI::App &app);
/// "velmont info [--json] EFFECT"
std::string usageOf(const CLI::App &command);
/// What the help of a command says below its options, without the exit codes.
std::string notesOf(const CLI::App &command);
/// Whether an option is followed by a value.
bool takesValue(const CLI::Option &option);

} // namespace velmont::cli
