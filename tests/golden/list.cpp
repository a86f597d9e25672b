#include "tests/golden/list.h"
#include "tests/golden/run.h"
#include <cstdio>
#include <istream>
#include <ostream>
#include <sstream>

namespace velmont::golden {

namespace {

constexpr const char *kHeading = "# Golden digests: effect, depth, group, then a digest for each case.\n"
                                 "# Made by velmont_golden; CONTRIBUTING.md says when and how to renew it.\n";

std::string asText(uint32_t digest)
{
    char text[9];
    std::snprintf(text, sizeof text, "%08lx", static_cast<unsigned long>(digest));
    return text;
}

} // namespace

std::string keyOf(const Group &group)
{
    std::string key(group.effect->name);
    return key.append(" ").append(group.kind->name).append(" ").append(group.name);
}

Digests digestsOf(const Group &group)
{
    Digests digests;
    for (const Case &one : group.cases)
        digests[one.name] = asText(digestOf(group, one));
    return digests;
}

void writeList(std::ostream &to, const std::vector<Group> &groups)
{
    to << kHeading;
    for (const Group &group : groups) {
        const Digests digests = digestsOf(group);
        to << keyOf(group);
        for (const Case &one : group.cases)
            to << ' ' << one.name << '=' << digests.at(one.name);
        to << '\n';
    }
}

List readList(std::istream &from)
{
    List list;
    for (std::string line; std::getline(from, line);) {
        std::istringstream words(line);
        std::string effect, kind, group;
        if (line.starts_with('#') || !(words >> effect >> kind >> group))
            continue;
        Digests &digests = list[effect.append(" ").append(kind).append(" ").append(group)];
        for (std::string word; words >> word;) {
            const std::size_t equals = word.find('=');
            if (equals != std::string::npos)
                digests[word.substr(0, equals)] = word.substr(equals + 1);
        }
    }
    return list;
}

std::vector<std::string> differences(const std::string &key, const Digests &listed, const Digests &now)
{
    std::vector<std::string> all;
    const auto note = [&](const std::string &name, const std::string &what) {
        std::string sentence(key);
        all.push_back(sentence.append(" ").append(name).append(": ").append(what));
    };
    for (const auto &[name, digest] : now) {
        const auto found = listed.find(name);
        if (found == listed.end())
            note(name, "not in the list");
        else if (found->second != digest)
            note(name, std::string(digest).append(", in the list ").append(found->second));
    }
    for (const auto &[name, digest] : listed)
        if (!now.contains(name))
            note(name, "in the list only");
    return all;
}

} // namespace velmont::golden
