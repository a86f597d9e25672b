#include "tests/effects/watching_host.h"
#include "platform/memory.h"
#include <velmont/environment.h>
#include <velmont/platform.h>

namespace velmont {

void PrintTo(CpuLevel level, std::ostream *out)
{
    *out << (level == CpuLevel::Baseline ? "Baseline" : level == CpuLevel::Avx2 ? "Avx2" : "Avx512");
}

} // namespace velmont

namespace velmont::testing {

namespace {

WatchingHost *current = nullptr;
void *watched = nullptr;
long blocksAtStart = 0, locksAtStart = 0;
int pollNumber = 0, abortingPoll = 0;

void note(const std::string &event)
{
    const memory_hooks::Counts counts = memory_hooks::counts();
    current->sights.push_back(
        {event, memory_hooks::locksOn(watched), counts.blocks - blocksAtStart, counts.locks - locksAtStart});
}

int poll()
{
    note("poll");
    return ++pollNumber == abortingPoll ? 1 : 0;
}

void showProgress(int percent)
{
    note(std::to_string(percent) + "%");
}

void noteCursor(void *, int cursor)
{
    note(cursor == VELMONT_CURSOR_WAIT ? "wait" : cursor == VELMONT_CURSOR_ARROW ? "arrow" : "cursor");
}

} // namespace

std::ostream &operator<<(std::ostream &out, const Sight &sight)
{
    return out << sight.event << " (source locks " << sight.sourceLocks << ", blocks " << sight.blocks
               << ", locks " << sight.locks << ")";
}

WatchingHost::WatchingHost(void *source, int abortAtPoll)
{
    current = this;
    watched = source;
    blocksAtStart = memory_hooks::counts().blocks;
    locksAtStart = memory_hooks::counts().locks;
    pollNumber = 0;
    abortingPoll = abortAtPoll;
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.setCursor = noteCursor;
    VelmontInstallPlatformServices(&services);
    SetProcessEnvironment(poll, showProgress);
}

WatchingHost::~WatchingHost()
{
    SetProcessEnvironment(nullptr, nullptr);
    VelmontInstallPlatformServices(nullptr);
    current = nullptr;
}

std::vector<std::string> WatchingHost::events() const
{
    std::vector<std::string> events;
    for (const Sight &sight : sights)
        events.push_back(sight.event);
    return events;
}

std::vector<CpuLevel> cpuLevels()
{
    limitCpuLevel(CpuLevel::Avx512);
    std::vector<CpuLevel> levels;
    for (const CpuLevel level : {CpuLevel::Baseline, CpuLevel::Avx2, CpuLevel::Avx512})
        if (level <= cpuLevel())
            levels.push_back(level);
    return levels;
}

Restore::~Restore()
{
    limitCpuLevel(CpuLevel::Avx512);
    memory_hooks::failAllocation(0);
    memory_hooks::failLock(0);
    memory_hooks::setFillByte(0xCD);
    memory_hooks::keepFreedBlocks(true);
}

int bitAt(const uint8_t *row, int x)
{
    return (row[x / 8] & (1 << (7 - x % 8))) != 0 ? 1 : 0;
}

int nibbleAt(const uint8_t *row, int x)
{
    return x % 2 == 0 ? row[x / 2] / 16 : row[x / 2] % 16;
}

} // namespace velmont::testing
