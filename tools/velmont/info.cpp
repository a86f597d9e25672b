#include "info.h"
#include "field_value.h"
#include "text.h"
#include <algorithm>

namespace velmont::cli {

namespace {

using catalogue::Effect;
using catalogue::Field;

/// More of them would hide how simple it is.
constexpr std::size_t kFieldsOfExample = 3;

/// Of the longest name.
std::size_t nameWidth(const auto &named)
{
    std::size_t width = 0;
    for (const auto &each : named)
        width = std::max(width, each.name.size());
    return width;
}

std::string fieldsText(const Effect &effect)
{
    if (effect.fields.empty())
        return "  none\n";
    const std::size_t width = nameWidth(effect.fields);
    std::string text;
    for (const Field &field : effect.fields) {
        text += concat("  ", field.name, std::string(width - field.name.size(), ' '), "  ", field.help, "\n");
        text += concat(std::string(width + 4, ' '), fieldRule(field), "\n");
    }
    return text;
}

std::string operandsText(const Effect &effect, const Style &style)
{
    if (effect.operands.empty())
        return {};
    const std::size_t width = nameWidth(effect.operands);
    std::string text = concat("\n", style.heading("pictures beside the image"), "\n");
    for (const catalogue::Operand &operand : effect.operands)
        text += concat("  ", operand.name, "=FILE", std::string(width - operand.name.size(), ' '), "  ",
                       operandRule(operand), "\n");
    return text;
}

/// The quotes keep a shell from reading a colour.
std::string shellWord(const std::string &word)
{
    return word.find('#') == std::string::npos ? word : concat("'", word, "'");
}

} // namespace

std::string fieldRule(const Field &field)
{
    const bool plain = field.unit.empty() || isColour(field);
    return concat(describeValues(field), plain ? "" : "; unit: ", plain ? "" : field.unit,
                  "; default: ", formatValue(field, field.defaultValue));
}

std::string operandRule(const catalogue::Operand &operand)
{
    return concat(operand.help, operand.isResult ? "; written" : "; read", ": ",
                  catalogue::kindName(operand.kind));
}

std::string exampleOf(const Effect &effect)
{
    std::string command = concat("velmont apply ", effect.name);
    for (const Field &field : effect.fields.first(std::min(effect.fields.size(), kFieldsOfExample)))
        command += concat(" ", shellWord(concat(field.name, "=", formatValue(field, field.defaultValue))));
    for (const catalogue::Operand &operand : effect.operands)
        command += concat(" ", operand.name, "=", operand.name, ".png");
    const bool takesPhotos = (effect.depths & catalogue::Depth24) != 0;
    return concat(command, " photo.png -o result.png", takesPhotos ? "" : " --convert");
}

std::string infoText(const Effect &effect, const Style &style)
{
    const std::string code = effect.code ? std::to_string(*effect.code) : std::string("none, by name only");
    const std::string_view random =
        effect.random ? "yes, draws random numbers; --seed N gives the same ones again" : "no";
    return concat(style.heading(effect.name), ": ", effect.help, "\n\n",                                //
                  "family   ", catalogue::familyName(effect.family), "\n",                              //
                  "export   ", effect.exportName, "\n",                                                 //
                  "code     ", code, "\n",                                                              //
                  "depths   ", catalogue::depthNames(effect.depths), "\n",                              //
                  "random   ", random, "\n\n",                                                          //
                  style.heading("fields"), "\n", fieldsText(effect), operandsText(effect, style), "\n", //
                  style.heading("example"), "\n  ", exampleOf(effect), "\n");
}

} // namespace velmont::cli
