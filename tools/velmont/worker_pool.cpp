#include "worker_pool.h"
#include "interrupt.h"
#include "notes.h"
#include "progress.h"
#include "text.h"
#include "worker_count.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmont::cli {

namespace {

/// How long a tick may take to come, in nanoseconds.
constexpr long kTick = 100'000'000;
/// Workers that die before they have a job tell of a system on which none will live.
constexpr std::size_t kMostIdleDeaths = 100;

/// Messages of workers: a letter and the rest.
constexpr char kSaid = 's', kDone = 'd', kFailed = 'f', kAborted = 'a';
/// A part of a message that is too long for the system to take at once; the rest follows.
constexpr char kPart = '+';
constexpr std::size_t kLongestPart = std::size_t{1} << 15;

std::string textOf(int error)
{
    return std::error_code(error, std::generic_category()).message();
}

bool sendMessage(int channel, std::string_view message)
{
    ssize_t sent = -1;
    do {
        sent = send(channel, message.data(), message.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

/// The next message. \return nothing when the other side is gone
std::optional<std::string> receiveMessage(int channel)
{
    const auto receive = [&](void *bytes, std::size_t count, int flags) {
        ssize_t got = -1;
        do {
            got = recv(channel, bytes, count, flags);
        } while (got < 0 && errno == EINTR);
        return got;
    };
    char first = 0;
    const ssize_t size = receive(&first, 1, MSG_PEEK | MSG_TRUNC);
    if (size <= 0)
        return std::nullopt;
    std::string message(static_cast<std::size_t>(size), '\0');
    if (receive(message.data(), message.size(), 0) != size)
        return std::nullopt;
    return message;
}

/// Both ends of a channel that keeps messages apart; closed when a program is started.
bool openChannel(std::array<int, 2> &ends)
{
    return socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0;
}

/// One side of the conversation in a worker. Without a parent there is nothing left to do.
class Parent {
public:
    explicit Parent(int channel) : channel_(channel) {}

    std::size_t nextJob() const
    {
        const auto message = receiveMessage(channel_);
        std::size_t job = 0;
        if (!message || message->size() != sizeof job)
            _exit(0);
        std::memcpy(&job, message->data(), sizeof job);
        return job;
    }
    void tell(char letter, std::string_view rest) const
    {
        for (; rest.size() > kLongestPart; rest.remove_prefix(kLongestPart))
            send(kPart, rest.substr(0, kLongestPart));
        send(letter, rest);
    }
    void tellFailure(ExitCode code, std::string_view line) const
    {
        const char number = static_cast<char>(code);
        tell(kFailed, concat(std::string_view(&number, 1), line));
    }

private:
    void send(char letter, std::string_view rest) const
    {
        if (!sendMessage(channel_, concat(std::string_view(&letter, 1), rest)))
            _exit(1);
    }

    int channel_;
};

void doJob(const WorkerPool::Work &work, const Parent &parent, std::size_t job)
{
    try {
        parent.tell(kDone, work(job));
    } catch (const Failure &failure) {
        if (failure.code() == ExitCode::Aborted)
            parent.tell(kAborted, {});
        else
            parent.tellFailure(failure.code(), failure.what());
    } catch (const std::bad_alloc &) {
        parent.tellFailure(ExitCode::NoResult, "out of memory");
    } catch (const std::exception &error) {
        parent.tellFailure(ExitCode::NoResult, error.what());
    }
}

std::string endText(int status)
{
    if (!WIFSIGNALED(status))
        return concat("its process ended with code ", std::to_string(WEXITSTATUS(status)));
    const char *const hint =
        WTERMSIG(status) == SIGKILL ? ", perhaps for want of memory; fewer --jobs take less" : "";
    return concat("its process was ended by signal ", std::to_string(WTERMSIG(status)), " (",
                  strsignal(WTERMSIG(status)), ")", hint);
}

int statusOf(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR)
        ;
    return status;
}

} // namespace

struct WorkerPool::Shared {
    std::atomic<bool> stop;                              ///< workers are to end in the middle of their job
    std::array<std::atomic<int>, kMostWorkers> progress; ///< as sendProgressTo counts
};

static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "processes share them");

WorkerPool::WorkerPool(unsigned workers, Work work, WorkerListener &listener)
    : work_(std::move(work)), listener_(listener), workers_(std::clamp(workers, 1u, kMostWorkers))
{
    void *const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    shared_ = new (memory) Shared{};
    // Interrupts come while this waits for messages, so that none is missed between a look at them and the wait.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, &signalsBefore_);
    // Whoever ignores the end of children has the system forget how they ended.
    std::signal(SIGCHLD, SIG_DFL);
}

WorkerPool::~WorkerPool()
{
    shared_->stop = true;
    for (const Worker &worker : workers_) {
        if (!worker.isAlive())
            continue;
        close(worker.channel);
        statusOf(worker.process);
    }
    sigprocmask(SIG_SETMASK, &signalsBefore_, nullptr);
    munmap(shared_, sizeof(Shared));
}

void WorkerPool::run(std::deque<std::size_t> jobs)
{
    jobs_ = std::move(jobs);
    while (!shared_->stop && (!jobs_.empty() || isAnyBusy())) {
        startWorkers();
        handOut();
        wait();
        if (interruptRequested())
            shared_->stop = true;
    }
    finish();
    if (shared_->stop)
        throw Failure(ExitCode::Aborted, "aborted");
}

std::vector<WorkerPool::Running> WorkerPool::running() const
{
    std::vector<Running> running;
    for (const Worker &worker : workers_)
        if (worker.job)
            running.push_back({*worker.job, progressOf(worker)});
    std::ranges::sort(running, {}, &Running::job);
    return running;
}

/// As many as there are jobs for.
void WorkerPool::startWorkers()
{
    std::size_t wanted = jobs_.size();
    for (Worker &worker : workers_) {
        if (wanted == 0)
            return;
        if (worker.job)
            continue;
        if (!worker.isAlive() && !startWorker(worker)) {
            if (!isAnyAlive())
                throw Failure(ExitCode::NoResult, concat("no process can be started: ", textOf(errno)));
            return;
        }
        --wanted;
    }
}

bool WorkerPool::startWorker(Worker &worker)
{
    std::array<int, 2> ends{};
    if (!openChannel(ends))
        return false;
    std::fflush(nullptr);
    const pid_t parent = getpid(), process = fork();
    if (process == 0) {
        close(ends[0]);
        becomeWorker(worker, ends[1], parent);
    }
    close(ends[1]);
    if (process < 0) {
        const int error = errno;
        close(ends[0]);
        errno = error;
        return false;
    }
    worker.process = process;
    worker.channel = ends[0];
    return true;
}

/// A worker ends with its parent, whatever that dies of. It holds no end of another's channel, or nobody would notice.
void WorkerPool::becomeWorker(const Worker &self, int channel, pid_t parent)
{
    for (const Worker &other : workers_)
        if (other.isAlive())
            close(other.channel);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent)
        _exit(1);
    sigprocmask(SIG_SETMASK, &signalsBefore_, nullptr);
    watchFlag(&shared_->stop);
    sendProgressTo(&progressOf(self));
    const Parent teller(channel);
    sendNotesTo([&](std::string_view line) { teller.tell(kSaid, line); });
    for (;;)
        doJob(work_, teller, teller.nextJob());
}

/// A worker that is gone already is found so by wait().
void WorkerPool::handOut()
{
    for (Worker &worker : workers_) {
        if (jobs_.empty())
            return;
        if (!worker.isAlive() || worker.job)
            continue;
        const std::size_t job = jobs_.front();
        progressOf(worker) = 0;
        if (!sendMessage(worker.channel, {reinterpret_cast<const char *>(&job), sizeof job}))
            continue;
        worker.job = job;
        jobs_.pop_front();
    }
}

/// Waits for messages, an interrupt or the next tick.
void WorkerPool::wait()
{
    std::vector<pollfd> channels;
    std::vector<Worker *> speakers;
    for (Worker &worker : workers_) {
        if (!worker.isAlive())
            continue;
        channels.push_back({worker.channel, POLLIN, 0});
        speakers.push_back(&worker);
    }
    listener_.tick();
    const timespec tick{0, kTick};
    if (ppoll(channels.data(), channels.size(), &tick, &signalsBefore_) > 0)
        for (std::size_t i = 0; i < channels.size(); ++i)
            if (channels[i].revents != 0)
                hear(*speakers[i]);
}

void WorkerPool::hear(Worker &worker)
{
    if (const auto message = receiveMessage(worker.channel))
        take(worker, *message);
    else
        bury(worker);
}

void WorkerPool::take(Worker &worker, std::string_view message)
{
    worker.heard += message.substr(1);
    if (message.front() == kPart)
        return;
    const std::string rest = std::exchange(worker.heard, {});
    if (message.front() == kSaid)
        return listener_.said(rest);
    const std::size_t job = std::exchange(worker.job, std::nullopt).value();
    if (message.front() == kDone)
        listener_.done(job, rest);
    else if (message.front() == kFailed)
        listener_.failed(job, static_cast<ExitCode>(rest.at(0)), rest.substr(1), 0);
    else
        shared_->stop = true;
}

/// What a worker was at when it died has failed; another takes its place.
void WorkerPool::bury(Worker &worker)
{
    close(worker.channel);
    const std::string end = endText(statusOf(worker.process));
    const pid_t process = std::exchange(worker.process, -1);
    worker.heard.clear();
    const auto job = std::exchange(worker.job, std::nullopt);
    if (job && !shared_->stop)
        listener_.failed(*job, ExitCode::NoResult, end, process);
    else if (!job && !jobs_.empty() && ++idleDeaths_ > kMostIdleDeaths)
        throw Failure(ExitCode::NoResult, concat("no process stays alive to work: ", end));
}

/// Lets all come to the end of what they do, and go.
void WorkerPool::finish()
{
    jobs_.clear();
    for (const Worker &worker : workers_)
        if (worker.isAlive())
            shutdown(worker.channel, SHUT_WR);
    while (isAnyAlive())
        wait();
}

bool WorkerPool::isAnyAlive() const
{
    return std::ranges::any_of(workers_, &Worker::isAlive);
}

bool WorkerPool::isAnyBusy() const
{
    return std::ranges::any_of(workers_, [](const Worker &worker) { return worker.job.has_value(); });
}

std::atomic<int> &WorkerPool::progressOf(const Worker &worker) const
{
    return shared_->progress[static_cast<std::size_t>(&worker - workers_.data())];
}

} // namespace velmont::cli
