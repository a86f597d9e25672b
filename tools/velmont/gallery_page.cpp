#include "gallery_page.h"
#include "gallery_files.h"
#include "shell_words.h"
#include "text.h"
#include <algorithm>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <utility>
#include <velmont/version.h>

namespace velmont::cli {

namespace {

using catalogue::Effect;

constexpr std::string_view kStyleFile = "gallery.css", kScriptFile = "gallery.js";

/// What a name in a pattern stands for.
struct Value {
    std::string_view name;
    std::string text;
};

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

const std::string &valueOf(std::string_view name, std::initializer_list<Value> values)
{
    const auto value = std::ranges::find(values, name, &Value::name);
    if (value == values.end())
        throw std::logic_error(concat("the gallery's pattern asks for ", name));
    return value->text;
}

/// A pattern with its names replaced: {{name}} by text, which is escaped, and {{{name}}} by markup.
std::string filled(std::string_view pattern, std::initializer_list<Value> values)
{
    std::string result;
    for (;;) {
        const std::size_t begin = pattern.find("{{");
        result += pattern.substr(0, begin);
        if (begin == std::string_view::npos)
            return result;
        const bool isMarkup = pattern.substr(begin).starts_with("{{{");
        const std::size_t braces = isMarkup ? 3 : 2, end = pattern.find("}}", begin);
        if (end == std::string_view::npos)
            throw std::logic_error("the gallery's pattern has an open name");
        const std::string &value = valueOf(pattern.substr(begin + braces, end - begin - braces), values);
        result += isMarkup ? value : escaped(value);
        pattern.remove_prefix(end + braces);
    }
}

std::string familyId(catalogue::Family family)
{
    std::string id = concat("family-", catalogue::familyName(family));
    std::ranges::replace(id, ' ', '-');
    return id;
}

std::string sizeText(GallerySize size)
{
    return concat(std::to_string(size.width), " × ", std::to_string(size.height));
}

/// What there is to say about a result besides its command.
std::string noteOn(const GalleryPicture &picture, const GalleryEntry &entry, const GalleryPicture &scene)
{
    if (picture.digest == entry.inputDigest)
        return "Leaves the picture as it is";
    const bool sameSize = picture.size.width == scene.size.width && picture.size.height == scene.size.height;
    return sameSize ? "" : concat("Result: ", sizeText(picture.size));
}

/// A command as it is typed. What should stand on one line is kept together: words with hyphens, where browsers break
/// lines too, and an option with its value.
std::string commandHtml(std::span<const std::string> words)
{
    std::string html;
    for (auto word = words.begin(); word != words.end(); ++word) {
        html += html.empty() ? "" : " ";
        const bool hasHyphen = word->find('-') != std::string::npos;
        std::string text = shellQuoted(*word);
        if (word->starts_with('-') && word + 1 != words.end())
            text.append(" ").append(shellQuoted(*++word));
        html += hasHyphen ? concat("<span>", escaped(text), "</span>") : escaped(text);
    }
    return html;
}

std::string pictureHtml(const GalleryPicture &picture, const GalleryEntry &entry, const GalleryPicture &scene)
{
    const bool isDefault = &picture == &entry.pictures.front();
    return filled(kPictureHtml,
                  {{"file", picture.file},
                   {"label", isDefault ? "Default" : "Extreme"},
                   {"width", std::to_string(picture.size.width)},
                   {"height", std::to_string(picture.size.height)},
                   {"alt", concat(entry.input, " after ", entry.effect->name,
                                  isDefault ? " with its defaults" : " with an extreme setting")},
                   {"digest", picture.digest},
                   {"note", noteOn(picture, entry, scene)},
                   {"command", commandHtml(picture.command)}});
}

/// What the search finds an effect by besides its name and help.
std::string searchText(const Effect &effect)
{
    std::string text = concat(effect.exportName, " ", catalogue::familyName(effect.family));
    for (const catalogue::Field &field : effect.fields)
        text.append(" ").append(field.name);
    for (const catalogue::Operand &operand : effect.operands)
        text.append(" ").append(operand.name);
    return text;
}

std::string effectHtml(const GalleryEntry &entry, const GalleryPicture &scene)
{
    std::string pictures;
    for (const GalleryPicture &picture : entry.pictures)
        pictures += pictureHtml(picture, entry, scene);
    return filled(kEffectHtml, {{"name", std::string(entry.effect->name)},
                                {"help", std::string(entry.effect->help)},
                                {"before", entry.input},
                                {"search", searchText(*entry.effect)},
                                {"pictures", pictures}});
}

/// The parts of the page that go through the families.
struct Families {
    std::string sections, links, options;
};

Families familiesHtml(const GalleryContents &contents)
{
    Families html;
    for (auto entry = contents.entries.begin(); entry != contents.entries.end();) {
        const catalogue::Family family = entry->effect->family;
        const std::string id = familyId(family), name(catalogue::familyName(family));
        std::string effects;
        int count = 0;
        for (; entry != contents.entries.end() && entry->effect->family == family; ++entry, ++count)
            effects += effectHtml(*entry, contents.scene);
        html.sections += filled(
            kFamilyHtml,
            {{"id", id}, {"title", name}, {"count", std::to_string(count)}, {"effects", std::move(effects)}});
        html.links += filled("<li><a href=\"#{{id}}\">{{name}}</a></li>", {{"id", id}, {"name", name}});
        html.options += filled("<option value=\"{{id}}\">{{name}}</option>", {{"id", id}, {"name", name}});
    }
    return html;
}

std::string sourcesHtml(const GalleryContents &contents)
{
    std::string html;
    for (const auto &[help, picture] : contents.sources)
        html += filled(kSourceHtml, {{"file", picture.file},
                                     {"help", help},
                                     {"alt", help},
                                     {"width", std::to_string(picture.size.width)},
                                     {"height", std::to_string(picture.size.height)},
                                     {"digest", picture.digest},
                                     {"command", commandHtml(picture.command)}});
    return html;
}

std::string pageHtml(const GalleryContents &contents)
{
    const GalleryPicture &scene = contents.scene;
    const Families families = familiesHtml(contents);
    return filled(kPageHtml, {{"count", std::to_string(contents.entries.size())},
                              {"version", VELMONT_VERSION},
                              {"styleFile", std::string(kStyleFile)},
                              {"scriptFile", std::string(kScriptFile)},
                              {"scene", scene.file},
                              {"sceneAlt", "The picture before the effects"},
                              {"sceneDigest", scene.digest},
                              {"width", std::to_string(scene.size.width)},
                              {"height", std::to_string(scene.size.height)},
                              {"links", families.links},
                              {"options", families.options},
                              {"families", families.sections},
                              {"sources", sourcesHtml(contents)}});
}

} // namespace

std::vector<GalleryText> galleryTexts(const GalleryContents &contents)
{
    return {{std::string(kStyleFile), std::string(kGalleryCss)},
            {std::string(kScriptFile), std::string(kGalleryJs)},
            {"index.html", pageHtml(contents)}};
}

} // namespace velmont::cli
