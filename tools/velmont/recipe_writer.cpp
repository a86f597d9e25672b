#include "exit_codes.h"
#include "field_value.h"
#include "job_report.h"
#include "recipe.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <nlohmann/json.hpp>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using catalogue::Field;
using catalogue::FieldType;

/// What a field holds; that of a float without the digits that only a double has.
double valueOf(const Field &field, const void *record)
{
    const double value = field.load(record);
    if (field.type != FieldType::Float)
        return value;
    std::array<char, 32> text;
    const auto end = std::to_chars(text.begin(), text.end(), static_cast<float>(value)).ptr;
    double shortest = value;
    std::from_chars(text.begin(), end, shortest);
    return std::clamp(shortest, field.minimum, field.maximum);
}

/// Whether one number stands for a whole table.
bool isMovedRamp(const catalogue::Effect &effect, const Field &field, catalogue::Record record)
{
    catalogue::Record moved = catalogue::defaultRecord(effect);
    field.store(moved.bytes.data(), field.load(record.bytes.data()));
    return std::memcmp(field.table(moved.bytes.data()), field.table(record.bytes.data()), field.bytes) == 0;
}

std::string tableText(const Field &field, catalogue::Record record)
{
    std::string text;
    const uint8_t *const table = field.table(record.bytes.data());
    for (std::size_t i = 0; i < field.bytes; ++i)
        text.append(i == 0 ? "" : ",").append(std::to_string(table[i]));
    return text;
}

/// A field as it is typed.
std::string typedField(const Step &step, const Field &field)
{
    if (field.table && !isMovedRamp(*step.effect, field, step.record))
        return tableText(field, step.record);
    return formatValue(field, valueOf(field, step.record.bytes.data()));
}

bool isNumber(const Field &field, std::string_view text)
{
    return field.choices.empty() && !isColour(field) && text.find(',') == std::string_view::npos;
}

Json fieldJson(const Step &step, const Field &field)
{
    const std::string text = typedField(step, field);
    return isNumber(field, text) ? Json::parse(text) : Json(text);
}

std::string nameJson(const fs::path &file)
{
    const std::string name = file.string(), clean = asUtf8(name);
    if (clean != name)
        throw Failure(ExitCode::Usage,
                      concat(clean, ": names of files in a recipe are UTF-8, and this one is not"));
    return name;
}

bool isTyped(const Step &step, const Field &field)
{
    return std::ranges::find(step.typed, &field) != step.typed.end();
}

/// Whether a recipe shows a field. A colour of gaps says more than its value when it is given: that they are opaque.
bool isShown(const Step &step, const Field &field)
{
    return !field.fillsGaps || isTyped(step, field);
}

Json stepJson(const Step &step)
{
    Json object = {{"effect", step.effect->name}};
    for (const Field &field : step.effect->fields)
        if (isShown(step, field))
            object["fields"][std::string(field.name)] = fieldJson(step, field);
    for (const OperandFile &given : step.operands)
        object["files"][std::string(given.operand->name)] = nameJson(given.file);
    return object;
}

void addOptions(Json &object, const RecipeOptions &options)
{
    if (options.seed)
        object["seed"] = Json::parse(*options.seed);
    if (options.convert)
        object["convert"] = true;
    if (!options.mask.empty())
        object["mask"] = nameJson(options.mask);
    if (!options.select.empty())
        object["select"] = options.select;
    if (options.feather)
        object["feather"] = Json::parse(*options.feather);
    if (options.invert)
        object["invert"] = true;
}

/// A word as a shell takes it.
std::string quoted(const std::string &word)
{
    constexpr std::string_view kSafe =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_=+.,/:@%#";
    if (!word.empty() && word.front() != '#' && word.find_first_not_of(kSafe) == std::string::npos)
        return word;
    std::string text = "'";
    for (const char character : word)
        text += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return text += '\'';
}

std::string optionWords(const RecipeOptions &options)
{
    std::string words = options.convert ? " --convert" : "";
    const auto add = [&](std::string_view option, const std::string &value) {
        words += concat(" ", option, " ", quoted(value));
    };
    if (!options.mask.empty())
        add("--mask", options.mask.string());
    if (options.seed)
        add("--seed", *options.seed);
    for (const std::string &place : options.select)
        add("--select", place);
    if (options.feather)
        add("--feather", *options.feather);
    return words.append(options.invert ? " --invert" : "");
}

} // namespace

std::string stepWords(const Step &step)
{
    const Step plain{step.effect, catalogue::defaultRecord(*step.effect)};
    std::string words(step.effect->name);
    for (const Field &field : step.effect->fields) {
        const std::string text = typedField(step, field);
        if (text != typedField(plain, field) || (field.fillsGaps && isTyped(step, field)))
            words += concat(" ", quoted(concat(field.name, "=", text)));
    }
    for (const OperandFile &given : step.operands)
        words += concat(" ", quoted(concat(given.operand->name, "=", given.file.string())));
    return words;
}

std::string recipeText(const Recipe &recipe)
{
    Json object = {{"velmont", kRecipeVersion}, {"steps", Json::array()}};
    for (const Step &step : recipe.steps)
        object["steps"].push_back(stepJson(step));
    addOptions(object, recipe.options);
    return concat(object.dump(2), "\n");
}

std::string recipeCommand(const Recipe &recipe)
{
    std::string steps;
    for (const Step &step : recipe.steps)
        steps += concat(steps.empty() ? "" : " then ", stepWords(step));
    return concat("velmont apply ", steps, optionWords(recipe.options), " INPUT -o OUTPUT\n");
}

} // namespace velmont::cli
