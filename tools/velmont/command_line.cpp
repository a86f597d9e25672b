#include "command_line.h"
#include "apply.h"
#include "command_definitions.h"
#include "completion.h"
#include "exit_codes.h"
#include "field_value.h"
#include "histogram.h"
#include "info.h"
#include "input_file.h"
#include "list.h"
#include "manual.h"
#include "nearest_name.h"
#include "picture_steps.h"
#include "recipe.h"
#include "results.h"
#include "seed.h"
#include "text.h"
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <sstream>
#include <utility>
#include <vector>

namespace velmont::cli {

namespace {

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

std::string didYouMeanOneOf(const std::string &word, const std::vector<std::string> &names)
{
    return didYouMean(word, std::vector<std::string_view>(names.begin(), names.end()));
}

std::string nearOption(const CLI::App &command, const std::string &option)
{
    std::vector<std::string> names;
    for (const CLI::Option *known : command.get_options()) {
        for (const std::string &name : known->get_lnames())
            names.push_back(concat("--", name));
    }
    return didYouMeanOneOf(option.substr(0, option.find('=')), names);
}

std::string nearCommand(const CLI::App &app, const std::string &word)
{
    std::vector<std::string> names;
    for (const CLI::App *command : shownCommands(app))
        names.push_back(command->get_name());
    const std::string near = didYouMeanOneOf(word, names);
    return near.empty() ? "; \"velmont --help\" shows all" : near;
}

/// Says which word was one too many.
[[noreturn]] void refuseExtra(const CLI::App &app)
{
    const std::string word = app.remaining(true).at(0);
    const auto commands = app.get_subcommands();
    if (word.starts_with('-'))
        refuse("there is no option ", inQuotes(word),
               nearOption(commands.empty() ? app : *commands.front(), word));
    // A word that is the whole's own stood before the command.
    if (commands.empty() || !app.remaining(false).empty())
        refuse("there is no command ", inQuotes(word), nearCommand(app, word));
    refuse(commands.front()->get_name(), ": unexpected word ", inQuotes(word));
}

/// Says which option has no value, or two.
[[noreturn]] void refuseCount(const CLI::App &app, const std::string &message)
{
    const std::string name = message.substr(0, message.find(':'));
    const auto commands = app.get_subcommands();
    const CLI::Option *const option = (commands.empty() ? app : *commands.front()).get_option_no_throw(name);
    refuse(name, option && option->count() > 1 ? " is given twice" : " needs a value");
}

/// Arguments in two parts: options and words, and the words behind "--".
struct Arguments {
    std::vector<std::string> free, literal;
};

Arguments splitArguments(std::span<char *const> arguments)
{
    const auto mark =
        std::ranges::find_if(arguments, [](const char *word) { return std::string_view(word) == "--"; });
    Arguments split{{arguments.begin(), mark}, {}};
    if (mark != arguments.end())
        split.literal.assign(mark + 1, arguments.end());
    return split;
}

/// \return false when help or the version was asked for, and shown
bool parse(CLI::App &app, std::vector<std::string> arguments)
{
    std::ranges::reverse(arguments);
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::Success &success) {
        std::ostringstream help;
        app.exit(success, help);
        print(help.str());
        return false;
    } catch (const CLI::ExtrasError &) {
        refuseExtra(app);
    } catch (const CLI::ArgumentMismatch &mismatch) {
        refuseCount(app, mismatch.what());
    } catch (const CLI::ParseError &error) {
        refuse(error.what());
    }
    return true;
}

int parseQuality(const std::string &text)
{
    bool outOfRange = false;
    const auto quality = parseWhole(text, outOfRange);
    if (outOfRange || (quality && (*quality < 1 || *quality > 100)))
        refuse("--quality=", text, " is out of range: a whole number from 1 to 100");
    if (!quality)
        refuse("--quality=", text, " is not understood: a whole number from 1 to 100");
    return static_cast<int>(*quality);
}

void runList(const Request &request)
{
    print(listText(request.list, Style::of(Stream::Output)));
}

void runInfo(const Request &request)
{
    if (request.effect.empty())
        refuse("info needs the name of an effect");
    const catalogue::Effect &effect = requireEffect(catalogue::effects(), request.effect);
    print(request.json ? effectJson(effect) : infoText(effect, Style::of(Stream::Output)));
}

void runHistogram(const Request &request)
{
    if (request.words.size() != 1)
        refuse("histogram needs one image");
    HistogramOptions options = request.histogram;
    if (request.maxPixels)
        options.decode.maxPixels = parseMostPixels(*request.maxPixels);
    print(histogramText(request.words.front(), options));
}

/// \param request its selection is inverted already
SelectionOptions selectionOptions(const Request &request)
{
    SelectionOptions options = request.apply.selection;
    options.mask = request.mask;
    for (const std::string &place : request.places)
        options.places.push_back(parsePlace(place));
    if (request.feather)
        options.feather = parseFeather(*request.feather);
    checkSelection(options);
    return options;
}

const ApplyOptions &outputOptions(Request &request)
{
    request.apply.output = request.output;
    request.apply.selection = selectionOptions(request);
    if (request.quality)
        request.apply.quality = parseQuality(*request.quality);
    if (request.seed)
        request.apply.run.seed = parseSeed(*request.seed);
    if (request.maxPixels)
        request.apply.run.decode.maxPixels = parseMostPixels(*request.maxPixels);
    if (request.format)
        request.apply.format = parseFormat(*request.format);
    if (request.workers)
        request.apply.batch.workers = parseWorkers(*request.workers);
    return request.apply;
}

/// What a recipe says holds where the command line says nothing; a selection of the command line's takes the place of the
/// recipe's as a whole.
void takeOptions(Request &request, const RecipeOptions &options)
{
    request.apply.run.convert |= options.convert;
    if (!request.seed)
        request.seed = options.seed;
    if (!request.mask.empty() || !request.places.empty())
        return;
    request.mask = options.mask.string();
    request.places = options.select;
    if (!request.feather)
        request.feather = options.feather;
    request.apply.selection.invert |= options.invert;
}

/// The options of the command line for a recipe, checked as apply checks them.
RecipeOptions recipeOptions(const Request &request)
{
    checkSelection(selectionOptions(request));
    if (request.seed)
        parseSeed(*request.seed);
    if (!request.mask.empty())
        requireFileName(request.mask);
    return {request.apply.run.convert,      request.mask, request.places,
            request.apply.selection.invert, request.seed, request.feather};
}

void takeRecipe(Request &request, const std::string &file)
{
    if (file.empty() || file == "-")
        refuse("--recipe needs the name of a file");
    Recipe recipe = readRecipe(file, catalogue::effects());
    takeOptions(request, recipe.options);
    request.apply.recipe = std::move(recipe.steps);
}

void runApply(Request &request)
{
    if (request.recipeFile)
        takeRecipe(request, *request.recipeFile);
    runApply(request.words, outputOptions(request));
}

/// A command that makes one picture out of another.
struct PictureCommand {
    const char *name;
    std::vector<Step> (*steps)(const Request &request, void *dib);
};

constexpr PictureCommand kPictureCommands[] = {
    {"resize", [](const Request &r, void *dib) { return resizeSteps(r.resize, dib); }},
    {"crop", [](const Request &r, void *dib) { return cropSteps(r.crop, dib); }},
    {"rotate", [](const Request &r, void *dib) { return rotateSteps(r.rotate, dib); }},
    {"select", [](const Request &r, void *dib) { return selectSteps(r.select, dib); }},
    {"fill", [](const Request &r, void *dib) { return fillSteps(r.fill, dib); }},
    {"gradient", [](const Request &r, void *dib) { return gradientSteps(r.gradient, dib); }},
    {"shadow", [](const Request &r, void *dib) { return shadowSteps(r.shadow, dib); }},
    {"stamp", [](const Request &r, void *dib) { return stampSteps(r.stamp, dib); }},
};

/// \return false when none of these commands was given
bool runPictureCommand(const CLI::App &app, Request &request)
{
    for (const PictureCommand &command : kPictureCommands) {
        if (!app.got_subcommand(command.name))
            continue;
        if (request.words.empty())
            refuse(command.name, " needs an image");
        runSteps(
            {request.words.begin(), request.words.end()}, command.name,
            [&](void *dib) { return command.steps(request, dib); }, outputOptions(request));
        return true;
    }
    return false;
}

} // namespace

void runCommandLine(std::span<char *const> arguments)
{
    CLI::App app("Runs image effects on files.", "velmont");
    Request request;
    defineCommands(app, request);
    const Arguments split = splitArguments(arguments);
    if (!parse(app, split.free))
        return;
    const bool takesNoFile = std::ranges::any_of(std::array{"info", "list", "man", "completion", "gallery"},
                                                 [&](const char *name) { return app.got_subcommand(name); });
    if ((takesNoFile || app.get_subcommands().empty()) && !split.literal.empty())
        refuse("unexpected word ", inQuotes(split.literal.front()));
    request.words.insert(request.words.end(), split.literal.begin(), split.literal.end());
    if (app.got_subcommand("apply"))
        runApply(request);
    else if (app.got_subcommand("info"))
        runInfo(request);
    else if (app.got_subcommand("list"))
        runList(request);
    else if (app.got_subcommand("histogram"))
        runHistogram(request);
    else if (app.got_subcommand("recipe"))
        print(recipeAnswer(request.words, request.recipe, recipeOptions(request)));
    else if (app.got_subcommand("gallery"))
        runGallery(request.gallery);
    else if (app.got_subcommand("man"))
        print(manualText(app));
    else if (app.got_subcommand("completion"))
        print(completionScript(request.shell));
    else if (app.got_subcommand("complete"))
        print(completionsText(app, request.words));
    else if (!runPictureCommand(app, request))
        refuse("usage: velmont list | info EFFECT | apply EFFECT ... INPUT -o OUTPUT | ...; \"velmont "
               "--help\" shows all "
               "commands");
}

} // namespace velmont::cli
