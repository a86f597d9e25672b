#include "batch.h"
#include "cli_test.h"
#include "failure_of.h"
#include <algorithm>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velmont::test {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

class Batch : public CliTest {
protected:
    Names filesIn(const std::string &folder) const
    {
        Names names;
        for (const fs::directory_entry &entry : fs::directory_iterator(file(folder)))
            names.push_back(entry.path().filename().string());
        std::ranges::sort(names);
        return names;
    }
    std::string bytesOf(const std::string &folder) const
    {
        std::string bytes;
        for (const std::string &name : filesIn(folder))
            bytes += name + "\n" + textOf(folder + "/" + name);
        return bytes;
    }
    void saveSmall(const std::string &name, Kind kind = Kind::Colour) const
    {
        fs::create_directories(file(name).parent_path());
        save(kind, 13, 7, file(name));
    }
    /// 200 files of every kind and format, of which some are no pictures.
    void makeAlbum() const
    {
        fs::create_directory(file("album"));
        for (int i = 0; i < 200; ++i) {
            const std::string name = "album/" + std::to_string(1000 + i) +
                                     (i % 3 == 0   ? ".png"
                                      : i % 3 == 1 ? ".jpg"
                                                   : ".bmp");
            save(kKinds[i % 5], 13 + i % 7, 7 + i % 5, file(name));
        }
        writeText("album/1003.png", "");
        writeText("album/1061.jpg", "This is no picture.");
        writeText("album/1101.bmp", textOf("album/1101.bmp").substr(0, 60));
        fs::remove(file("album/1150.png"));
        fs::create_directory(file("album/1150.png"));
        writeText("album/1150.png/inside.txt", "no picture");
        fs::remove(file("album/1199.jpg"));
        fs::create_symlink("nowhere", file("album/1199.jpg"));
    }
    /// The files of the album as a shell would list them.
    Names albumFiles() const
    {
        Names names = filesIn("album");
        for (std::string &name : names)
            name.insert(0, "album/");
        return names;
    }
};

/// Without what no two runs share.
Json withoutTimes(Json told)
{
    for (Json &result : told["results"]) {
        for (const char *key : {"readSeconds", "writeSeconds", "seconds"})
            result.erase(key);
        for (Json &step : result["steps"])
            step.erase("seconds");
        result.erase("output");
        result.erase("notes");
    }
    return told;
}

TEST_F(Batch, GoesOnAfterBadFilesAndIsTheSameForAnyNumberOfWorkers)
{
    makeAlbum();
    std::string bytes;
    Json told;
    for (const std::string jobs : {"1", "2", "8"}) {
        Names words{"apply",  "negative", "then", "film-grain", "--convert",        "-q",
                    "--json", "--jobs",   jobs,   "-o",         "out" + jobs + "/", "--"};
        const Names files = albumFiles();
        words.insert(words.end(), files.begin(), files.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.exitCode, 6);
        EXPECT_TRUE(outcome.err.ends_with("\nvelmont: 195 of 200 images written; 5 failed\n")) << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 6) << outcome.err;
        for (const std::string bad :
             {"1003.png: the file is empty", "1061.jpg: ", "1101.bmp: ",
              "1150.png: there are no pictures in this folder", "1199.jpg: cannot be opened"})
            EXPECT_NE(outcome.err.find("velmont: album/" + bad), std::string::npos) << outcome.err;
        const Json now = withoutTimes(Json::parse(outcome.out));
        if (jobs == "1") {
            bytes = bytesOf("out1");
            told = now;
            EXPECT_EQ(told["results"].size(), 195u);
            EXPECT_EQ(told["failed"].size(), 5u);
            EXPECT_EQ(told["results"][3]["input"], "album/1004.jpg");
            EXPECT_EQ(told["failed"][0]["code"], 3);
        }
        EXPECT_TRUE(bytesOf("out" + jobs) == bytes);
        EXPECT_TRUE(now == told);
    }
    EXPECT_EQ(filesIn("out1").size(), 195u);
}

TEST_F(Batch, GivesTheBytesOfSingleRuns)
{
    saveSmall("a.png");
    saveSmall("b.bmp", Kind::Gray);
    expectSilence({"apply", "film-grain", "a.png", "b.bmp", "-o", "out/", "-q"});
    for (const std::string name : {"a.png", "b.bmp"}) {
        expectSilence({"apply", "film-grain", name, "-o", "one-" + name});
        EXPECT_TRUE(textOf("out/" + name) == textOf("one-" + name));
    }
}

TEST_F(Batch, AFolderStandsForItsPictures)
{
    for (const std::string name : {"in/b.png", "in/a.JPG", "in/.hidden.png", "in/deeper/c.png", "d.png"})
        saveSmall(name);
    writeText("in/notes.txt", "text");
    expectSilence({"apply", "negative", "in", "d.png", "-o", "out", "-q"});
    EXPECT_EQ(filesIn("out"), (Names{"a.JPG", "b.png", "d.png"}));
    fs::create_directory(file("empty"));
    expectRefusal({"apply", "negative", "empty", "-o", "new"}, 3,
                  "empty: there are no pictures in this folder");
    expectRefusal({"apply", "negative", "in", "-o", "out.png"}, 2,
                  "out.png names a file and in is a folder; results need a folder: -o DIR, or -o out.png/");
    EXPECT_EQ(files(), (Names{"d.png", "empty", "in", "out"}));
}

TEST_F(Batch, OneImageCanGoIntoAFolder)
{
    saveSmall("in.png");
    const Outcome outcome = run({"apply", "negative", "in.png", "-o", "new/folder/"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: new/folder/: this folder is new\n");
    EXPECT_EQ(filesIn("new/folder"), Names{"in.png"});
    expectSilence({"rotate", "in.png", "--by", "left", "-o", "new", "--name", "{effect}d.{ext}"});
    EXPECT_EQ(filesIn("new"), (Names{"folder", "rotated.png"}));
    expectRefusal({"apply", "negative", "missing.png", "-o", "other/", "-q"}, 3,
                  "missing.png: cannot be opened: No such file or directory");
}

TEST_F(Batch, PictureCommandsTakeMany)
{
    saveSmall("a.png");
    saveSmall("b.bmp");
    expectSilence({"resize", "a.png", "b.bmp", "--percent", "200", "-o", "out", "-q", "--name", "{n}.png"});
    EXPECT_EQ(coloursOf(file("out/1.png")).size(), 26u * 14u);
    EXPECT_EQ(coloursOf(file("out/2.png")).size(), 26u * 14u);
    expectRefusal({"rotate", "a.png", "b.bmp", "--by", "up", "-o", "no"}, 2,
                  "--by=up is not understood: left, right, half, or whole degrees clockwise");
    const Outcome outcome = run({"select", "a.png", "b.bmp", "--at", "20,3", "-o", "no", "-q"});
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_NE(outcome.err.find("velmont: a.png: --at=20,3 lies outside the image, which is 13 x 7\n"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(files(), (Names{"a.png", "b.bmp", "out"}));
}

TEST_F(Batch, NamesFollowThePatternAndTheFormat)
{
    for (const std::string name : {"a.png", "b.old.JPG", "c.bmp"})
        saveSmall(name);
    const auto named = [&](const Names &options) {
        Names words{"apply", "negative", "then", "sepia", "a.png", "b.old.JPG", "c.bmp", "-q", "-o", "out"};
        words.insert(words.end(), options.begin(), options.end());
        expectSilence(words);
        const Names names = filesIn("out");
        fs::remove_all(file("out"));
        return names;
    };
    EXPECT_EQ(named({}), (Names{"a.png", "b.old.JPG", "c.bmp"}));
    EXPECT_EQ(named({"--name", "{n}-{effect}.{ext}"}),
              (Names{"1-negative-sepia.png", "2-negative-sepia.JPG", "3-negative-sepia.bmp"}));
    EXPECT_EQ(named({"--name", "{stem}-small.bmp"}),
              (Names{"a-small.bmp", "b.old-small.bmp", "c-small.bmp"}));
    EXPECT_EQ(named({"--format", "jpeg"}), (Names{"a.jpeg", "b.old.JPG", "c.jpeg"}));
}

TEST_F(Batch, RefusesNamesThatCannotBeBeforeAnyWork)
{
    for (const std::string name : {"a.png", "b.png", "sub/a.png", "mask.png"})
        saveSmall(name, Kind::Gray);
    const auto refused = [&](const Names &words, int code, const std::string &line) {
        Names all{"apply", "negative", "-o", "out"};
        all.insert(all.end(), words.begin(), words.end());
        expectRefusal(all, code, line);
        EXPECT_EQ(files(), (Names{"a.png", "b.png", "mask.png", "sub"}));
    };
    refused({"a.png", "sub"}, 2,
            "\"a.png\" and \"sub/a.png\" would both become out/a.png; --name tells them apart, as in --name "
            "\"{n}-{stem}.{ext}\"");
    refused({"a.png", "./a.png", "b.png", "b.png"}, 2,
            "\"a.png\" and \"./a.png\" would both become out/a.png (and 1 more); --name tells them apart, as "
            "in --name \"{n}-{stem}.{ext}\"");
    refused({"a.png", "b.png", "--name", "x.png"}, 2,
            "--name gives all results one name; {stem} or {n} in it tells them apart");
    refused({"a.png", "b.png", "--name", "{stem}/x.png"}, 2,
            "--name: \"a/x.png\" is not a file's name: it has a slash");
    refused({"a.png", "b.png", "--name", "{stem}.xyz"}, 2,
            "a.png: the ending of \"a.xyz\" names no format; --format or --name can give one");
    refused({"a.png", "b.png", "--name", "{steam}.png"}, 2,
            "--name: there is no field {steam}; did you mean stem?");
    refused({"a.png", "-"}, 2, "standard input has no name that a file in a folder could have; -o FILE");
    refused({"a.png", "b.png", "--jobs", "0"}, 2, "--jobs=0 is out of range: a whole number from 1 to 256");
    refused({"a.png", "b.png", "--jobs", "two"}, 2,
            "--jobs=two is not understood: a whole number from 1 to 256");
    expectRefusal({"apply", "negative", "a.png", "b.png"}, 2, "no output is given: -o DIR");
    expectRefusal({"apply", "negative", "a.png", "b.png", "-o", "-"}, 2,
                  "only one image can go to standard output; several need a folder: -o DIR");
    expectRefusal({"apply", "negative", "a.png", "b.png", "-o", "mask.png"}, 2,
                  "mask.png: is no folder; several images need one: -o DIR");
    expectRefusal({"apply", "negative", "a.png", "b.png", "-o", "new.png"}, 2,
                  "new.png names a file and 2 images are given, \"a.png\" and \"b.png\"; results "
                  "need a folder: -o DIR, or -o new.png/");
    expectRefusal({"apply", "negative", "a.png", "-o", "new.png", "--name", "{n}.png"}, 2,
                  "--name is for results in a folder: -o DIR/");
    EXPECT_EQ(files(), (Names{"a.png", "b.png", "mask.png", "sub"}));
}

TEST_F(Batch, ReplacesOnlyWithForceAndNeverWhatOthersNeed)
{
    for (const std::string name : {"a.png", "b.png", "mask.png"})
        saveSmall(name, Kind::Gray);
    const std::string before = textOf("a.png");
    expectRefusal({"apply", "negative", "a.png", "b.png", "-o", "."}, 2,
                  "./a.png: exists already (and 1 more); pass --force to replace it");
    expectRefusal(
        {"apply", "negative", "a.png", "b.png", "-o", ".", "--force", "--name", "{stem}.png", "--mask",
         "b.png"},
        2, "./b.png: would be written over, and is needed by another image; choose another folder or --name");
    saveSmall("2.png", Kind::Gray);
    expectRefusal(
        {"apply", "negative", "2.png", "a.png", "-o", ".", "--force", "--name", "{n}.png"}, 2,
        "./2.png: would be written over, and is needed by another image; choose another folder or --name");
    EXPECT_EQ(textOf("a.png"), before);
    expectSilence({"apply", "negative", "a.png", "b.png", "-o", ".", "--force"});
    EXPECT_NE(textOf("a.png"), before);
    EXPECT_EQ(files(), (Names{"2.png", "a.png", "b.png", "mask.png"}));
}

TEST_F(Batch, PicturesBesideTheResultsTakeAPattern)
{
    saveSmall("a.png");
    saveSmall("b.png");
    saveSmall("alpha.png", Kind::Gray);
    const auto words = [](const std::string &made) {
        return Names{
            "apply", "splash-cut-out", "alpha=alpha.png", "newAlpha=" + made, "a.png", "b.png", "-o", "out",
            "-q"};
    };
    expectRefusal(words("moved.png"), 2,
                  "moved.png: would be written for every image; {stem} or {n} in its name, as in "
                  "{stem}-moved.png, tells them apart");
    expectSilence(words("{stem}-moved.png"));
    EXPECT_EQ(files(), (Names{"a-moved.png", "a.png", "alpha.png", "b-moved.png", "b.png", "out"}));
    expectRefusal({"shadow", "a.png", "b.png", "--mask", "alpha.png", "--new-mask", "m.png", "-o", "shadows"},
                  2,
                  "m.png: would be written for every image; {stem} or {n} in its name, as in {stem}-m.png, "
                  "tells them apart");
}

TEST_F(Batch, OddNamesAreNamesLikeOthers)
{
    const Names odd{" ", "-a", "a b", "line\nend", "caf\xC3\xA9", "no\xFFtext", "{n}", "q\"uote", "then=1"};
    for (const std::string &name : odd) {
        saveSmall("in/" + name + ".png");
        writeText("in/" + name + "!.png", "bad");
    }
    const Outcome outcome = run({"apply", "negative", "in", "-o", "out", "-q", "--json"});
    EXPECT_EQ(outcome.exitCode, 6);
    Names expected;
    for (const std::string &name : odd)
        expected.push_back(name + ".png");
    std::ranges::sort(expected);
    EXPECT_EQ(filesIn("out"), expected);
    EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 10) << outcome.err;
    EXPECT_NE(outcome.err.find("velmont: in/line\\nend!.png: "), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("velmont: in/no\\xfftext!.png: "), std::string::npos) << outcome.err;
    const Json told = Json::parse(outcome.out);
    EXPECT_EQ(told["results"].size(), odd.size());
    EXPECT_EQ(told["failed"].size(), odd.size());
    expectSilence({"apply", "negative", "-q", "-o", "out2", "--", "in/-a.png", "in/then=1.png"});
}

TEST_F(Batch, ADryRunWritesNothing)
{
    saveSmall("a.png");
    saveSmall("b.png");
    EXPECT_EQ(run({"apply", "negative", "a.png", "b.png", "-o", "out", "--dry-run"}).exitCode, 0);
    EXPECT_EQ(files(), (Names{"a.png", "b.png"}));
}

TEST_F(Batch, WhatCannotBeWrittenFailsAlone)
{
    save(Kind::Colour, 200, 200, file("large.bmp"));
    saveSmall("small.bmp");
    const std::string shell = "ulimit -f 20; exec \"$0\" apply negative large.bmp small.bmp -q -o out";
    const Outcome outcome = Program(folder(), {"/bin/sh", "-c", shell, programPath()}).finish();
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_EQ(outcome.err, "velmont: large.bmp: out/large.bmp: cannot be written: File too large\n"
                           "velmont: 1 of 2 images written; 1 failed\n");
    EXPECT_EQ(filesIn("out"), Names{"small.bmp"});
}

/// With a folder "out" that is a file system of its own.
class OwnFileSystem : public Batch {
protected:
    void SetUp() override
    {
        fs::create_directory(file("out"));
        if (mounted("-o size=64k", "true").exitCode != 0)
            GTEST_SKIP() << "this system lets nobody mount a file system of his own";
        save(Kind::Colour, 200, 200, file("large.bmp"));
        saveSmall("small.bmp");
    }
    Outcome mounted(const std::string &options, const std::string &shell) const
    {
        return Program(folder(), {"/usr/bin/env", "unshare", "-rm", "/bin/sh", "-c",
                                  "mount -t tmpfs " + options + " none out && " + shell, programPath()})
            .finish();
    }
};

TEST_F(OwnFileSystem, AFullDiskIsTold)
{
    const Outcome outcome =
        mounted("-o size=64k",
                "{ \"$0\" apply negative large.bmp small.bmp -q -o out; code=$?; ls -A out; exit $code; }");
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_EQ(outcome.err, "velmont: large.bmp: out/large.bmp: cannot be written: No space left on device\n"
                           "velmont: 1 of 2 images written; 1 failed\n");
    EXPECT_EQ(outcome.out, "small.bmp\n");
}

TEST_F(OwnFileSystem, AReadOnlyFolderIsTold)
{
    const Outcome outcome = mounted(
        "-o ro", "exec \"$0\" apply negative small.bmp small.bmp --name '{n}.png' -q -o out --jobs 1");
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_EQ(outcome.err,
              "velmont: small.bmp: out/1.png: cannot write into the folder out: Read-only file system\n"
              "velmont: small.bmp: out/2.png: cannot write into the folder out: Read-only file system\n"
              "velmont: 0 of 2 images written; 2 failed\n");
}

TEST_F(OwnFileSystem, OneImageHasTheExitCodeOfItsFailure)
{
    const Outcome full =
        mounted("-o size=64k",
                "{ \"$0\" apply negative large.bmp -o out/large.bmp; code=$?; ls -A out; exit $code; }");
    EXPECT_EQ(full.exitCode, 4);
    EXPECT_EQ(full.err, "velmont: out/large.bmp: cannot be written: No space left on device\n");
    EXPECT_EQ(full.out, "");
    const Outcome readOnly = mounted("-o ro", "exec \"$0\" apply negative small.bmp -o out/small.bmp");
    EXPECT_EQ(readOnly.exitCode, 4);
    EXPECT_EQ(readOnly.err,
              "velmont: out/small.bmp: cannot write into the folder out: Read-only file system\n");
}

TEST_F(Batch, TellsWhereNoFolderCanBeMade)
{
    saveSmall("a.png");
    expectRefusal({"apply", "negative", "a.png", "a.png", "--name", "{n}.png", "-o", "a.png/out"}, 4,
                  "a.png/out: the folder cannot be made: Not a directory");
}

TEST_F(Batch, OneLineShowsTheProgressOfAll)
{
    if (!hasTerminals())
        GTEST_SKIP() << "this system has no pseudo terminals";
    for (const std::string name : {"in/a.bmp", "in/b.bmp"}) {
        fs::create_directories(file("in"));
        save(Kind::Colour, 600, 400, file(name));
    }
    Names words{"apply", "negative"};
    for (int i = 0; i < 2000; ++i)
        words.insert(words.end(), {"then", "negative"});
    words.insert(words.end(), {"in", "-o", "out", "--jobs", "1"});
    const Outcome outcome = Program(folder(), command(words), Terminal::Yes).finish();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.err.find("\r0/2 images ["), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("% a.bmp"), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find("negative ["), std::string::npos) << outcome.err;
    EXPECT_TRUE(outcome.err.ends_with("\r" + std::string(kTerminalColumns - 1, ' ') + "\r")) << outcome.err;
}

TEST(BatchLine, FitsEveryWidth)
{
    EXPECT_EQ(cli::batchLine(12, 200, 50, "a.jpg", 48), "12/200 images [##########..........]  50% a.jpg");
    EXPECT_EQ(cli::batchLine(12, 200, 50, "a\nb.jpg", 46), "12/200 images [##########..........]  50% a\\nb");
    for (std::size_t columns = 0; columns < 80; ++columns)
        EXPECT_LE(cli::batchLine(12, 200, 6, "long-name.jpg", columns).size(), columns);
}

TEST(ResultFolder, LeavesNothingEmptyBehind)
{
    const fs::path root = fs::temp_directory_path() / ("velmont-folder-" + std::to_string(getpid()));
    {
        const cli::ResultFolder folder(root / "a/b/");
        EXPECT_TRUE(folder.isNew());
        EXPECT_TRUE(fs::is_directory(root / "a/b"));
        EXPECT_FALSE(cli::ResultFolder(root / "a").isNew());
        EXPECT_TRUE(fs::is_directory(root / "a"));
    }
    EXPECT_FALSE(fs::exists(root));
}

} // namespace

} // namespace velmont::test
