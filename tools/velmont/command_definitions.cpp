#include "command_definitions.h"
#include "exit_codes.h"
#include "text.h"
#include <CLI/CLI.hpp>
#include <memory>
#include <utility>
#include <velmont/version.h>

namespace velmont::cli {

namespace {

constexpr auto kWholeFooter =
    R"("velmont COMMAND --help" shows the options of a command, "velmont info EFFECT" the fields of an effect, and
"velmont man" all of it. Results go to standard output, all else to standard error. NO_COLOR keeps colour off the
terminal.

)";

constexpr auto kCompletionFooter =
    R"(An installed velmont has brought it along. Otherwise this loads it into a running shell:

  source <(velmont completion bash)
  source <(velmont completion zsh)     # behind compinit

)";

constexpr auto kApplyFooter =
    R"(EFFECT is a name of "velmont list"; "velmont info EFFECT" shows its fields. "then" joins several effects, which
run in memory from left to right. Values are whole numbers, numbers, #rrggbb or names. The format of INPUT is told
by its contents, that of OUTPUT by its ending: .png, .jpg, .jpeg, .jpe, .bmp, .dib, .tif, .tiff, .webp, or by
--format. An INPUT whose name looks like a field or is "then" is given as ./name, and one that starts with a dash as
./-name or behind "--".

With --mask, --select or both the effects count inside the selection alone: what is bright in MASK, and connected
pixels that differ from the one at X,Y by R,G,B at most (X,Y,N: by N in all channels; X,Y: by 32). Several --select
select together; with --mask what both select counts. The size has to stay. Alpha goes with the pixels that effects
move; colours are not multiplied by it.

)";

constexpr auto kFolderFooter =
    R"(Several INPUTs go into a folder, -o DIR, which is made if it is missing; so does one INPUT where OUTPUT is a folder
or ends in a slash. A folder as INPUT stands for the pictures in it, without those in its own folders. Results keep the
names of the images. --name takes another PATTERN with {stem} and {ext}, the two parts of an image's name, {n}, a
running number, and {effect}; {{ and }} are braces. Files made besides, as in newAlpha={stem}-mask.png, take patterns
too.
Images are worked on by as many processes as there are cores, or fewer if the largest image, taken six times in full
colour, does not fit so often into memory; --jobs N says how many whatever it takes. Results do not depend on it. An
image that fails leaves the others alone.

)";

std::string exitCodesText()
{
    std::string text = "Exit codes:";
    for (const ExitCodeHelp &exit : kExitCodes) {
        const std::string code = std::to_string(static_cast<int>(exit.code));
        text += concat("\n  ", code, std::string(5 - code.size(), ' '), exit.help);
    }
    return text;
}

/// Help with a usage line of its own.
class Help : public CLI::Formatter {
public:
    explicit Help(std::string usage) : usage_(std::move(usage)) { column_width(26); }
    std::string make_usage(const CLI::App *, std::string) const override
    {
        return concat("\nUsage: ", usage_, "\n");
    }
    const std::string &usage() const { return usage_; }
    /// Usage says more about positional words.
    std::string make_positionals(const CLI::App *) const override { return {}; }

private:
    std::string usage_;
};

CLI::App *addCommand(CLI::App &app, const std::string &name, const std::string &words,
                     const std::string &help)
{
    CLI::App *const command = app.add_subcommand(name, help);
    command->group("Commands");
    command->footer(exitCodesText());
    command->formatter(std::make_shared<Help>(concat("velmont ", name, words.empty() ? "" : " ", words)));
    return command;
}

void addMostPixels(CLI::App &command, Request &request)
{
    command.add_option("--max-pixels", request.maxPixels, "Refuse larger images; 268435456 if not given")
        ->type_name("N");
}

/// What all commands that write a picture take.
void addOutputOptions(CLI::App &command, Request &request)
{
    command
        .add_option("-o,--output", request.output,
                    "The file or the folder to write, or - for standard output")
        ->type_name("FILE");
    command.add_option("--format", request.format, "Of the output, whatever its ending says")
        ->type_name("FORMAT");
    command
        .add_option("--name", request.apply.batch.name,
                    "Of results in a folder, with {stem} {ext} {n} {effect}")
        ->type_name("PATTERN");
    command
        .add_option("--jobs", request.workers, "Images to work on at a time; else as cores and memory allow")
        ->type_name("N");
    command.add_flag("--force", request.apply.force, "Replace the output if it exists");
    command.add_flag("--convert", request.apply.run.convert,
                     "Convert the image where an effect refuses its depth");
    command.add_option("--quality", request.quality, "Of a JPEG or WebP, 1 to 100")->type_name("N");
    command
        .add_option(
            "--seed", request.seed,
            "Of random effects, 0 to 4294967295, 1 if not given; each effect of a chain takes the next one")
        ->type_name("N");
    command.add_flag("-q,--quiet", request.apply.run.quiet, "No notes and no progress");
    command.add_flag("--strip", request.apply.strip, "Drop the colour profile and the notes of the camera");
    addMostPixels(command, request);
    command.add_flag("--dry-run", request.apply.dryRun, "Check everything and tell what would be done");
    command.add_flag("--timing", request.apply.telling.timing, "Say how long each step takes");
    command.add_flag("--json", request.apply.telling.json, "Tell the results as JSON");
}

/// What commands take that keep the size, and so may change a part of the image alone.
void addSelectionOptions(CLI::App &command, Request &request)
{
    command.add_option("--mask", request.mask, "Keep the image where this one is not bright")
        ->type_name("FILE");
    command
        .add_option("--select", request.places,
                    "Keep it but where connected pixels are like this one; may be given several times")
        ->type_name("X,Y,R,G,B")
        ->allow_extra_args(false);
    command.add_option("--feather", request.feather, "Soften the edge of the selection by N pixels")
        ->type_name("N");
    command.add_flag("--invert", request.apply.selection.invert, "Keep the selection instead");
}

/// A command that makes one picture out of another.
CLI::App *addPictureCommand(CLI::App &app, Request &request, const std::string &name,
                            const std::string &options, const std::string &help)
{
    CLI::App *const command = addCommand(app, name, concat("INPUT... ", options, " -o OUTPUT"), help);
    command->footer(concat(kFolderFooter, exitCodesText()));
    command->add_option("INPUT", request.words, "The images, or folders of them");
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
    addSelectionOptions(gradient, request);
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
    addSelectionOptions(stamp, request);
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

/// What serves shells and manuals.
void defineShellCommands(CLI::App &app, Request &request)
{
    CLI::App *const completion =
        addCommand(app, "completion", "bash | zsh", "Print what completes command lines in a shell");
    completion->footer(concat(kCompletionFooter, exitCodesText()));
    completion->add_option("SHELL", request.shell, "The shell");
    addCommand(app, "man", "", "Print the manual page");
    // Asked by what completion prints, with the words of the line behind "--".
    addCommand(app, "complete", "-- WORD ...", "Tell what may stand in place of the last word")->group("");
}

} // namespace

void defineRecipeCommand(CLI::App &app, Request &request)
{
    CLI::App *const recipe =
        addCommand(app, "recipe", "--show EFFECT ... | --show FILE | --command FILE | --check FILE",
                   "Turn effects into a recipe, a file for apply --recipe");
    recipe->add_option("words", request.words, "Effects with their fields, or a recipe");
    recipe->add_flag("--show", request.recipe.show, "Print the recipe with every field");
    recipe->add_flag("--command", request.recipe.command, "Print the command that does the same");
    recipe->add_flag("--check", request.recipe.check, "Say what is wrong with a recipe, if anything");
    recipe->add_flag("--convert", request.apply.run.convert, "As apply takes it, for the recipe");
    recipe->add_option("--seed", request.seed, "As apply takes it, for the recipe")->type_name("N");
    addSelectionOptions(*recipe, request);
}

void defineCommands(CLI::App &app, Request &request)
{
    app.formatter(std::make_shared<Help>("velmont COMMAND ..."));
    app.require_subcommand(0, 1);
    app.set_help_flag("-h,--help", "Show this help");
    app.set_version_flag("--version", "velmont " VELMONT_VERSION, "Show the version");

    CLI::App *const list = addCommand(app, "list", "[FAMILY] [--search TEXT] [--json]", "Show the effects");
    list->footer(concat("FAMILY is ", joined(familyWords()), ".\n\n", exitCodesText()));
    list->add_option("FAMILY", request.list.family, "The first word of its name");
    list->add_option("--search", request.list.search, "Those with this in their name or description")
        ->type_name("TEXT");
    list->add_flag("--json", request.list.json, "Everything about them, for programs");

    CLI::App *const info = addCommand(app, "info", "[--json] EFFECT", "Show all about one effect");
    info->add_option("EFFECT", request.effect, "A name of the list");
    info->add_flag("--json", request.json, "As an object of list --json, for programs");

    CLI::App *const histogram = addCommand(app, "histogram", "[--json] [--convert] [--max-pixels N] INPUT",
                                           "Show how often each level occurs");
    histogram->add_option("INPUT", request.words, "The image");
    histogram->add_flag("--json", request.histogram.json, "Every bin, for programs");
    histogram->add_flag("--convert", request.histogram.convert, "Count the colours of a palette");
    addMostPixels(*histogram, request);

    CLI::App *const gallery = addCommand(app, "gallery", "[--picture FILE] -o FOLDER",
                                         "Make a page that shows every effect before and after");
    gallery->add_option("-o,--output", request.gallery.folder, "The folder to write")->type_name("DIR");
    gallery->add_option("--picture", request.gallery.picture, "To show them on instead of the bundled scene")
        ->type_name("FILE");
    gallery->add_flag("--force", request.gallery.force, "Write into a folder that has contents already");
    gallery->add_flag("-q,--quiet", request.gallery.quiet, "No progress");

    CLI::App *const apply = addCommand(
        app, "apply", "EFFECT [field=value ...] [then EFFECT [field=value ...]]... INPUT... -o OUTPUT",
        "Run effects on images");
    apply->footer(concat(kApplyFooter, kFolderFooter, exitCodesText()));
    apply->add_option("words", request.words, "Effects with their fields, and the images");
    addOutputOptions(*apply, request);
    addSelectionOptions(*apply, request);
    apply->add_option("--recipe", request.recipeFile, "Take the effects from a recipe; words are images")
        ->type_name("FILE");
    defineRecipeCommand(app, request);
    definePictureCommands(app, request);
    definePaintingCommands(app, request);
    defineShellCommands(app, request);
    // Last, for commands begin with the footer of the whole.
    app.footer(concat(kWholeFooter, exitCodesText()));
}

std::vector<const CLI::App *> shownCommands(const CLI::App &app)
{
    return app.get_subcommands([](const CLI::App *command) { return !command->get_group().empty(); });
}

std::string usageOf(const CLI::App &command)
{
    return dynamic_cast<const Help &>(*command.get_formatter()).usage();
}

std::string notesOf(const CLI::App &command)
{
    const std::string text = command.get_footer(), exitCodes = exitCodesText();
    return text.ends_with(exitCodes) ? text.substr(0, text.size() - exitCodes.size()) : text;
}

bool takesValue(const CLI::Option &option)
{
    return option.get_type_size() != 0 && option.get_items_expected_max() > 0;
}

} // namespace velmont::cli
