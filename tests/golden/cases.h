#pragma once

/// \file
/// What golden digests are made of: every effect at every depth that it takes, with every field at its limits.

#include "catalogue/effect.h"
#include "tests/golden/pictures.h"
#include <string>
#include <vector>

namespace velmont::golden {

struct Size {
    int width, height;
};

/// One digest: runs with one record on some pictures.
struct Case {
    std::string name; ///< without spaces and '='
    catalogue::Record record;
    std::vector<Size> sizes;
    int abortAtPoll = 0; ///< 0 none
};

/// The cases of one line of the list.
struct Group {
    const catalogue::Effect *effect;
    const Kind *kind;
    std::string name; ///< without spaces
    std::vector<Case> cases;
};

/// Every group of the list, in its order.
std::vector<Group> allGroups();

} // namespace velmont::golden
