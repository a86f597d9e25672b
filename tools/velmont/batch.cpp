#include "batch.h"
#include "exit_codes.h"
#include "field_value.h"
#include "io/leftovers.h"
#include "notes.h"
#include "results.h"
#include "text.h"
#include "worker_count.h"
#include "worker_pool.h"
#include <algorithm>
#include <deque>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

/// Runs in a worker.
std::string runPicture(const PlannedPicture &picture, const Task &task, const JobOptions &options,
                       const TellingOptions &telling)
{
    const JobReport report = runJob(picture.job, stepsWithNames(task.stepsFor, picture.names), options);
    if (telling.timing)
        for (const std::string &line : timingLines(report))
            say(line);
    return toJson(report).dump();
}

/// Whether a line names an image, as in "a.png: ..." or "blur: a.png is ...".
bool isAbout(const std::string &line, const std::string &input)
{
    return line.starts_with(input + ": ") || line.find(concat(": ", input, ": ")) != std::string::npos ||
           line.find(concat(": ", input, " ")) != std::string::npos;
}

/// Tells of a batch while it runs and in the end.
class Teller : public WorkerListener {
public:
    Teller(const BatchPlan &plan, const Task &task, const JobOptions &options, const TellingOptions &telling)
        : pictures_(plan.pictures), task_(task), telling_(telling), line_(!options.run.quiet),
          verb_(options.dryRun ? "checked" : "written"), results_(pictures_.size()),
          failures_(pictures_.size())
    {
    }

    void watch(const WorkerPool &pool) { pool_ = &pool; }

    void said(const std::string &line) override
    {
        line_.clear();
        say(line);
    }
    void done(std::size_t job, const std::string &report) override
    {
        results_[job] = Json::parse(report);
        ++done_;
    }
    void failed(std::size_t job, ExitCode code, const std::string &line, pid_t process) override
    {
        const fs::path &input = pictures_[job].job.input;
        const std::string whole = isAbout(line, input.string()) ? line : concat(input.string(), ": ", line);
        if (process > 0)
            io::removeLeftovers(pictures_[job].job.output.parent_path(), process);
        failures_[job] = toJson(JobFailure{input, static_cast<int>(code), whole});
        ++failed_;
        line_.clear();
        sayError(whole);
    }
    void tick() override
    {
        if (!line_.isVisible() || !pool_)
            return;
        const auto running = pool_->running();
        const std::string name =
            running.empty() ? "" : pictures_[running.front().job].job.input.filename().string();
        line_.show(
            batchLine(done_ + failed_, pictures_.size(), percent(running), name, StatusLine::columns()));
    }

    /// What goes to standard output, in the order of the plan.
    void tellResults()
    {
        line_.clear();
        if (telling_.json)
            return print(resultsText(given(results_), given(failures_)));
        for (const auto &result : results_)
            if (result && result->contains("plan"))
                for (const Json &line : (*result)["plan"])
                    print(concat(line.get<std::string>(), "\n"));
    }

    bool hasFailures() const { return failed_ > 0; }
    std::string summary() const
    {
        const std::string total = std::to_string(pictures_.size());
        return concat(std::to_string(done_), " of ", total, total == "1" ? " image " : " images ", verb_);
    }
    std::string failureCount() const { return concat(std::to_string(failed_), " failed"); }

private:
    static std::vector<Json> given(const std::vector<std::optional<Json>> &objects)
    {
        std::vector<Json> list;
        for (const auto &object : objects)
            if (object)
                list.push_back(*object);
        return list;
    }

    int percent(const std::vector<WorkerPool::Running> &running) const
    {
        const std::size_t whole = std::max<std::size_t>(task_.steps, 1) * 100;
        std::size_t hundredths = (done_ + failed_) * whole;
        for (const WorkerPool::Running &job : running)
            hundredths += std::min(static_cast<std::size_t>(job.hundredths), whole);
        return static_cast<int>(hundredths * 100 / (whole * pictures_.size()));
    }

    const std::vector<PlannedPicture> &pictures_;
    const Task &task_;
    const TellingOptions &telling_;
    StatusLine line_;
    std::string verb_;
    std::vector<std::optional<Json>> results_, failures_;
    std::size_t done_ = 0, failed_ = 0;
    const WorkerPool *pool_ = nullptr;
};

/// Those that can be worked on; of the others the trouble is told.
std::deque<std::size_t> jobsOf(const BatchPlan &plan, Teller &teller)
{
    std::deque<std::size_t> jobs;
    for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
        if (plan.pictures[i].problem.empty())
            jobs.push_back(i);
        else
            teller.failed(i, ExitCode::Input, plan.pictures[i].problem, 0);
    }
    return jobs;
}

unsigned workersOf(const BatchPlan &plan, const BatchOptions &options)
{
    const std::size_t images = std::max<std::size_t>(plan.pictures.size(), 1);
    if (options.workers)
        return static_cast<unsigned>(std::min<std::size_t>(*options.workers, images));
    std::vector<fs::path> inputs;
    for (const PlannedPicture &picture : plan.pictures)
        inputs.push_back(picture.job.input);
    return workersFor(inputs);
}

} // namespace

unsigned parseWorkers(const std::string &text)
{
    bool outOfRange = false;
    const auto workers = parseWhole(text, outOfRange);
    const std::string range = concat("a whole number from 1 to ", std::to_string(kMostWorkers));
    if (outOfRange || (workers && (*workers < 1 || *workers > kMostWorkers)))
        throw Failure(ExitCode::Usage, concat("--jobs=", text, " is out of range: ", range));
    if (!workers)
        throw Failure(ExitCode::Usage, concat("--jobs=", text, " is not understood: ", range));
    return static_cast<unsigned>(*workers);
}

ResultFolder::ResultFolder(fs::path folder)
{
    if (!folder.has_filename())
        folder = folder.parent_path();
    std::error_code error;
    std::vector<fs::path> missing;
    for (fs::path path = folder; !path.empty() && !fs::exists(path, error); path = path.parent_path())
        missing.push_back(path);
    for (; !missing.empty(); missing.pop_back()) {
        if (!fs::create_directory(missing.back(), error) && error)
            throw Failure(ExitCode::Output,
                          concat(missing.back().string(), ": the folder cannot be made: ", error.message()));
        made_.push_back(missing.back());
    }
}

ResultFolder::~ResultFolder()
{
    std::error_code ignored;
    for (; !made_.empty(); made_.pop_back())
        fs::remove(made_.back(), ignored);
}

std::string batchLine(std::size_t done, std::size_t total, int percent, std::string_view name,
                      std::size_t columns)
{
    constexpr std::size_t longestBar = 20, frame = 8;
    const std::string title = concat(std::to_string(done), "/", std::to_string(total), " images");
    const std::string bar =
        progressLine(title, percent, std::min(columns, title.size() + frame + longestBar));
    if (columns < bar.size() + 2)
        return bar;
    const std::string shown = printable(name);
    return concat(bar, " ", cutToColumns(shown, columns - bar.size() - 1));
}

void runBatch(const BatchPlan &plan, const Task &task, const JobOptions &options,
              const TellingOptions &telling, const BatchOptions &batch)
{
    Teller teller(plan, task, options, telling);
    try {
        const std::deque<std::size_t> jobs = jobsOf(plan, teller);
        WorkerPool pool(
            workersOf(plan, batch),
            [&](std::size_t job) { return runPicture(plan.pictures[job], task, options, telling); }, teller);
        teller.watch(pool);
        pool.run(jobs);
    } catch (const Failure &failure) {
        teller.tellResults();
        throw Failure(failure.code(), concat(failure.what(), "; ", teller.summary()));
    }
    teller.tellResults();
    if (teller.hasFailures())
        throw Failure(ExitCode::SomeFailed, concat(teller.summary(), "; ", teller.failureCount()));
}

} // namespace velmont::cli
