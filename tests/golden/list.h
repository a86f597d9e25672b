#pragma once

/// \file
/// The list of golden digests as text: a line for each group, "effect depth group case=digest case=digest ...".

#include "tests/golden/cases.h"
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace velmont::golden {

/// The digests of one line, by case, as they are written.
using Digests = std::map<std::string, std::string>;
/// The lines, by "effect depth group".
using List = std::map<std::string, Digests>;

/// How a group's line starts.
std::string keyOf(const Group &group);
/// Runs a group.
Digests digestsOf(const Group &group);

/// Writes the lines of all groups, in their order, below a heading.
void writeList(std::ostream &to, const std::vector<Group> &groups);
/// Reads what writeList() wrote.
List readList(std::istream &from);

/// What differs between a line of the list and the same group now, a sentence for each case.
std::vector<std::string> differences(const std::string &key, const Digests &listed, const Digests &now);

} // namespace velmont::golden
