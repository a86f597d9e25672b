#include "exit_codes.h"
#include "field_value.h"
#include "nearest_name.h"
#include "recipe.h"
#include "selection.h"
#include "strict_json.h"
#include "text.h"
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// A value of a recipe and where it stands in it.
struct Placed {
    const Json &value;
    std::string place; ///< empty for the whole

    Placed operator[](const char *key) const { return {value.at(key), memberPlace(place, key)}; }
};

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

template <typename... Pieces>
[[noreturn]] void refuseAt(const Placed &at, const Pieces &...pieces)
{
    refuse(at.place, at.place.empty() ? "" : ": ", pieces...);
}

[[noreturn]] void refuseValue(const Placed &at, std::string_view wanted)
{
    refuseAt(at, shown(at.value), " is not understood: ", wanted);
}

void requireObject(const Placed &at, std::string_view wanted)
{
    if (!at.value.is_object())
        refuseValue(at, wanted);
}

/// Refuses keys that are none of these.
void requireKeys(const Placed &at, const std::vector<std::string_view> &keys)
{
    for (const auto &[key, value] : at.value.items()) {
        if (std::ranges::find(keys, key) != keys.end())
            continue;
        const std::string near = didYouMean(key, keys);
        refuse(memberPlace(at.place, key), ": there is no such key",
               near.empty() ? concat("; there are ", joined(keys)) : near);
    }
}

const std::string &textAt(const Placed &at, std::string_view wanted)
{
    if (!at.value.is_string())
        refuseValue(at, wanted);
    return at.value.get_ref<const std::string &>();
}

/// Texts other than names of files stand in messages.
void requirePrintable(const std::string &text)
{
    constexpr std::size_t kLongest = 4096; // a table of 256 levels takes a quarter
    const auto isControl = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    };
    if (text.size() > kLongest || std::ranges::any_of(text, isControl))
        refuse(shown(Json(text)), " is not understood");
}

/// Puts the place before what is refused.
template <typename Task>
auto explain(const Placed &at, const Task &task)
{
    try {
        return task();
    } catch (const Failure &failure) {
        throw Failure(failure.code(), concat(at.place, ": ", failure.what()));
    }
}

class Reader {
public:
    Reader(const fs::path &folder, std::span<const catalogue::Effect> effects)
        : folder_(folder), effects_(effects)
    {
    }

    Recipe read(const Json &whole) const
    {
        const Placed at{whole, ""};
        requireObject(at,
                      R"(a recipe is an object such as {"velmont": 1, "steps": [{"effect": "negative"}]})");
        requireKeys(
            at, {"$schema", "velmont", "steps", "seed", "convert", "mask", "select", "feather", "invert"});
        requireVersion(at);
        return {stepsAt(at), optionsAt(at)};
    }

private:
    static void requireVersion(const Placed &at)
    {
        const std::string version = std::to_string(kRecipeVersion);
        if (!at.value.contains("velmont"))
            refuseAt(at, "there is no key \"velmont\", the version of the form: ", version);
        if (at["velmont"].value != kRecipeVersion)
            refuseValue(at["velmont"], concat("the version of the form is ", version));
    }

    std::vector<Step> stepsAt(const Placed &at) const
    {
        constexpr std::string_view kWanted =
            "a list of steps, one at least, such as [{\"effect\": \"negative\"}]";
        if (!at.value.contains("steps"))
            refuseAt(at, "there is no key \"steps\": ", kWanted);
        const Placed list = at["steps"];
        if (!list.value.is_array() || list.value.empty())
            refuseValue(list, kWanted);
        std::vector<Step> steps;
        for (std::size_t i = 0; i < list.value.size(); ++i)
            steps.push_back(stepAt({list.value[i], elementPlace(list.place, i)}));
        return steps;
    }

    Step stepAt(const Placed &at) const
    {
        requireObject(at, R"(a step is an object such as {"effect": "negative"})");
        requireKeys(at, {"effect", "fields", "files"});
        Step step = effectAt(at);
        if (at.value.contains("fields"))
            readFields(step, at["fields"]);
        if (at.value.contains("files"))
            readFiles(step, at["files"]);
        explain(at, [&] { requireOperands(step); });
        return step;
    }

    Step effectAt(const Placed &at) const
    {
        if (!at.value.contains("effect"))
            refuseAt(at, "there is no key \"effect\", the name of one");
        const Placed name = at["effect"];
        const std::string &text = textAt(name, "the name of an effect");
        return explain(name, [&] {
            requirePrintable(text);
            const catalogue::Effect &effect = requireEffect(effects_, text);
            return Step{&effect, catalogue::defaultRecord(effect)};
        });
    }

    static void readFields(Step &step, const Placed &at)
    {
        requireObject(at, "fields and their values, as an object");
        for (const auto &[key, value] : at.value.items()) {
            const Placed field{value, memberPlace(at.place, key)};
            if (catalogue::findOperand(*step.effect, key))
                refuseAt(field, "is a file and belongs to \"files\"");
            requireName(field, key);
            explain(field, [&] { readField(step, requireField(*step.effect, key), field); });
        }
    }

    static void readField(Step &step, const catalogue::Field &field, const Placed &at)
    {
        const std::string text = typed(field, at);
        requirePrintable(text);
        setField(step, field, text);
    }

    /// A value as it is typed on the command line.
    static std::string typed(const catalogue::Field &field, const Placed &at)
    {
        const bool isText = !field.choices.empty() || isColour(field);
        if (at.value.is_string() && (isText || field.table))
            return at.value.get<std::string>();
        if (!at.value.is_number() || isText)
            refuse(shown(at.value), " is not understood: ", describeValues(field));
        return at.value.is_number_float() ? formatNumber(at.value.get<double>()) : at.value.dump();
    }

    void readFiles(Step &step, const Placed &at) const
    {
        requireObject(at, "names of files, as an object");
        for (const auto &[key, value] : at.value.items()) {
            const Placed file{value, memberPlace(at.place, key)};
            const catalogue::Operand *const operand = catalogue::findOperand(*step.effect, key);
            if (!operand)
                refuseFile(*step.effect, key, file);
            step.operands.push_back({operand, fileAt(file)});
        }
    }

    [[noreturn]] static void refuseFile(const catalogue::Effect &effect, const std::string &key,
                                        const Placed &at)
    {
        const auto names = namesOf(effect.operands);
        const std::string near = didYouMean(key, names);
        if (names.empty())
            refuseAt(at, effect.name, " takes no files");
        refuseAt(at, effect.name, " takes no such file",
                 near.empty() ? concat("; it takes ", joined(names)) : near);
    }

    fs::path fileAt(const Placed &at) const
    {
        const std::string &name = textAt(at, "the name of a file");
        if (name.empty() || name.find('\0') != std::string::npos)
            refuseValue(at, "the name of a file");
        explain(at, [&] { requireFileName(name); });
        return folder_ / name;
    }

    RecipeOptions optionsAt(const Placed &at) const
    {
        RecipeOptions options;
        if (at.value.contains("convert"))
            options.convert = switchAt(at["convert"]);
        if (at.value.contains("invert"))
            options.invert = switchAt(at["invert"]);
        if (at.value.contains("mask"))
            options.mask = fileAt(at["mask"]);
        if (at.value.contains("seed"))
            options.seed = wholeAt(at["seed"]);
        if (at.value.contains("feather"))
            options.feather = featherAt(at["feather"]);
        if (at.value.contains("select"))
            options.select = placesAt(at["select"]);
        return options;
    }

    static bool switchAt(const Placed &at)
    {
        if (!at.value.is_boolean())
            refuseValue(at, "true or false");
        return at.value.get<bool>();
    }

    static std::string wholeAt(const Placed &at)
    {
        if (!at.value.is_number_unsigned() || at.value.get<uint64_t>() > UINT32_MAX)
            refuseValue(at, "a whole number from 0 to 4294967295");
        return at.value.dump();
    }

    static std::vector<std::string> placesAt(const Placed &at)
    {
        if (!at.value.is_array())
            refuseValue(at, R"(a list of places such as ["30,40", "5,6,10,20,30"])");
        std::vector<std::string> places;
        for (std::size_t i = 0; i < at.value.size(); ++i)
            places.push_back(placeAt({at.value[i], elementPlace(at.place, i)}));
        return places;
    }

    static std::string placeAt(const Placed &at)
    {
        const std::string &text = textAt(at, "a place such as \"30,40\"");
        explain(at, [&] {
            requirePrintable(text);
            parsePlace(text);
        });
        return text;
    }

    static std::string featherAt(const Placed &at)
    {
        const std::string text = wholeAt(at);
        explain(at, [&] { parseFeather(text); });
        return text;
    }

    /// Names of fields stand in messages.
    static void requireName(const Placed &at, std::string_view name)
    {
        constexpr std::size_t kLongest = 60;
        if (name.size() > kLongest || !looksLikeField(concat(name, "=")))
            refuseAt(at, "there is no such field");
    }

    fs::path folder_;
    std::span<const catalogue::Effect> effects_;
};

[[noreturn]] void cannotRead(const fs::path &file, std::string_view why)
{
    throw Failure(ExitCode::Input, concat(file.string(), ": ", why));
}

/// As much as tells a recipe or a file that is too large for one.
std::string readText(const fs::path &file)
{
    std::error_code ignored;
    if (fs::is_directory(file, ignored))
        cannotRead(file, "is a folder");
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        cannotRead(file, std::error_code(errno, std::generic_category()).message());
    std::string text(kLargestRecipe + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (stream.bad())
        cannotRead(file, "cannot be read");
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return text;
}

} // namespace

Recipe parseRecipe(std::string_view text, const fs::path &folder, std::span<const catalogue::Effect> effects)
{
    if (text.size() > kLargestRecipe)
        refuse("is too large for a recipe: 1 MiB at most");
    return Reader(folder, effects).read(parseStrictJson(text));
}

Recipe readRecipe(const fs::path &file, std::span<const catalogue::Effect> effects)
{
    return readRecipe(file, file.parent_path(), effects);
}

Recipe readRecipe(const fs::path &file, const fs::path &folder, std::span<const catalogue::Effect> effects)
{
    const std::string text = readText(file);
    try {
        return parseRecipe(text, folder, effects);
    } catch (const Failure &failure) {
        throw Failure(failure.code(), concat(file.string(), ": ", failure.what()));
    }
}

} // namespace velmont::cli
