#include "chain.h"
#include "exit_codes.h"
#include "field_value.h"
#include "nearest_name.h"
#include "text.h"
#include <algorithm>
#include <utility>

namespace velmont::cli {

namespace {

constexpr std::string_view kThen = "then";

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isLetterOrDigit(char character)
{
    return isLetter(character) || (character >= '0' && character <= '9');
}

bool looksLikeFile(std::string_view word)
{
    return word.find_first_of("./\\") != std::string_view::npos;
}

/// The names that may stand before a "=".
std::vector<std::string_view> wordsOf(const catalogue::Effect &effect)
{
    std::vector<std::string_view> names = namesOf(effect.fields);
    for (const catalogue::Operand &operand : effect.operands)
        names.push_back(operand.name);
    return names;
}

std::string fieldsOf(const catalogue::Effect &effect)
{
    const auto names = wordsOf(effect);
    return names.empty() ? "; it takes none" : concat("; it takes ", joined(names));
}

/// Reads the words one after the other.
class Parser {
public:
    explicit Parser(std::span<const catalogue::Effect> effects) : effects_(effects) {}

    void take(const std::string &word)
    {
        if (effectIsNext_)
            takeEffect(word);
        else if (word == kThen)
            endStep();
        else if (looksLikeField(word))
            takeField(word);
        else
            takeInput(word);
    }

    Chain finish()
    {
        if (chain_.steps.empty())
            refuse("apply needs an effect and an image");
        requireEnd();
        if (chain_.inputs.empty())
            refuse("no image is given");
        requireNoEffects();
        endStep();
        return std::move(chain_);
    }

    std::vector<Step> finishSteps()
    {
        if (chain_.steps.empty())
            refuse("no effect is given");
        requireEnd();
        if (!chain_.inputs.empty())
            refuse("unexpected word ", inQuotes(chain_.inputs.front().string()),
                   ": effects and their fields are expected");
        endStep();
        return std::move(chain_.steps);
    }

private:
    void requireEnd() const
    {
        if (effectIsNext_)
            refuse("\"then\" at the end needs an effect after it");
    }

    void endStep()
    {
        requireOperands(chain_.steps.back());
        effectIsNext_ = true;
    }

    void takeEffect(const std::string &word)
    {
        if (word == kThen || looksLikeField(word))
            refuse("an effect is expected in place of ", inQuotes(word));
        const catalogue::Effect &effect = requireEffect(effects_, word);
        chain_.steps.push_back({&effect, catalogue::defaultRecord(effect)});
        fieldsGiven_.clear();
        effectIsNext_ = false;
    }

    void takeField(std::string_view word)
    {
        Step &step = chain_.steps.back();
        const std::string_view name = word.substr(0, word.find('='));
        const std::string_view value = word.substr(name.size() + 1);
        if (std::ranges::find(fieldsGiven_, name) != fieldsGiven_.end())
            refuse(step.effect->name, ": ", name, " is given twice");
        fieldsGiven_.emplace_back(name);
        if (const catalogue::Operand *const operand = catalogue::findOperand(*step.effect, name))
            return takeFile(step, *operand, value);
        const catalogue::Field &field = requireField(*step.effect, name);
        setField(step, field, value);
    }

    static void takeFile(Step &step, const catalogue::Operand &operand, std::string_view file)
    {
        if (file.empty())
            refuse(step.effect->name, ": ", operand.name, "= needs the name of a file");
        requireFileName(file);
        step.operands.push_back({&operand, file});
    }

    void takeInput(const std::string &word)
    {
        if (word.empty())
            refuse("an image's name is empty");
        chain_.inputs.emplace_back(word);
    }

    /// Among several images an effect's name tells of a "then" that was left out.
    void requireNoEffects() const
    {
        const auto named = std::ranges::find_if(
            chain_.inputs, [&](const std::filesystem::path &input) { return isEffect(input.native()); });
        if (chain_.inputs.size() > 1 && named != chain_.inputs.end())
            refuse(inQuotes(named->native()),
                   " is an effect, and effects are joined by \"then\"; an image of this "
                   "name is given as ./",
                   named->native());
    }

    bool isEffect(std::string_view word) const
    {
        return std::ranges::find(effects_, word, &catalogue::Effect::name) != effects_.end();
    }

    std::span<const catalogue::Effect> effects_;
    Chain chain_;
    bool effectIsNext_ = true;
    std::vector<std::string> fieldsGiven_; ///< to the last effect
};

} // namespace

const catalogue::Effect &requireEffect(std::span<const catalogue::Effect> effects, std::string_view name)
{
    const auto effect = std::ranges::find(effects, name, &catalogue::Effect::name);
    if (effect != effects.end())
        return *effect;
    std::string hint = didYouMean(name, namesOf(effects));
    if (hint.empty())
        hint = looksLikeFile(name) ? "; the effect comes before the image" : "; \"velmont list\" shows all";
    refuse("there is no effect ", inQuotes(name), hint);
}

const catalogue::Field &requireField(const catalogue::Effect &effect, std::string_view name)
{
    const auto field = std::ranges::find(effect.fields, name, &catalogue::Field::name);
    if (field != effect.fields.end())
        return *field;
    const std::string near = didYouMean(name, wordsOf(effect));
    refuse(effect.name, ": there is no field ", inQuotes(name), near.empty() ? fieldsOf(effect) : near);
}

void requireFileName(std::string_view name)
{
    if (name == "-")
        refuse("-: only the image itself can come through a pipe; name a file, or ./- for one of that name");
}

void requireOperands(const Step &step)
{
    for (const catalogue::Operand &operand : step.effect->operands)
        if (!operand.isResult &&
            std::ranges::find(step.operands, &operand, &OperandFile::operand) == step.operands.end())
            refuse(step.effect->name, " needs ", operand.name, "=FILE: ", operand.help);
}

void setField(Step &step, const catalogue::Field &field, std::string_view value)
{
    storeValue(step.record.bytes.data(), *step.effect, field, value);
    step.typed.push_back(&field);
}

bool looksLikeField(std::string_view word)
{
    const std::string_view name = word.substr(0, word.find('='));
    return name.size() < word.size() && !name.empty() && isLetter(name.front()) &&
           std::ranges::all_of(name, isLetterOrDigit);
}

Chain parseChain(std::span<const std::string> words, std::span<const catalogue::Effect> effects)
{
    Parser parser(effects);
    for (const std::string &word : words)
        parser.take(word);
    return parser.finish();
}

std::vector<std::filesystem::path> parseImages(std::span<const std::string> words,
                                               std::span<const catalogue::Effect> effects)
{
    for (const std::string &word : words) {
        const bool isEffect = std::ranges::find(effects, word, &catalogue::Effect::name) != effects.end();
        if (isEffect || word == kThen || looksLikeField(word))
            refuse("--recipe brings the effects, ", inQuotes(word),
                   " is one word too many; an image of that name is given as ./", word);
        if (word.empty())
            refuse("an image's name is empty");
    }
    if (words.empty())
        refuse("no image is given");
    return {words.begin(), words.end()};
}

std::vector<Step> parseSteps(std::span<const std::string> words, std::span<const catalogue::Effect> effects)
{
    Parser parser(effects);
    for (const std::string &word : words)
        parser.take(word);
    return parser.finishSteps();
}

} // namespace velmont::cli
