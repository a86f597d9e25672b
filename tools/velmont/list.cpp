#include "list.h"
#include "catalogue/effect.h"
#include "field_value.h"
#include "text.h"
#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

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

} // namespace

std::string listText()
{
    std::size_t nameWidth = 0, codeWidth = 0;
    for (const Effect &effect : catalogue::effects()) {
        nameWidth = std::max(nameWidth, effect.name.size());
        codeWidth = std::max(codeWidth, codeText(effect).size());
    }
    std::string text;
    std::optional<catalogue::Family> family;
    for (const Effect &effect : catalogue::effects()) {
        if (family != effect.family) {
            family = effect.family;
            text += concat(text.empty() ? "" : "\n", catalogue::familyName(*family), "\n");
        }
        const std::string code = codeText(effect);
        text += concat("  ", effect.name, padding(effect.name.size(), nameWidth), "  ",
                       padding(code.size(), codeWidth), code, "  ", effect.help, "\n");
    }
    return text;
}

std::string listJson()
{
    Json list = Json::array();
    for (const Effect &effect : catalogue::effects()) {
        list.push_back({{"name", effect.name},
                        {"export", effect.exportName},
                        {"code", effect.code ? Json(*effect.code) : Json()},
                        {"family", catalogue::familyName(effect.family)},
                        {"help", effect.help},
                        {"record", effect.recordName},
                        {"fields", fieldsOf(effect)},
                        {"operands", operandsOf(effect)},
                        {"depths", depthsOf(effect)},
                        {"random", effect.random}});
    }
    return list.dump(2) + "\n";
}

} // namespace velmont::cli
