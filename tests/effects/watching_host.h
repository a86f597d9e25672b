#pragma once

/// \file
/// A host that looks at the memory service while it is called, and what the tests of effects share.

#include "core/cpu.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include <ostream>
#include <string>
#include <vector>

namespace velmont {

/// A kernel level's name in test output.
void PrintTo(CpuLevel level, std::ostream *out);

} // namespace velmont

namespace velmont::testing {

/// What a host finds when it is called.
struct Sight {
    std::string event; ///< as RecordingHost names it
    int sourceLocks;   ///< locks on the image watched
    long blocks;       ///< blocks alive beyond those at the start
    long locks;        ///< locks held beyond those at the start

    bool operator==(const Sight &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Sight &sight);

/// Installs callbacks that note a sight at each call. The n-th poll alone answers 1, where one is ordered.
/// The environment is as at the start of the process afterwards.
class WatchingHost {
public:
    explicit WatchingHost(void *source, int abortAtPoll = 0);
    ~WatchingHost();
    WatchingHost(const WatchingHost &) = delete;
    WatchingHost &operator=(const WatchingHost &) = delete;

    std::vector<Sight> sights;
    /// The events alone.
    std::vector<std::string> events() const;
};

using Events = std::vector<std::string>;

/// The levels of this machine, the plain one first.
std::vector<CpuLevel> cpuLevels();

/// Brings levels, ordered failures and the fill pattern back to what the tests start with.
class Restore {
public:
    Restore() = default;
    ~Restore();
    Restore(const Restore &) = delete;
    Restore &operator=(const Restore &) = delete;
};

/// One bit or one nibble of a packed row, worked out for itself.
int bitAt(const uint8_t *row, int x);
int nibbleAt(const uint8_t *row, int x);

} // namespace velmont::testing
