#pragma once

/// \file
/// Work shared among processes. A process of its own for each core, because the library runs one effect at a time in
/// a process; and what goes wrong with one image, down to a process that is killed, leaves the others alone.

#include "exit_codes.h"
#include <atomic>
#include <csignal>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace velmont::cli {

/// What the parent hears of its workers.
class WorkerListener {
public:
    virtual ~WorkerListener() = default;
    /// A line that a worker says.
    virtual void said(const std::string &line) = 0;
    /// A job is done. \param report what the work returned
    virtual void done(std::size_t job, const std::string &report) = 0;
    /// A job failed. \param process the worker if it died of the job, else 0
    virtual void failed(std::size_t job, ExitCode code, const std::string &line, pid_t process) = 0;
    /// Comes now and then while there is work, and after all of the above.
    virtual void tick() = 0;
};

/// Hands jobs out to worker processes. They are handed out one by one, in order, to whoever is free.
class WorkerPool {
public:
    /// Runs in a worker: does a job and returns a report, or throws.
    using Work = std::function<std::string(std::size_t job)>;

    /// \param workers how many at a time, 1 to kMostWorkers
    WorkerPool(unsigned workers, Work work, WorkerListener &listener);
    /// Ends workers that are left.
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    /// Does these jobs. An interrupt (watchInterrupts) ends all workers in an orderly way.
    /// \throws Failure with ExitCode::Aborted after an interrupt, ExitCode::NoResult when no process can be started
    void run(std::deque<std::size_t> jobs);

    /// The jobs in work and how far each is, as sendProgressTo counts, the longest running first.
    struct Running {
        std::size_t job;
        int hundredths;
    };
    std::vector<Running> running() const;

private:
    /// Memory that all processes see.
    struct Shared;
    struct Worker {
        pid_t process = -1;
        int channel = -1; ///< messages both ways
        std::optional<std::size_t> job;
        std::string heard; ///< of a message that comes in parts

        bool isAlive() const { return process > 0; }
    };

    void startWorkers();
    bool startWorker(Worker &worker);
    [[noreturn]] void becomeWorker(const Worker &worker, int channel, pid_t parent);
    void handOut();
    void wait();
    void hear(Worker &worker);
    void take(Worker &worker, std::string_view message);
    void bury(Worker &worker);
    void finish();
    bool isAnyAlive() const;
    bool isAnyBusy() const;
    std::atomic<int> &progressOf(const Worker &worker) const;

    Work work_;
    WorkerListener &listener_;
    std::deque<std::size_t> jobs_;
    std::vector<Worker> workers_;
    std::size_t idleDeaths_ = 0;
    Shared *shared_;
    sigset_t signalsBefore_;
};

} // namespace velmont::cli
