#include "apply.h"
#include "exit_codes.h"
#include "interrupt.h"

namespace velmont::cli {

namespace {

JobOptions jobOptions(const ApplyOptions &options)
{
    return {{options.force, options.jpegQuality, options.run.quiet, options.format},
            {options.mask},
            options.run,
            options.dryRun};
}

void requireOutput(const ApplyOptions &options)
{
    if (options.output.empty())
        throw Failure(ExitCode::Usage, "no output is given: -o FILE");
    checkTelling(options.output, options.telling);
}

/// The effects of a recipe and the image of the words, or both of the words.
Chain chainOf(std::span<const std::string> words, const ApplyOptions &options)
{
    if (options.recipe.empty())
        return parseChain(words, catalogue::effects());
    requireImages(words, catalogue::effects());
    if (words.size() != 1 || words.front().empty())
        throw Failure(ExitCode::Usage, "apply --recipe needs one image");
    return {options.recipe, words.front()};
}

} // namespace

void runApply(std::span<const std::string> words, const ApplyOptions &options)
{
    const Chain chain = chainOf(words, options);
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
