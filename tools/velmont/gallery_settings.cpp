#include "gallery_settings.h"
#include "conversion.h"
#include "field_value.h"
#include "text.h"
#include <algorithm>

namespace velmont::cli {

namespace {

using catalogue::Effect;
using catalogue::Field;
using catalogue::OperandKind;

constexpr std::string_view kSelectionFile = "selection.png", kMaskFile = "mask.png", kOvalFile = "oval.png",
                           kNightFile = "night.png", kTileFile = "tile.png";

/// "name=7"
std::string numberWord(std::string_view name, int value)
{
    return concat(name, "=", std::to_string(value));
}

/// White in the middle, black outside, and soft between.
std::vector<std::string> ovalWords(GallerySize size)
{
    return {"gradient-fill",
            numberWord("fromX", size.width / 2),
            numberWord("fromY", size.height / 2),
            numberWord("toX", size.width),
            numberWord("toY", size.height),
            "shape=ellipse",
            "sourcePercent=0",
            "color1=#000000",
            "color2=#ffffff",
            "then",
            "to-gray"};
}

std::vector<std::string> resampleWords(int width, int height)
{
    return {"resample-high-quality", numberWord("newWidth", width), numberWord("newHeight", height)};
}

/// Chains joined, and the scene behind them.
std::vector<std::string> ofScene(const std::vector<std::vector<std::string>> &chains)
{
    std::vector<std::string> words;
    for (const auto &chain : chains) {
        if (!words.empty())
            words.emplace_back("then");
        words.insert(words.end(), chain.begin(), chain.end());
    }
    words.emplace_back(kSceneFile);
    return words;
}

std::string_view fileFor(OperandKind kind)
{
    switch (kind) {
    case OperandKind::BitMask:
    case OperandKind::AlphaMask:
        return kMaskFile;
    case OperandKind::LooseAlphaMask:
        return kOvalFile;
    case OperandKind::LikePicture:
        return kNightFile;
    case OperandKind::Picture:
        break;
    }
    return kTileFile;
}

/// The depth of the picture that an effect is shown on.
unsigned inputDepth(const Effect &effect)
{
    return galleryInput(effect) == kSceneFile ? catalogue::Depth24 : catalogue::Depth1;
}

/// An effect and the fields in which a step departs from the defaults.
std::vector<std::string> wordsOf(const Step &step)
{
    std::vector<std::string> words{std::string(step.effect->name)};
    for (const Field &field : step.effect->fields) {
        const double value = field.load(step.record.bytes.data());
        if (value != field.defaultValue)
            words.push_back(concat(field.name, "=", formatValue(field, value)));
    }
    return words;
}

std::vector<std::string> conversionWords(const Effect &effect)
{
    std::vector<std::string> words;
    const unsigned depth = inputDepth(effect);
    if (effect.depths & depth)
        return words;
    for (const Step &step : conversionFor(effect, depth)) {
        const auto stepWords = wordsOf(step);
        words.insert(words.end(), stepWords.begin(), stepWords.end());
        words.emplace_back("then");
    }
    return words;
}

/// The last choice but for the default.
double lastChoice(const Field &field)
{
    for (auto choice = field.choices.rbegin(); choice != field.choices.rend(); ++choice) {
        if (choice->value != field.defaultValue)
            return choice->value;
    }
    return field.defaultValue;
}

double extremeValue(const Field &field)
{
    constexpr double growth = 3;
    if (!field.choices.empty())
        return lastChoice(field);
    if (isColour(field) || field.defaultValue == 0)
        return field.defaultValue;
    if (field.unit == "pixels")
        return std::clamp(field.defaultValue * growth, field.minimum, field.maximum);
    return field.defaultValue < 0 ? field.minimum : field.maximum;
}

std::vector<std::string> wordsIn(std::string_view text)
{
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        words.emplace_back(word);
        text.remove_prefix(std::min(text.size(), word.size() + 1));
    }
    return words;
}

} // namespace

std::vector<GallerySource> gallerySources(GallerySize size)
{
    const GallerySize half{size.width / 2, size.height / 2};
    const std::vector<std::string> moonlight{"moonlight"}, toBits{"to-1-bit", "threshold=100"},
        selection{"magic-mask",
                  numberWord("x", size.width * 5 / 24),
                  numberWord("y", size.height * 13 / 32),
                  "redLimit=60",
                  "greenLimit=90",
                  "blueLimit=90"},
        tile{"crop", numberWord("left", size.width / 48), numberWord("width", size.width / 3),
             numberWord("height", size.height * 5 / 8)};
    return {{std::string(kSelectionFile), "the pixels of one colour and all that touch them, as a mask",
             ofScene({selection})},
            {std::string(kMaskFile), "an oval, as a mask", ofScene({ovalWords(size), toBits})},
            {std::string(kOvalFile), "a soft oval of half the size",
             ofScene({resampleWords(half.width, half.height), ovalWords(half)})},
            {std::string(kNightFile), "the scene by night at half the size",
             ofScene({moonlight, resampleWords(half.width, half.height)})},
            {std::string(kTileFile), "a part of the scene, reduced",
             ofScene({tile, resampleWords(size.width / 6, size.height * 5 / 16)})}};
}

std::string_view galleryInput(const Effect &effect)
{
    return (effect.depths & catalogue::Depth24) || convertedDepth(effect) != 0 ? kSceneFile : kSelectionFile;
}

std::vector<std::string> galleryChain(const Effect &effect, std::span<const std::string> fields)
{
    std::vector<std::string> words = conversionWords(effect);
    words.emplace_back(effect.name);
    words.insert(words.end(), fields.begin(), fields.end());
    for (const catalogue::Operand &operand : effect.operands) {
        if (!operand.isResult)
            words.push_back(concat(operand.name, "=", fileFor(operand.kind)));
    }
    words.emplace_back(galleryInput(effect));
    return words;
}

std::vector<std::string> extremeFields(const Effect &effect)
{
    if (!effect.extremeExample.empty())
        return wordsIn(effect.extremeExample);
    std::vector<std::string> words;
    for (const Field &field : effect.fields) {
        const double value = extremeValue(field);
        if (value != field.defaultValue)
            words.push_back(concat(field.name, "=", formatValue(field, value)));
    }
    return words;
}

} // namespace velmont::cli
