#include "tests/golden/cases.h"
#include "catalogue/fitted_operands.h"
#include <algorithm>

namespace velmont::golden {

namespace {

using catalogue::Effect, catalogue::Field, catalogue::Record;

/// The sizes at which records other than the default are tried.
std::vector<Size> trialSizes(const Effect &effect)
{
    return {{41, 27}, {std::max(18, effect.smallestSide), std::max(3, effect.smallestSide)}};
}

std::string nameOf(const Size &size)
{
    return std::to_string(size.width).append("x").append(std::to_string(size.height));
}

/// The default record on pictures of a pixel, a row and a column, and around the widths of vectors.
Group sizeGroup(const Effect &effect, const Kind &kind)
{
    std::vector<Size> sizes{{1, 1}, {2, 1}, {1, 2}, {2, 2}, {33, 1}, {1, 33}, {65, 2}, {2, 65}};
    for (const int width : {1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65})
        sizes.push_back({std::max(width, effect.smallestSide), std::max(3, effect.smallestSide)});
    Group group{&effect, &kind, "sizes", {}};
    for (const Size &size : sizes)
        group.cases.push_back({nameOf(size), catalogue::defaultRecord(effect), {size}});
    // Where small sides are raised to the smallest they come out equal.
    const auto equal = [](const Case &a, const Case &b) { return a.name == b.name; };
    group.cases.erase(std::unique(group.cases.begin(), group.cases.end(), equal), group.cases.end());
    return group;
}

Group largeGroup(const Effect &effect, const Kind &kind)
{
    constexpr Size kLarge{200, 150};
    return {&effect, &kind, "large", {{nameOf(kLarge), catalogue::defaultRecord(effect), {kLarge}}}};
}

Group abortGroup(const Effect &effect, const Kind &kind)
{
    // Tall enough for effects that poll every so many rows.
    constexpr Size kTall{9, 150};
    Group group{&effect, &kind, "aborted", {}};
    for (const int poll : {1, 2, 5})
        group.cases.push_back(
            {"at-poll-" + std::to_string(poll), catalogue::defaultRecord(effect), {kTall}, poll});
    return group;
}

double heldValue(const Effect &effect, const Field &field, double value)
{
    return catalogue::heldForTrial(effect, field, value);
}

/// Each choice of a field, or its limits and the middle between them, and a step beyond the limits; the other fields at
/// their defaults.
Group fieldGroup(const Effect &effect, const Kind &kind, const Field &field)
{
    Group group{&effect, &kind, std::string(field.name), {}};
    const auto add = [&](std::string_view name, double value) {
        Case one{std::string(name), catalogue::defaultRecord(effect), trialSizes(effect)};
        field.store(one.record.bytes.data(), heldValue(effect, field, value));
        group.cases.push_back(one);
    };
    for (const catalogue::Choice &choice : field.choices)
        add(choice.name, choice.value);
    if (field.choices.empty()) {
        add("least", field.minimum);
        add("halfway", field.minimum + (field.maximum - field.minimum) / 2);
        add("greatest", field.maximum);
    }
    add("below", field.minimum - 1);
    add("above", field.maximum + 1);
    return group;
}

/// All fields at once: at their least values, at their greatest.
Group extremesGroup(const Effect &effect, const Kind &kind)
{
    Group group{&effect, &kind, "all-fields", {}};
    const auto add = [&](std::string_view name, double Field::*value) {
        Case one{std::string(name), catalogue::defaultRecord(effect), trialSizes(effect)};
        for (const Field &field : effect.fields)
            field.store(one.record.bytes.data(), heldValue(effect, field, field.*value));
        group.cases.push_back(one);
    };
    add("least", &Field::minimum);
    add("greatest", &Field::maximum);
    return group;
}

} // namespace

std::vector<Group> allGroups()
{
    std::vector<Group> all;
    for (const Effect &effect : catalogue::effects())
        for (const Kind &kind : kinds()) {
            if (((effect.depths | effect.blankDepths | effect.otherDepths) & kind.depth) == 0)
                continue;
            all.push_back(sizeGroup(effect, kind));
            all.push_back(largeGroup(effect, kind));
            if (kind.isVariant)
                continue;
            all.push_back(abortGroup(effect, kind));
            for (const Field &field : effect.fields)
                all.push_back(fieldGroup(effect, kind, field));
            if (effect.fields.size() > 1)
                all.push_back(extremesGroup(effect, kind));
        }
    return all;
}

} // namespace velmont::golden
