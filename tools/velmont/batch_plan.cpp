#include "batch_plan.h"
#include "exit_codes.h"
#include "standard_streams.h"
#include "text.h"
#include <algorithm>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSameName = "{stem}.{ext}";

template <typename... Pieces>
[[noreturn]] void refuse(ExitCode code, const Pieces &...pieces)
{
    throw Failure(code, concat(pieces...));
}

bool isFolder(const fs::path &path)
{
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool isTaken(const fs::path &path)
{
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

bool endsWithSlash(const fs::path &path)
{
    return path.native().ends_with('/');
}

/// " (and 3 more)", or nothing.
std::string others(std::size_t count)
{
    return count > 1 ? concat(" (and ", std::to_string(count - 1), " more)") : "";
}

/// A folder for results that may not be there yet.
void requireFolder(const std::vector<fs::path> &inputs, const fs::path &folder)
{
    if (isFolder(folder))
        return;
    if (isStandardStream(folder))
        refuse(ExitCode::Usage, "only one image can go to standard output; several need a folder: -o DIR");
    if (isTaken(folder))
        refuse(ExitCode::Usage, folder.string(), ": is no folder; ",
               inputs.size() > 1 ? "several images need one: -o DIR"
                                 : "a name with a slash behind it is one");
    if (!endsWithSlash(folder) && io::formatOfName(folder))
        refuse(ExitCode::Usage, folder.string(), " names a file and ",
               inputs.size() > 1 ? concat(std::to_string(inputs.size()), " images are given, ",
                                          inQuotes(inputs[0].string()), " and ", inQuotes(inputs[1].string()),
                                          inputs.size() > 2 ? " ..." : "")
                                 : concat(inputs[0].string(), " is a folder"),
               "; results need a folder: -o DIR, or -o ", folder.string(), "/");
}

/// What a shell would find for FOLDER/*, as far as the endings are those of pictures.
std::vector<fs::path> picturesIn(const fs::path &folder)
{
    std::vector<fs::path> pictures;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        std::error_code ignored;
        if (io::formatOfName(entry.path()) && !entry.path().filename().native().starts_with('.') &&
            entry.is_regular_file(ignored))
            pictures.push_back(entry.path());
    }
    std::ranges::sort(pictures, {}, [](const fs::path &path) { return path.native(); });
    return pictures;
}

PlannedPicture problematic(const fs::path &input, const std::string &text)
{
    return {{input, {}}, {}, concat(input.string(), ": ", text)};
}

std::vector<PlannedPicture> expandFolder(const fs::path &folder)
{
    std::vector<PlannedPicture> pictures;
    try {
        for (const fs::path &picture : picturesIn(folder))
            pictures.push_back({{picture, {}}, {}, {}});
    } catch (const fs::filesystem_error &error) {
        return {problematic(folder, concat("the folder cannot be read: ", error.code().message()))};
    }
    if (pictures.empty())
        pictures.push_back(problematic(folder, "there are no pictures in this folder"));
    return pictures;
}

std::vector<PlannedPicture> expandInputs(const std::vector<fs::path> &inputs)
{
    std::vector<PlannedPicture> pictures;
    for (const fs::path &input : inputs) {
        if (isStandardStream(input))
            refuse(ExitCode::Usage, "standard input has no name that a file in a folder could have; -o FILE");
        if (isFolder(input))
            std::ranges::move(expandFolder(input), std::back_inserter(pictures));
        else
            pictures.push_back({{input, {}}, {}, {}});
    }
    if (inputs.size() == 1 && pictures.size() == 1 && !pictures.front().problem.empty())
        refuse(ExitCode::Input, pictures.front().problem);
    return pictures;
}

/// The ending that results get: their own if it is one of the format's.
std::string endingFor(const fs::path &input, const std::optional<io::Format> &format)
{
    const std::string own = input.extension().string();
    if (!format || io::formatOfName(input) == format)
        return own.empty() ? own : own.substr(1);
    std::string ending(io::formatName(*format));
    std::ranges::transform(ending, ending.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return ending;
}

fs::path nameMade(const fs::path &pattern, const NameFields &names)
{
    return pattern.parent_path() / NamePattern(pattern.filename().string(), pattern.string()).nameFor(names);
}

/// Names that are the same for all images can only be right for one.
void requireDifference(const std::vector<PlannedPicture> &pictures, const NamePattern &pattern,
                       const std::vector<fs::path> &made)
{
    if (pictures.size() < 2)
        return;
    if (!pattern.tellsApart())
        refuse(ExitCode::Usage, "--name gives all results one name; {stem} or {n} in it tells them apart");
    for (const fs::path &path : made)
        if (!NamePattern(path.filename().string(), path.string()).tellsApart())
            refuse(ExitCode::Usage, path.string(),
                   ": would be written for every image; {stem} or {n} in its name, as in {stem}-",
                   path.filename().string(), ", tells them apart");
}

void nameResults(BatchPlan &plan, const NamePattern &pattern, const std::string &effect,
                 const std::optional<io::Format> &format)
{
    std::size_t number = 0;
    for (PlannedPicture &picture : plan.pictures) {
        const fs::path &input = picture.job.input;
        picture.names = {input.stem().string(), endingFor(input, format),
                         numbered(++number, plan.pictures.size()), effect};
        const std::string name = pattern.nameFor(picture.names);
        if (name.find('/') != std::string::npos)
            refuse(ExitCode::Usage, "--name: ", inQuotes(name), " is not a file's name: it has a slash");
        picture.job.output = plan.folder / name;
    }
}

/// An ending that names no format is a mistake in the pattern if it is everywhere, else of one image.
void requireFormats(BatchPlan &plan, const std::optional<io::Format> &format)
{
    const auto isNamed = [&](const PlannedPicture &picture) {
        return format || io::formatOfName(picture.job.output);
    };
    const bool isAnyNamed = std::ranges::any_of(plan.pictures, isNamed);
    for (PlannedPicture &picture : plan.pictures) {
        if (!picture.problem.empty() || isNamed(picture))
            continue;
        picture.problem = concat(picture.job.input.string(), ": the ending of ",
                                 inQuotes(picture.job.output.filename().string()),
                                 " names no format; --format or --name can give one");
        if (!isAnyNamed)
            refuse(ExitCode::Usage, picture.problem);
    }
}

/// All that is written for an image.
std::vector<fs::path> outputsOf(const PlannedPicture &picture, const std::vector<fs::path> &made)
{
    std::vector<fs::path> outputs{picture.job.output};
    for (const fs::path &pattern : made)
        outputs.push_back(nameMade(pattern, picture.names));
    return outputs;
}

/// Looks over all files of a plan, and refuses it with a line for the first one of a kind.
class Review {
public:
    Review(const BatchPlan &plan, const Task &task, bool force) : plan_(plan), task_(task), force_(force) {}

    void run()
    {
        for (const fs::path &file : task_.read)
            readers_.emplace(fileBehind(file), nullptr);
        for (const PlannedPicture &picture : plan_.pictures)
            if (picture.problem.empty())
                readers_.emplace(fileBehind(picture.job.input), &picture);
        for (const PlannedPicture &picture : plan_.pictures)
            if (picture.problem.empty())
                for (const fs::path &output : outputsOf(picture, task_.made))
                    take(picture, output);
        refuseFirst();
    }

private:
    /// The first of a kind, and how many there are.
    struct Finding {
        ExitCode code;
        std::string line, advice;
        std::size_t count = 0;
    };

    /// Names of one file come out as one.
    static fs::path fileBehind(const fs::path &path)
    {
        std::error_code error;
        fs::path file = fs::weakly_canonical(path, error);
        return error ? path.lexically_normal() : file;
    }

    static void find(Finding &finding, const std::string &line)
    {
        if (finding.count++ == 0)
            finding.line = line;
    }

    void take(const PlannedPicture &picture, const fs::path &output)
    {
        const std::string name = output.string();
        const auto [other, isNew] = writers_.emplace(output.lexically_normal(), &picture);
        if (!isNew)
            find(twice_, other->second == &picture
                             ? concat(name, ": is to be written twice")
                             : concat(inQuotes(other->second->job.input.string()), " and ",
                                      inQuotes(picture.job.input.string()), " would both become ", name));
        if (!isTaken(output))
            return;
        if (isFolder(output))
            find(folders_, concat(name, ": is a folder"));
        else if (!force_)
            find(existing_, concat(name, ": exists already"));
        else if (const auto reader = readers_.find(fileBehind(output));
                 reader != readers_.end() && reader->second != &picture)
            find(needed_, concat(name, ": would be written over, and is needed"));
    }

    void refuseFirst() const
    {
        for (const Finding *finding : {&twice_, &folders_, &existing_, &needed_})
            if (finding->count > 0)
                refuse(finding->code, finding->line, others(finding->count), finding->advice);
    }

    const BatchPlan &plan_;
    const Task &task_;
    bool force_;
    std::map<fs::path, const PlannedPicture *> readers_; ///< nothing for what all images read
    std::map<fs::path, const PlannedPicture *> writers_;
    Finding twice_{ExitCode::Usage, {}, "; --name tells them apart, as in --name \"{n}-{stem}.{ext}\""};
    Finding folders_{ExitCode::Output, {}, {}};
    Finding existing_{ExitCode::Usage, {}, "; pass --force to replace it"};
    Finding needed_{ExitCode::Usage, {}, " by another image; choose another folder or --name"};
};

} // namespace

bool goesIntoFolder(const std::vector<fs::path> &inputs, const fs::path &output)
{
    return inputs.size() > 1 || std::ranges::any_of(inputs, isFolder) || isFolder(output) ||
           endsWithSlash(output);
}

BatchPlan planBatch(const std::vector<fs::path> &inputs, const fs::path &folder,
                    const std::optional<std::string> &pattern, const Task &task, const OutputOptions &options)
{
    requireFolder(inputs, folder);
    const NamePattern names(pattern.value_or(std::string(kSameName)), "--name");
    BatchPlan plan{folder, expandInputs(inputs)};
    requireDifference(plan.pictures, names, task.made);
    nameResults(plan, names, task.name, options.format);
    requireFormats(plan, options.format);
    Review(plan, task, options.force).run();
    return plan;
}

StepsFor stepsWithNames(const StepsFor &stepsFor, const NameFields &names)
{
    return [=](void *dib) {
        std::vector<Step> steps = stepsFor(dib);
        for (Step &step : steps)
            for (OperandFile &given : step.operands)
                if (given.operand->isResult)
                    given.file = nameMade(given.file, names);
        return steps;
    };
}

} // namespace velmont::cli
