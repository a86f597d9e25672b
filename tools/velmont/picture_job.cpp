#include "picture_job.h"
#include "dry_run.h"
#include "input_file.h"
#include "kept_notes.h"
#include "notes.h"
#include "standard_streams.h"
#include "stopwatch.h"
#include "text.h"

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

/// The result of a task and how long it took.
template <typename Task>
auto timed(double &seconds, const Task &task)
{
    const Stopwatch watch;
    auto result = task();
    seconds += watch.seconds();
    return result;
}

void writeAll(io::Picture &picture, Runner &runner, const fs::path &output, const OutputOptions &options)
{
    writeOutput(picture, output, options);
    for (NamedPicture &made : runner.made())
        writeOutput(made.picture, made.file, besides(options));
}

void runSteps(io::Picture &picture, const std::vector<Step> &steps, const JobOptions &options,
              JobReport &report)
{
    const std::string name = inputName(report.input);
    Selection selection(picture, steps, options.selection, options.run, name);
    Runner runner(picture, name, options.run);
    runner.run(steps);
    selection.compose(picture);
    report.steps = runner.times();
    report.after = shapeOf(picture.dib.get());
    for (const NamedPicture &made : runner.made())
        report.made.push_back(made.file);
    if (options.inspect)
        options.inspect(picture);
    const Stopwatch watch;
    writeAll(picture, runner, report.output, options.output);
    report.writeSeconds = watch.seconds();
}

} // namespace

std::vector<fs::path> outputsOf(const PictureJob &job, const std::vector<Step> &steps)
{
    std::vector<fs::path> outputs{job.output};
    for (const Step &step : steps)
        for (const OperandFile &given : step.operands)
            if (given.operand->isResult)
                outputs.push_back(given.file);
    return outputs;
}

JobReport runJob(const PictureJob &job, const StepsFor &stepsFor, const JobOptions &options)
{
    const KeptNotes notes;
    const Stopwatch watch;
    JobReport report;
    report.input = job.input;
    report.output = job.output;
    io::Picture picture = timed(report.readSeconds, [&] { return readInput(job.input, options.run.decode); });
    if (!options.run.quiet)
        for (const std::string &notice : picture.notices)
            say(concat(inputName(job.input), ": ", notice));
    report.before = report.after = shapeOf(picture.dib.get());
    const std::vector<Step> steps = stepsFor(picture.dib.get());
    checkOutputs(outputsOf(job, steps), options.output);
    if (options.dryRun)
        planSteps(picture, steps, options, report);
    else
        runSteps(picture, steps, options, report);
    report.notes = notes.lines();
    report.seconds = watch.seconds();
    return report;
}

} // namespace velmont::cli
