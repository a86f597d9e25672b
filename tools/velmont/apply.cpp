#include "apply.h"
#include "exit_codes.h"
#include "interrupt.h"

namespace velmont::cli {

namespace {

JobOptions jobOptions(const ApplyOptions &options)
{
    return {{options.force, options.jpegQuality, options.run.quiet, options.format},
            options.selection,
            options.run,
            options.dryRun};
}

void requireOutput(const ApplyOptions &options)
{
    if (options.output.empty())
        throw Failure(ExitCode::Usage, "no output is given: -o FILE");
    checkTelling(options.output, options.telling);
}

} // namespace

void runApply(std::span<const std::string> words, const ApplyOptions &options)
{
    const Chain chain = parseChain(words, catalogue::effects());
    requireOutput(options);
    const PictureJob job{chain.input, options.output};
    checkOutputs(outputsOf(job, chain.steps), jobOptions(options).output);
    watchInterrupts();
    runToldJob(
        job, [&](void *) { return chain.steps; }, jobOptions(options), options.telling);
}

void runSteps(const std::filesystem::path &input, const StepsFor &stepsFor, const ApplyOptions &options)
{
    requireOutput(options);
    const PictureJob job{input, options.output};
    checkOutputs({&job.output, 1}, jobOptions(options).output);
    watchInterrupts();
    runToldJob(job, stepsFor, jobOptions(options), options.telling);
}

} // namespace velmont::cli
