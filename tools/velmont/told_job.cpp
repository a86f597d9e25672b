#include "told_job.h"
#include "exit_codes.h"
#include "notes.h"
#include "results.h"
#include "standard_streams.h"
#include "text.h"
#include <nlohmann/json.hpp>

namespace velmont::cli {

namespace {

void tellFailure(const PictureJob &job, const Failure &failure, const TellingOptions &telling)
{
    if (telling.json)
        print(resultsText({},
                          {toJson(JobFailure{job.input, static_cast<int>(failure.code()), failure.what()})}));
}

void tellResult(const JobReport &report, const TellingOptions &telling)
{
    if (telling.timing)
        for (const std::string &line : timingLines(report))
            say(line);
    if (telling.json)
        return print(resultsText({toJson(report)}, {}));
    for (const std::string &line : report.plan)
        print(concat(line, "\n"));
}

} // namespace

void checkTelling(const std::filesystem::path &output, const TellingOptions &options)
{
    if (options.json && isStandardStream(output))
        throw Failure(ExitCode::Usage, "--json and -o - both want standard output; name a file with -o FILE");
}

void runToldJob(const PictureJob &job, const StepsFor &stepsFor, const JobOptions &options,
                const TellingOptions &telling)
{
    JobReport report;
    try {
        report = runJob(job, stepsFor, options);
    } catch (const Failure &failure) {
        tellFailure(job, failure, telling);
        throw;
    }
    tellResult(report, telling);
}

} // namespace velmont::cli
