#include "catalogue/effect.h"
#include "cli_test.h"
#include "shell_words.h"
#include <algorithm>
#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>

namespace velmont::test {

namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kInstrumented = true;
#else
constexpr bool kInstrumented = false;
#endif
/// Instrumented programs take long to start: a sample of the commands has to do.
constexpr std::size_t kEachCommand = kInstrumented ? 15 : 1;

/// A picture of the page and what the page says of it.
struct Shown {
    std::string article; ///< the id: an effect's name or "source-FILE"
    std::string file, alt, digest, command;
    bool isSource() const { return article.starts_with("source-"); }
};

std::string replaced(std::string text, const std::string &what, const std::string &with)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

/// The text that a browser makes of markup.
std::string plainText(std::string markup)
{
    for (std::size_t begin = markup.find('<'); begin != std::string::npos; begin = markup.find('<'))
        markup.erase(begin, markup.find('>', begin) + 1 - begin);
    for (const auto &[entity, character] :
         {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&amp;", "&"}})
        markup = replaced(std::move(markup), entity, character);
    return markup;
}

/// What stands between two texts, from a place on, which moves behind it; empty when there is no more.
std::string between(const std::string &text, std::size_t &place, const std::string &before,
                    const std::string &after)
{
    const std::size_t begin = text.find(before, place);
    if (begin == std::string::npos)
        return {};
    const std::size_t end = text.find(after, begin + before.size());
    place = end;
    return text.substr(begin + before.size(), end - begin - before.size());
}

std::string between(const std::string &text, const std::string &before, const std::string &after)
{
    std::size_t place = 0;
    return between(text, place, before, after);
}

std::vector<Shown> picturesIn(const std::string &page)
{
    std::vector<Shown> pictures;
    std::size_t place = 0;
    for (;;) {
        const std::string article = between(page, place, "<article ", "</article>");
        if (article.empty())
            return pictures;
        std::size_t inside = 0;
        for (;;) {
            const std::string figure = between(article, inside, "<figure ", "</figure>");
            if (figure.empty())
                break;
            pictures.push_back({between(article, "id=\"", "\""), between(figure, "src=\"", "\""),
                                between(figure, "alt=\"", "\""), between(figure, "data-digest=\"", "\""),
                                plainText(between(figure, "<code>", "</code>"))});
        }
    }
}

/// Why a page is no well-formed XML; empty when it is. Elements without an end tag have to say so: <br/>.
std::string faultOf(const std::string &page)
{
    std::vector<std::string> open;
    std::size_t at = page.find("<html");
    while ((at = page.find('<', at)) != std::string::npos) {
        const std::size_t end = page.find('>', at);
        if (end == std::string::npos)
            return "a tag does not end";
        const std::string tag = page.substr(at + 1, end - at - 1);
        if (std::ranges::count(tag, '"') % 2 != 0 || tag.find('<') != std::string::npos)
            return "a tag is broken: " + tag;
        if (tag.starts_with('/')) {
            if (open.empty() || open.back() != tag.substr(1))
                return "an end is out of place: " + tag;
            open.pop_back();
        } else if (!tag.ends_with('/')) {
            open.push_back(tag.substr(0, tag.find(' ')));
        }
        at = end;
    }
    for (at = page.find('&'); at != std::string::npos; at = page.find('&', at + 1)) {
        const std::string rest = page.substr(at, 6);
        if (!rest.starts_with("&amp;") && !rest.starts_with("&lt;") && !rest.starts_with("&gt;") &&
            rest != "&quot;")
            return "an ampersand stands alone: " + rest;
    }
    return open.empty() ? "" : "not ended: " + open.back();
}

std::set<std::string> namesIn(const fs::path &folder)
{
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

class Gallery : public CliTest {
protected:
    std::string page() const { return textOf("gallery/index.html"); }

    /// Whether random effects draw the same numbers at each run.
    bool isRepeatable() const { return run({"apply", "--help"}).out.find("--seed") != std::string::npos; }

    /// Runs commands in a folder, as a person does who copies them into a shell.
    void runCommands(const std::vector<std::string> &commands, const std::string &name) const
    {
        std::string script = "set -e\n";
        for (const std::string &command : commands)
            script += command + "\n";
        writeText(name + "/commands.sh", script);
        const std::string path = fs::path(programPath()).parent_path().string();
        Program shell(file(name), {"/usr/bin/env", "PATH=" + path + ":/usr/bin:/bin", "sh", "commands.sh"});
        const Outcome outcome = shell.finish();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }
};

/// A gallery of a small picture, which is fast, made once for all tests of a process that look at the page.
class GalleryPage : public CliTest {
protected:
    static void SetUpTestSuite()
    {
        made_ = std::make_unique<Made>();
        save(Kind::Colour, 150, 100, made_->file("photo.png"));
        made_->expectSilence({"gallery", "--picture", "photo.png", "-o", "gallery"});
    }
    static void TearDownTestSuite() { made_.reset(); }

    static fs::path made(const std::string &name) { return made_->file("gallery/" + name); }
    static std::string textOfMade(const std::string &name) { return made_->textOf("gallery/" + name); }
    static std::string page() { return textOfMade("index.html"); }

private:
    /// A folder with a program to run in it, beside those of the tests.
    struct Made : CliTest {
        using CliTest::expectSilence, CliTest::file, CliTest::textOf;
        void TestBody() override {}
    };
    static inline std::unique_ptr<Made> made_;
};

TEST_F(GalleryPage, ShowsEveryEffect)
{
    const std::string html = page();
    EXPECT_EQ(faultOf(html), "");
    EXPECT_LT(html.size(), 400000u);

    std::map<std::string, int> shown;
    for (const Shown &picture : picturesIn(html)) {
        ++shown[picture.article];
        EXPECT_TRUE(fs::exists(made(picture.file))) << picture.file;
        EXPECT_NE(picture.alt, "") << picture.file;
        EXPECT_EQ(picture.digest.size(), 8u) << picture.file;
        EXPECT_TRUE(picture.command.starts_with("velmont apply ")) << picture.command;
        EXPECT_NE((picture.command + " ").find(" -o " + picture.file + " "), std::string::npos)
            << picture.command;
    }
    for (const catalogue::Effect &effect : catalogue::effects()) {
        const int count = shown[std::string(effect.name)];
        EXPECT_GE(count, 1) << effect.name;
        EXPECT_LE(count, effect.fields.empty() ? 1 : 2) << effect.name;
    }
}

TEST_F(GalleryPage, NeedsNothingButItsFolder)
{
    const std::string html = page();
    EXPECT_EQ(html.find("//"), std::string::npos);
    std::set<std::string> ids, files{"index.html"};
    std::size_t place = 0;
    for (std::string id; !(id = between(html, place, " id=\"", "\"")).empty();)
        EXPECT_TRUE(ids.insert(id).second) << id;
    for (const std::string attribute : {"src", "href"}) {
        place = 0;
        for (std::string link; !(link = between(html, place, attribute + "=\"", "\"")).empty();) {
            if (link.starts_with('#'))
                EXPECT_TRUE(ids.contains(link.substr(1))) << link;
            else if (link != "data:,")
                files.insert(link);
        }
    }
    EXPECT_EQ(files, namesIn(made("")));
    for (const char *const name : {"gallery.css", "gallery.js"})
        EXPECT_EQ(textOfMade(name).find("http"), std::string::npos) << name;
}

TEST_F(Gallery, EveryCommandMakesItsPicture)
{
    std::vector<std::string> making{"gallery", "-o", "gallery"};
    if (kInstrumented) {
        save(Kind::Colour, 150, 100, file("photo.png"));
        making.insert(making.end(), {"--picture", "photo.png"});
    }
    expectSilence(making);
    const bool isRepeatable = this->isRepeatable();
    std::vector<Shown> all = picturesIn(page());
    std::ranges::stable_partition(all, &Shown::isSource);
    std::vector<std::string> commands;
    std::vector<Shown> compared;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const catalogue::Effect *const effect = catalogue::findEffect(all[i].article);
        EXPECT_EQ(effect == nullptr, all[i].isSource()) << all[i].article;
        if (!all[i].isSource() && i % kEachCommand != 0)
            continue;
        commands.push_back(all[i].command);
        if (isRepeatable || !effect || !effect->random)
            compared.push_back(all[i]);
    }
    fs::create_directory(file("again"));
    fs::copy_file(file("gallery/scene.png"), file("again/scene.png"));
    runCommands(commands, "again");
    for (const Shown &picture : compared)
        EXPECT_TRUE(textOf("again/" + picture.file) == textOf("gallery/" + picture.file)) << picture.command;
}

TEST_F(GalleryPage, ShowsStrongSettingsThatLookDifferent)
{
    std::map<std::string, std::set<std::string>> digests;
    std::map<std::string, std::size_t> pictures;
    for (const Shown &picture : picturesIn(page())) {
        digests[picture.article].insert(picture.digest);
        ++pictures[picture.article];
    }
    for (const auto &[article, count] : pictures)
        EXPECT_EQ(digests[article].size(), count) << article;
    EXPECT_EQ(pictures["blur"], 2u);
    EXPECT_EQ(pictures["negative"], 1u);
}

TEST_F(Gallery, APictureIsReducedToTheGallerysSize)
{
    save(Kind::Paletted, 2000, 100, file("wide photo.png"));
    expectSilence({"gallery", "--picture", "wide photo.png", "-o", "wide"});
    const std::string html = textOf("wide/index.html");
    EXPECT_NE(html.find("src=\"scene.png\" width=\"480\" height=\"24\""), std::string::npos);
    EXPECT_EQ(coloursOf(file("wide/scene.png")).size(), 480u * 24u);
}

TEST_F(Gallery, AFolderWithContentsIsLeftAlone)
{
    save(Kind::Colour, 60, 40, file("photo.png"));
    fs::create_directory(file("gallery"));
    writeText("gallery/notes.txt", "mine");
    expectRefusal({"gallery", "--picture", "photo.png", "-o", "gallery"}, 2,
                  "gallery: has contents already; pass --force to write into it");
    expectSilence({"gallery", "--picture", "photo.png", "-o", "gallery", "--force"});
    EXPECT_EQ(textOf("gallery/notes.txt"), "mine");
    EXPECT_TRUE(fs::exists(file("gallery/index.html")));
}

TEST_F(Gallery, Refusals)
{
    writeText("file", "no picture");
    expectRefusal({"gallery"}, 2, "no folder is given: -o FOLDER");
    expectRefusal({"gallery", "-o", "file"}, 4, "file: is no folder");
    expectRefusal({"gallery", "extra", "-o", "gallery"}, 2, "gallery: unexpected word \"extra\"");
    EXPECT_EQ(run({"gallery", "--picture", "file", "-o", "gallery"}).exitCode, 3);
    EXPECT_EQ(run({"gallery", "--picture", "missing.png", "-o", "gallery"}).exitCode, 3);
    EXPECT_FALSE(fs::exists(file("gallery")));
    expectRefusal({"gallery", "-o", "file/gallery"}, 4,
                  "file/gallery: the folder cannot be made: Not a directory");
}

TEST_F(Gallery, TellsWhichFileCannotBeWritten)
{
    const std::string shell = "ulimit -f 20; exec \"$0\" gallery -o gallery";
    const Outcome outcome = Program(folder(), {"/bin/sh", "-c", shell, programPath()}).finish();
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.err, "velmont: gallery: scene.png: cannot be written: File too large\n");
    EXPECT_TRUE(fs::is_empty(file("gallery")));
}

TEST_F(Gallery, ShowsItsProgressOnATerminal)
{
    if (!hasTerminals())
        GTEST_SKIP() << "no pseudo terminals here";
    save(Kind::Colour, 60, 40, file("photo.png"));
    Program talking(folder(), command({"gallery", "--picture", "photo.png", "-o", "talking"}), Terminal::Yes);
    EXPECT_NE(talking.finish().err.find("gallery: "), std::string::npos);
    Program quiet(folder(), command({"gallery", "--picture", "photo.png", "-o", "quiet", "-q"}),
                  Terminal::Yes);
    EXPECT_EQ(quiet.finish().err, "");
}

TEST_F(Gallery, CtrlCEndsItWithoutAPage)
{
    Program program(folder(), command({"gallery", "-o", "gallery"}));
    ASSERT_TRUE(program.waitUntilCatching(SIGINT));
    program.send(SIGINT);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "velmont: aborted\n");
    EXPECT_FALSE(fs::exists(file("gallery/index.html")));
}

TEST_F(Gallery, TheCheckedInPageIsWhatTheProgramMakes)
{
    const fs::path checkedIn = VELMONT_GALLERY;
    if (!fs::exists(checkedIn / "index.html"))
        GTEST_SKIP() << "no page is checked in";
    expectSilence({"gallery", "-o", "gallery"});
    std::ostringstream text;
    text << std::ifstream(checkedIn / "index.html", std::ios::binary).rdbuf();
    EXPECT_TRUE(text.str() == page()) << "write it again: velmont gallery -o docs/gallery --force";
    EXPECT_EQ(namesIn(checkedIn), namesIn(file("gallery"))) << "a picture is missing, or nothing needs it";
}

TEST(ShellWords, WhatAShellWouldReadIsQuoted)
{
    EXPECT_EQ(cli::shellQuoted("size=9"), "size=9");
    EXPECT_EQ(cli::shellQuoted("./a-b_c.png"), "./a-b_c.png");
    EXPECT_EQ(cli::shellQuoted("color=#aa5500"), "'color=#aa5500'");
    EXPECT_EQ(cli::shellQuoted("my photo.png"), "'my photo.png'");
    EXPECT_EQ(cli::shellQuoted("it's"), "'it'\\''s'");
    EXPECT_EQ(cli::shellQuoted("$HOME"), "'$HOME'");
    EXPECT_EQ(cli::shellQuoted("~"), "'~'");
    EXPECT_EQ(cli::shellQuoted(""), "''");
}

} // namespace

} // namespace velmont::test
