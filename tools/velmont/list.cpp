#include "list.h"
#include "exit_codes.h"
#include "field_value.h"
#include "nearest_name.h"
#include "text.h"
#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

namespace velmont::cli {

namespace {

using catalogue::Effect;
using catalogue::Field;
using catalogue::FieldType;
using Json = nlohmann::ordered_json;

std::string_view typeName(FieldType type)
{
    switch (type) {
    case FieldType::Int32:
        return "int32";
    case FieldType::UInt32:
        return "uint32";
    case FieldType::Float:
        return "float";
    case FieldType::Bytes:
        return "bytes";
    case FieldType::Double:
        break;
    }
    return "double";
}

/// Fields of whole numbers have whole numbers.
Json numberOf(const Field &field, double value)
{
    return isWhole(field) ? Json(static_cast<long long>(value)) : Json(value);
}

Json choicesOf(const Field &field)
{
    Json choices = Json::array();
    for (const catalogue::Choice &choice : field.choices)
        choices.push_back({{"name", choice.name}, {"value", choice.value}});
    return choices;
}

Json fieldsOf(const Effect &effect)
{
    Json fields = Json::array();
    for (const Field &field : effect.fields) {
        fields.push_back({{"name", field.name},
                          {"type", typeName(field.type)},
                          {"unit", field.unit},
                          {"min", numberOf(field, field.minimum)},
                          {"max", numberOf(field, field.maximum)},
                          {"default", numberOf(field, field.defaultValue)},
                          {"help", field.help},
                          {"choices", choicesOf(field)}});
    }
    return fields;
}

Json operandsOf(const Effect &effect)
{
    Json operands = Json::array();
    for (const catalogue::Operand &operand : effect.operands) {
        operands.push_back({{"name", operand.name},
                            {"kind", catalogue::kindName(operand.kind)},
                            {"result", operand.isResult},
                            {"help", operand.help}});
    }
    return operands;
}

Json depthsOf(const Effect &effect)
{
    Json depths = Json::array();
    for (const catalogue::Depth depth : {catalogue::Depth1, catalogue::Depth4, catalogue::Depth8Gray,
                                         catalogue::Depth8Paletted, catalogue::Depth24}) {
        if (effect.depths & depth)
            depths.push_back(catalogue::depthName(depth));
    }
    return depths;
}

std::string codeText(const Effect &effect)
{
    return effect.code ? std::to_string(*effect.code) : "-";
}

std::string padding(std::size_t used, std::size_t width)
{
    return std::string(width - std::min(used, width), ' ');
}

Json objectOf(const Effect &effect)
{
    return {{"name", effect.name},
            {"export", effect.exportName},
            {"code", effect.code ? Json(*effect.code) : Json()},
            {"family", catalogue::familyName(effect.family)},
            {"help", effect.help},
            {"record", effect.recordName},
            {"fields", fieldsOf(effect)},
            {"operands", operandsOf(effect)},
            {"depths", depthsOf(effect)},
            {"random", effect.random}};
}

using Effects = std::vector<const Effect *>;

/// "tone" of "tone and colour".
std::string_view firstWord(std::string_view name)
{
    return name.substr(0, name.find(' '));
}

void requireFamily(const std::string &family)
{
    const auto words = familyWords();
    const bool known = family.empty() || std::ranges::find(words, family) != words.end() ||
                       std::ranges::any_of(catalogue::effects(), [&](const Effect &effect) {
                           return catalogue::familyName(effect.family) == family;
                       });
    if (known)
        return;
    const std::string near = didYouMean(family, words);
    throw Failure(ExitCode::Usage, concat("there is no family ", inQuotes(family),
                                          near.empty() ? concat("; there are ", joined(words)) : near));
}

bool contains(std::string_view text, std::string_view part)
{
    const auto sameLetter = [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    };
    return !std::ranges::search(text, part, sameLetter).empty() || part.empty();
}

bool matches(const Effect &effect, const ListRequest &request)
{
    const std::string_view family = catalogue::familyName(effect.family);
    return (request.family.empty() || request.family == family || request.family == firstWord(family)) &&
           (contains(effect.name, request.search) || contains(effect.exportName, request.search) ||
            contains(effect.help, request.search));
}

Effects wantedEffects(const ListRequest &request)
{
    requireFamily(request.family);
    Effects wanted;
    for (const Effect &effect : catalogue::effects()) {
        if (matches(effect, request))
            wanted.push_back(&effect);
    }
    if (wanted.empty())
        throw Failure(ExitCode::Usage,
                      concat("no effect has ", inQuotes(request.search), " in its name or its description"));
    return wanted;
}

std::string jsonText(const Effects &effects)
{
    Json list = Json::array();
    for (const Effect *effect : effects)
        list.push_back(objectOf(*effect));
    return list.dump(2) + "\n";
}

std::string tableText(const Effects &effects, const Style &style)
{
    std::size_t nameWidth = 0, codeWidth = 0;
    for (const Effect *effect : effects) {
        nameWidth = std::max(nameWidth, effect->name.size());
        codeWidth = std::max(codeWidth, codeText(*effect).size());
    }
    std::string text;
    std::optional<catalogue::Family> family;
    for (const Effect *effect : effects) {
        if (family != effect->family) {
            family = effect->family;
            text += concat(text.empty() ? "" : "\n", style.heading(catalogue::familyName(*family)), "\n");
        }
        const std::string code = codeText(*effect);
        text += concat("  ", effect->name, padding(effect->name.size(), nameWidth), "  ",
                       padding(code.size(), codeWidth), code, "  ", effect->help, "\n");
    }
    return text;
}

} // namespace

std::vector<std::string_view> familyWords()
{
    std::vector<std::string_view> words;
    for (const Effect &effect : catalogue::effects()) {
        const std::string_view word = firstWord(catalogue::familyName(effect.family));
        if (std::ranges::find(words, word) == words.end())
            words.push_back(word);
    }
    return words;
}

std::string listText(const ListRequest &request, const Style &style)
{
    const Effects effects = wantedEffects(request);
    return request.json ? jsonText(effects) : tableText(effects, style);
}

std::string effectJson(const Effect &effect)
{
    return objectOf(effect).dump(2) + "\n";
}

} // namespace velmont::cli
