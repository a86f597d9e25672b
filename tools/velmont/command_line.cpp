#include "command_line.h"
#include "apply.h"
#include "exit_codes.h"
#include "field_value.h"
#include "gallery.h"
#include "histogram.h"
#include "info.h"
#include "list.h"
#include "nearest_name.h"
#include "picture_steps.h"
#include "text.h"
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>
#include <velmont/version.h>

namespace velmont::cli {

namespace {

constexpr auto kFooter = R"(Exit codes:
  0    done
  2    the command line is wrong: an option, an effect, a field or its value, or the output exists already
  3    the image cannot be read, or an effect does not take its depth
  4    the result cannot be written
  5    an effect gave no result: out of memory, or nothing to do
  130  aborted with Ctrl-C; nothing is written)";

constexpr auto kApplyFooter =
    R"(EFFECT is a name of "velmont list"; "velmont info EFFECT" shows its fields. "then" joins several effects, which
run in memory from left to right. Values are whole numbers, numbers, #rrggbb or names. The format of INPUT is told
by its contents, that of OUTPUT by its ending: .png, .jpg, .jpeg, .jpe, .bmp, .dib. An INPUT whose name looks like
a field or is "then" is given as ./name, and one that starts with a dash as ./-name or behind "--".

)";

/// What the arguments said.
struct Request {
    bool json = false;
    std::string effect;
    std::vector<std::string> words;
    std::string output, mask;
    std::optional<std::string> quality;
    ApplyOptions apply;
    HistogramOptions histogram;
    GalleryOptions gallery;
    ResizeRequest resize;
    CropRequest crop;
    RotateRequest rotate;
    SelectRequest select;
    FillRequest fill;
    GradientRequest gradient;
    ShadowRequest shadow;
    StampRequest stamp;
};

/// Help with a usage line of its own.
class Help : public CLI::Formatter {
public:
    explicit Help(std::string usage) : usage_(std::move(usage)) { column_width(22); }
    std::string make_usage(const CLI::App *, std::string) const override
    {
        return concat("\nUsage: ", usage_, "\n");
    }
    /// Usage says more about positional words.
    std::string make_positionals(const CLI::App *) const override { return {}; }

private:
    std::string usage_;
};

CLI::App *addCommand(CLI::App &app, const std::string &name, const std::string &words,
                     const std::string &help)
{
    CLI::App *const command = app.add_subcommand(name, help);
    command->formatter(std::make_shared<Help>(concat("velmont ", name, " ", words)));
    return command;
}

/// What all commands that write a picture take.
void addOutputOptions(CLI::App &command, Request &request)
{
    command.add_option("-o,--output", request.output, "The file to write")->type_name("FILE");
    command.add_flag("--force", request.apply.force, "Replace the output if it exists");
    command.add_flag("--convert", request.apply.run.convert,
                     "Convert the image where an effect refuses its depth");
    command.add_option("--quality", request.quality, "Of a JPEG, 1 to 100")->type_name("N");
    command.add_flag("-q,--quiet", request.apply.run.quiet, "No notes and no progress");
}

/// A command that makes one picture out of another.
CLI::App *addPictureCommand(CLI::App &app, Request &request, const std::string &name,
                            const std::string &options, const std::string &help)
{
    CLI::App *const command = addCommand(app, name, concat("INPUT ", options, " -o OUTPUT"), help);
    command->footer(kFooter);
    command->add_option("INPUT", request.words, "The image");
    addOutputOptions(*command, request);
    return command;
}

/// An option that takes one word.
void addWord(CLI::App &command, const std::string &name, std::optional<std::string> &word,
             const std::string &type, const std::string &help)
{
    command.add_option(name, word, help)->type_name(type);
}

void definePaintingCommands(CLI::App &app, Request &request)
{
    CLI::App &fill = *addPictureCommand(app, request, "fill", "--at X,Y | --mask MASK",
                                        "Paint connected pixels of similar colour, or a selection");
    addWord(fill, "--at", request.fill.at, "X,Y", "One of the pixels, from the left and the top");
    addWord(fill, "--mask", request.fill.mask, "FILE", "What is selected is bright here");
    addWord(fill, "--color", request.fill.color, "COLOUR", "As #rrggbb");
    addWord(fill, "--tolerance", request.fill.tolerance, "R,G,B",
            "How far a channel may differ, 32 if not given");

    CLI::App &gradient =
        *addPictureCommand(app, request, "gradient", "[--from X,Y --to X,Y]", "Paint a ramp of colours");
    addWord(gradient, "--from", request.gradient.from, "X,Y", "Its start or its centre");
    addWord(gradient, "--to", request.gradient.to, "X,Y", "Its end or a corner");
    addWord(gradient, "--shape", request.gradient.shape, "SHAPE",
            "line, circle, ellipse, square or rectangle");
    addWord(gradient, "--start-color", request.gradient.startColor, "COLOUR", "As #rrggbb");
    addWord(gradient, "--end-color", request.gradient.endColor, "COLOUR", "As #rrggbb");
    addWord(gradient, "--colors", request.gradient.colors, "MODE", "rgb or hsv, what the ramp runs through");
    addWord(gradient, "--repeats", request.gradient.repeats, "N", "Bands before the end colour takes over");
    addWord(gradient, "--repeat-mode", request.gradient.repeatMode, "MODE", "reflect or sawtooth");
    addWord(gradient, "--share", request.gradient.share, "P", "Of the image in the result, in percent");

    CLI::App &shadow = *addPictureCommand(app, request, "shadow", "--mask MASK",
                                          "Put a cut-out on a canvas with its shadow");
    addWord(shadow, "--mask", request.shadow.mask, "FILE", "What belongs to it is bright here");
    addWord(shadow, "--offset", request.shadow.offset, "X,Y", "How far the shadow falls, right and down");
    addWord(shadow, "--color", request.shadow.color, "COLOUR", "Of the shadow, as #rrggbb");
    addWord(shadow, "--blur", request.shadow.blur, "N", "How soft its edge is, in pixels");
    addWord(shadow, "--new-mask", request.shadow.newMask, "FILE", "Where to write the mask of both");

    CLI::App &stamp = *addPictureCommand(app, request, "stamp", "--stamp FILE --at X,Y --size WxH",
                                         "Print a picture in one colour");
    addWord(stamp, "--stamp", request.stamp.stamp, "FILE", "What to print");
    addWord(stamp, "--at", request.stamp.at, "X,Y", "Its upper left corner");
    addWord(stamp, "--size", request.stamp.size, "WxH", "Of the print, in pixels");
    addWord(stamp, "--color", request.stamp.color, "COLOUR", "Of the ink, as #rrggbb");
    addWord(stamp, "--strength", request.stamp.strength, "P", "In percent");
    addWord(stamp, "--polarity", request.stamp.polarity, "P",
            "inverted: dark parts print; as-it-is: bright ones");
    addWord(stamp, "--blend", request.stamp.blend, "B", "mixed by brightness, or hard");
}

void definePictureCommands(CLI::App &app, Request &request)
{
    CLI::App *const resize =
        addPictureCommand(app, request, "resize", "--size 800x600 | 800x | x600 | --percent P",
                          "Make an image larger or smaller");
    resize->add_option("--size", request.resize.size, "In pixels; a side left out keeps the proportions")
        ->type_name("WxH");
    resize->add_option("--percent", request.resize.percent, "Of both sides")->type_name("P");
    resize->add_option("--method", request.resize.method, "smooth, or fast and rougher")->type_name("M");

    CLI::App *const crop =
        addPictureCommand(app, request, "crop", "[--at X,Y] [--size WxH]", "Cut a rectangle out of an image");
    crop->add_option("--at", request.crop.at, "Its corner, from the left and the top; may lie outside")
        ->type_name("X,Y");
    crop->add_option("--size", request.crop.size, "In pixels; a side left out reaches to the edge")
        ->type_name("WxH");
    crop->add_option("--background", request.crop.background, "Of what lies outside the image, as #rrggbb")
        ->type_name("COLOUR");
    crop->add_flag("--wrap", request.crop.wrap, "Repeat the image outside of itself");

    CLI::App *const rotate =
        addPictureCommand(app, request, "rotate", "--by left | right | half | DEGREES", "Turn an image");
    rotate->add_option("--by", request.rotate.by, "Degrees count clockwise; quarters lose nothing")
        ->type_name("TURN");
    rotate->add_option("--background", request.rotate.background, "Of the corners, as #rrggbb")
        ->type_name("COLOUR");

    CLI::App *const select = addPictureCommand(app, request, "select", "--at X,Y [--tolerance R,G,B]",
                                               "Make a mask of the connected pixels of similar colour");
    select->add_option("--at", request.select.at, "One of them, from the left and the top")->type_name("X,Y");
    select
        ->add_option("--tolerance", request.select.tolerance, "How far a channel may differ, 32 if not given")
        ->type_name("R,G,B");
}

void defineCommands(CLI::App &app, Request &request)
{
    app.formatter(std::make_shared<Help>("velmont COMMAND ..."));
    app.require_subcommand(0, 1);
    app.set_help_flag("-h,--help", "Show this help");
    app.set_version_flag("--version", "velmont " VELMONT_VERSION, "Show the version");
    app.footer(kFooter);

    CLI::App *const list = addCommand(app, "list", "[--json]", "Show the effects");
    list->add_flag("--json", request.json, "Everything about them, for programs");

    CLI::App *const info = addCommand(app, "info", "EFFECT", "Show all about one effect");
    info->add_option("EFFECT", request.effect, "A name of the list");

    CLI::App *const histogram =
        addCommand(app, "histogram", "[--json] [--convert] INPUT", "Show how often each level occurs");
    histogram->add_option("INPUT", request.words, "The image");
    histogram->add_flag("--json", request.histogram.json, "Every bin, for programs");
    histogram->add_flag("--convert", request.histogram.convert, "Count the colours of a palette");

    CLI::App *const gallery = addCommand(app, "gallery", "[--picture FILE] -o FOLDER",
                                         "Make a page that shows every effect before and after");
    gallery->footer(kFooter);
    gallery->add_option("-o,--output", request.gallery.folder, "The folder to write")->type_name("FOLDER");
    gallery->add_option("--picture", request.gallery.picture, "To show them on instead of the bundled scene")
        ->type_name("FILE");
    gallery->add_flag("--force", request.gallery.force, "Write into a folder that has contents already");
    gallery->add_flag("-q,--quiet", request.gallery.quiet, "No progress");

    CLI::App *const apply = addCommand(
        app, "apply", "EFFECT [field=value ...] [then EFFECT [field=value ...]]... INPUT -o OUTPUT",
        "Run effects on an image");
    apply->footer(concat(kApplyFooter, kFooter));
    apply->add_option("words", request.words, "Effects with their fields, and the image");
    addOutputOptions(*apply, request);
    apply->add_option("--mask", request.mask, "Keep the image where this one is not bright")
        ->type_name("FILE");
    definePictureCommands(app, request);
    definePaintingCommands(app, request);
}

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
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        names.push_back(command->get_name());
    return didYouMeanOneOf(word, names);
}

/// Says which word was one too many.
[[noreturn]] void refuseExtra(const CLI::App &app)
{
    const std::string word = app.remaining(true).at(0);
    const auto commands = app.get_subcommands();
    if (word.starts_with('-'))
        refuse("there is no option ", inQuotes(word),
               nearOption(commands.empty() ? app : *commands.front(), word));
    if (commands.empty())
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
        app.exit(success);
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

void print(const std::string &text)
{
    if (!std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush())
        throw Failure(ExitCode::Output, "standard output cannot be written");
}

int jpegQuality(const std::string &text)
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
    print(request.json ? listJson() : listText());
}

void runInfo(const Request &request)
{
    if (request.effect.empty())
        refuse("info needs the name of an effect");
    print(infoText(requireEffect(catalogue::effects(), request.effect)));
}

void runHistogram(const Request &request)
{
    if (request.words.size() != 1)
        refuse("histogram needs one image");
    print(histogramText(request.words.front(), request.histogram));
}

const ApplyOptions &outputOptions(Request &request)
{
    request.apply.output = request.output;
    request.apply.mask = request.mask;
    if (request.quality)
        request.apply.jpegQuality = jpegQuality(*request.quality);
    return request.apply;
}

void runApply(Request &request)
{
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
        if (request.words.size() != 1)
            refuse(command.name, " needs one image");
        runSteps(
            request.words.front(), [&](void *dib) { return command.steps(request, dib); },
            outputOptions(request));
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
    const bool takesNoFile =
        app.got_subcommand("info") || app.got_subcommand("list") || app.got_subcommand("gallery");
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
    else if (app.got_subcommand("gallery"))
        runGallery(request.gallery);
    else if (!runPictureCommand(app, request))
        refuse("usage: velmont list | info EFFECT | apply EFFECT ... INPUT -o OUTPUT | histogram INPUT | "
               "gallery -o FOLDER | resize | crop | rotate | select | fill | gradient | shadow | stamp INPUT "
               "... -o OUTPUT; "
               "\"velmont --help\" says more");
}

} // namespace velmont::cli
