#include "apply.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "notes.h"
#include "text.h"
#include <utility>

namespace velmont::cli {

namespace {

JobOptions jobOptions(const ApplyOptions &options)
{
    return {{options.force, options.quality, options.run.quiet, options.format, options.strip},
            options.selection,
            options.run,
            options.dryRun,
            options.inspect};
}

void requireOutput(const std::vector<std::filesystem::path> &inputs, const ApplyOptions &options)
{
    if (options.output.empty())
        throw Failure(ExitCode::Usage, concat("no output is given: -o ", inputs.size() > 1 ? "DIR" : "FILE"));
    checkTelling(options.output, options.telling);
}

/// The effects of a recipe and the images of the words, or both of the words.
Chain chainOf(std::span<const std::string> words, const ApplyOptions &options)
{
    return options.recipe.empty() ? parseChain(words, catalogue::effects())
                                  : Chain{options.recipe, parseImages(words, catalogue::effects())};
}

/// Files that the steps read or make besides.
std::vector<std::filesystem::path> filesOf(const std::vector<Step> &steps, bool made)
{
    std::vector<std::filesystem::path> files;
    for (const Step &step : steps)
        for (const OperandFile &given : step.operands)
            if (given.operand->isResult == made)
                files.push_back(given.file);
    return files;
}

/// "to-gray-to-1-bit"
std::string effectNames(const std::vector<Step> &steps)
{
    std::string names;
    for (const Step &step : steps)
        names.append(names.empty() ? "" : "-").append(step.effect->name);
    return names;
}

/// What is known before any picture is. Words that are not understood are refused here.
Task taskOf(const StepsFor &stepsFor, const std::string &name, const ApplyOptions &options)
{
    const std::vector<Step> steps = stepsFor(nullptr);
    Task task{stepsFor, steps.size(), name.empty() ? effectNames(steps) : name, filesOf(steps, true),
              filesOf(steps, false)};
    if (!options.selection.mask.empty())
        task.read.push_back(options.selection.mask);
    return task;
}

void runOne(const PictureJob &job, const Task &task, const ApplyOptions &options)
{
    std::vector<std::filesystem::path> outputs{job.output};
    outputs.insert(outputs.end(), task.made.begin(), task.made.end());
    checkOutputs(outputs, jobOptions(options).output);
    watchInterrupts();
    runToldJob(job, task.stepsFor, jobOptions(options), options.telling);
}

void makeKnown(const ResultFolder &folder, const ApplyOptions &options)
{
    if (folder.isNew() && !options.dryRun && !options.run.quiet)
        say(concat(options.output.string(), ": this folder is new"));
}

void runIntoFolder(const std::vector<std::filesystem::path> &inputs, const Task &task,
                   const ApplyOptions &options)
{
    const JobOptions job = jobOptions(options);
    const BatchPlan plan = planBatch(inputs, options.output, options.batch.name, task, job.output);
    watchInterrupts();
    const ResultFolder folder(options.output);
    makeKnown(folder, options);
    const PlannedPicture &first = plan.pictures.front();
    if (inputs.size() == 1 && first.job.input == inputs.front())
        runToldJob(first.job, stepsWithNames(task.stepsFor, first.names), job, options.telling);
    else
        runBatch(plan, task, job, options.telling, options.batch);
}

} // namespace

void runApply(std::span<const std::string> words, const ApplyOptions &options)
{
    const Chain chain = chainOf(words, options);
    runSteps(
        chain.inputs, {}, [&](void *) { return chain.steps; }, options);
}

void runSteps(const std::vector<std::filesystem::path> &inputs, const std::string &name,
              const StepsFor &stepsFor, const ApplyOptions &options)
{
    requireOutput(inputs, options);
    const Task task = taskOf(stepsFor, name, options);
    if (goesIntoFolder(inputs, options.output))
        return runIntoFolder(inputs, task, options);
    if (options.batch.name)
        throw Failure(ExitCode::Usage, "--name is for results in a folder: -o DIR/");
    runOne({inputs.front(), options.output}, task, options);
}

} // namespace velmont::cli
