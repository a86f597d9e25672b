#pragma once

/// \file
/// A host that writes down what it sees of the library.

#include <cstddef>
#include <string>
#include <vector>

namespace velmont::testing {

/// Installs callbacks and platform services for as long as it lives and notes every call, in order: "wait",
/// "arrow" (cursors), "poll" (abort), "12%" (progress). The environment is as at the start of the process
/// afterwards.
class RecordingHost {
public:
    RecordingHost();
    ~RecordingHost();
    RecordingHost(const RecordingHost &) = delete;
    RecordingHost &operator=(const RecordingHost &) = delete;

    /// The n-th poll (1 is the first) and those after it answer `answer`; 0 polls: none does.
    void abortFromPoll(int n, int answer = 1);
    /// Takes the abort callback away, so that the Escape key is asked.
    void useEscapeKey(short state);

    std::vector<std::string> events;
    /// How often an event was noted.
    int count(const std::string &event) const;
    int polls() const { return count("poll"); }
    /// The percentages reported.
    std::vector<int> progress() const;
};

/// Checks at its end that as many blocks and locks are alive as at its start.
class NothingLost {
public:
    NothingLost();
    ~NothingLost();

private:
    long blocks_, locks_;
};

} // namespace velmont::testing
