#include "picture_job.h"
#include "exit_codes.h"

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

io::Picture readInput(const fs::path &input)
{
    try {
        return io::readPicture(input);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Input, error.what());
    }
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

void runJob(const PictureJob &job, const StepsFor &stepsFor, const JobOptions &options)
{
    const std::string name = job.input.string();
    io::Picture picture = readInput(job.input);
    const std::vector<Step> steps = stepsFor(picture.dib.get());
    checkOutputs(outputsOf(job, steps), options.output.force);
    Selection selection(picture, options.selection, name);
    Runner runner(picture, name, options.run);
    runner.run(steps);
    selection.compose(picture);
    writeOutput(picture, job.output, options.output);
    for (NamedPicture &made : runner.made())
        writeOutput(made.picture, made.file, options.output);
}

} // namespace velmont::cli
