// Makes and checks the list of golden digests.

#include "core/cpu.h"
#include "platform/memory.h"
#include "tests/effects/watching_host.h"
#include "tests/golden/list.h"
#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string_view>

namespace {

using namespace velmont;
using golden::Group;

constexpr int kBadUsage = 2;

int usage()
{
    std::cerr << "velmont_golden LIST [EFFECT...]    checks the list, or its lines of these effects\n"
                 "velmont_golden --write LIST        writes the list anew\n";
    return kBadUsage;
}

int write(const std::string &path, const std::vector<Group> &groups)
{
    limitCpuLevel(CpuLevel::Baseline);
    std::ofstream to(path, std::ios::binary);
    golden::writeList(to, groups);
    to.close();
    if (!to)
        std::cerr << path << ": cannot be written\n";
    return to ? 0 : 1;
}

/// Differences of all groups at the level that is set, and lines of the list that have no group.
std::vector<std::string> differencesAtThisLevel(const golden::List &list, const std::vector<Group> &groups)
{
    std::vector<std::string> all;
    for (const Group &group : groups) {
        const std::string key = golden::keyOf(group);
        const auto listed = list.find(key);
        const auto found = golden::differences(key, listed != list.end() ? listed->second : golden::Digests{},
                                               golden::digestsOf(group));
        all.insert(all.end(), found.begin(), found.end());
    }
    std::set<std::string> keys;
    std::transform(groups.begin(), groups.end(), std::inserter(keys, keys.end()), golden::keyOf);
    for (const auto &[key, digests] : list)
        if (!keys.contains(key))
            all.push_back(key + ": in the list only");
    return all;
}

int check(const golden::List &list, const std::vector<Group> &groups)
{
    constexpr std::size_t kMostShown = 60;
    bool isEqual = true;
    for (const CpuLevel level : testing::cpuLevels()) {
        limitCpuLevel(level);
        const std::vector<std::string> found = differencesAtThisLevel(list, groups);
        PrintTo(level, &std::cout);
        std::cout << ": " << groups.size() << " groups, " << found.size() << " differences\n";
        for (std::size_t i = 0; i < std::min(found.size(), kMostShown); ++i)
            std::cout << "    " << found[i] << '\n';
        if (found.size() > kMostShown)
            std::cout << "    and " << found.size() - kMostShown << " more\n";
        isEqual = isEqual && found.empty();
    }
    return isEqual ? 0 : 1;
}

/// Takes what belongs to other effects out.
void keepOnly(const std::set<std::string_view> &effects, golden::List &list, std::vector<Group> &groups)
{
    std::erase_if(groups, [&](const Group &group) { return !effects.contains(group.effect->name); });
    std::erase_if(list, [&](const auto &line) {
        return !effects.contains(std::string_view(line.first).substr(0, line.first.find(' ')));
    });
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    // Blocks with undefined contents hold a pattern, so that no digest depends on what lay in memory.
    memory_hooks::setFillByte(0xCD);
    if (arguments.empty())
        return usage();
    std::vector<Group> groups = golden::allGroups();
    if (arguments[0] == "--write")
        return arguments.size() == 2 ? write(arguments[1], groups) : usage();

    std::ifstream from(arguments[0], std::ios::binary);
    golden::List list = golden::readList(from);
    if (list.empty()) {
        std::cerr << arguments[0] << ": no list of golden digests\n";
        return 1;
    }
    const std::set<std::string_view> effects(arguments.begin() + 1, arguments.end());
    for (const std::string_view name : effects)
        if (!catalogue::findEffect(name)) {
            std::cerr << "there is no effect " << name << '\n';
            return kBadUsage;
        }
    if (!effects.empty())
        keepOnly(effects, list, groups);
    return check(list, groups);
}
