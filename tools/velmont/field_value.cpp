#include "field_value.h"
#include "exit_codes.h"
#include "nearest_name.h"
#include "text.h"
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace velmont::cli {

namespace {

using catalogue::Field;
using catalogue::FieldType;

/// One value and the place that it was given for.
struct Given {
    const catalogue::Effect &effect;
    const Field &field;
    std::string_view text;
};

template <typename... Pieces>
[[noreturn]] void refuse(const Given &given, const Pieces &...why)
{
    throw Failure(ExitCode::Usage,
                  concat(given.effect.name, ": ", given.field.name, "=", given.text, " ", why...));
}

[[noreturn]] void refuseText(const Given &given)
{
    refuse(given, "is not understood: ", describeValues(given.field));
}

double inRange(const Given &given, double value)
{
    if (value < given.field.minimum || value > given.field.maximum)
        refuse(given, "is out of range: ", describeValues(given.field));
    return value;
}

double choiceValue(const Given &given)
{
    for (const catalogue::Choice &choice : given.field.choices) {
        if (choice.name == given.text)
            return choice.value;
    }
    refuse(given, "is not ", describeValues(given.field),
           didYouMean(given.text, namesOf(given.field.choices)));
}

/// #rrggbb as 0x00BBGGRR.
double colourValue(const Given &given)
{
    uint32_t rgb = 0;
    const char *const end = given.text.data() + given.text.size();
    if (given.text.size() != 7 || given.text[0] != '#')
        refuseText(given);
    const auto [stop, error] = std::from_chars(given.text.data() + 1, end, rgb, 16);
    if (error != std::errc() || stop != end)
        refuseText(given);
    return inRange(given, (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16);
}

double wholeValue(const Given &given)
{
    bool outOfRange = false;
    const auto value = parseWhole(given.text, outOfRange);
    if (outOfRange)
        refuse(given, "is out of range: ", describeValues(given.field));
    if (!value)
        refuseText(given);
    return inRange(given, static_cast<double>(*value));
}

/// 256 levels joined by commas.
void storeTable(const Given &given, uint8_t *table)
{
    std::string_view rest = given.text;
    for (int i = 0; i < 256; ++i) {
        const std::string_view word = rest.substr(0, rest.find(','));
        bool outOfRange = false;
        const auto level = parseWhole(word, outOfRange);
        const bool isLast = word.size() == rest.size();
        if (!level || *level < 0 || *level > 255 || isLast != (i == 255))
            refuseText(given);
        table[i] = static_cast<uint8_t>(*level);
        rest.remove_prefix(isLast ? rest.size() : word.size() + 1);
    }
}

double realValue(const Given &given)
{
    double value = 0;
    const char *const end = given.text.data() + given.text.size();
    const auto [stop, error] = std::from_chars(given.text.data(), end, value);
    if (error == std::errc::result_out_of_range && stop == end)
        refuse(given, "is out of range: ", describeValues(given.field));
    if (error != std::errc() || stop != end || !std::isfinite(value))
        refuseText(given);
    return inRange(given, value);
}

std::string formatColour(double value)
{
    constexpr std::string_view digits = "0123456789abcdef";
    const auto colour = static_cast<uint32_t>(value);
    std::string text = "#";
    for (const unsigned shift : {4u, 0u, 12u, 8u, 20u, 16u})
        text += digits[colour >> shift & 15];
    return text;
}

} // namespace

std::string formatNumber(double value)
{
    std::array<char, 32> text;
    constexpr double largestExact = 9007199254740992.0;
    const bool whole = std::trunc(value) == value && std::abs(value) <= largestExact;
    char *const begin = text.data(), *const end = begin + text.size();
    const auto result =
        whole ? std::to_chars(begin, end, static_cast<long long>(value)) : std::to_chars(begin, end, value);
    return std::string(begin, result.ptr);
}

std::optional<long long> parseWhole(std::string_view text, bool &outOfRange)
{
    long long value = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    outOfRange = error == std::errc::result_out_of_range && stop == end;
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

bool isWhole(const Field &field)
{
    return field.type != FieldType::Float && field.type != FieldType::Double;
}

bool isColour(const Field &field)
{
    return field.unit == "colour";
}

std::string describeValues(const Field &field)
{
    if (!field.choices.empty())
        return concat("one of ", joined(namesOf(field.choices)));
    if (isColour(field))
        return "a colour as #rrggbb";
    return concat(
        field.type == FieldType::Bytes ? "256 levels joined by commas, or one number that moves all: " : "",
        isWhole(field) ? "a whole number" : "a number", " from ", formatNumber(field.minimum), " to ",
        formatNumber(field.maximum));
}

std::string formatValue(const Field &field, double value)
{
    for (const catalogue::Choice &choice : field.choices) {
        if (choice.value == value)
            return std::string(choice.name);
    }
    return isColour(field) ? formatColour(value) : formatNumber(value);
}

double parseValue(const catalogue::Effect &effect, const Field &field, std::string_view text)
{
    const Given given{effect, field, text};
    if (!field.choices.empty())
        return choiceValue(given);
    if (isColour(field))
        return colourValue(given);
    return isWhole(field) ? wholeValue(given) : realValue(given);
}

void storeValue(void *record, const catalogue::Effect &effect, const Field &field, std::string_view text)
{
    if (field.table && text.find(',') != std::string_view::npos)
        storeTable({effect, field, text}, field.table(record));
    else
        field.store(record, parseValue(effect, field, text));
}

} // namespace velmont::cli
