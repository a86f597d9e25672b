#include "host/host_path.h"
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmont::testing {

namespace {

/// Drive, directory, name and extension, a bar between them.
std::string partsOf(const char *path)
{
    const PathParts parts = splitPath(path);
    std::string text(parts.drive);
    for (const std::string_view part : {parts.directory, parts.name, parts.extension})
        text.append("|").append(part);
    return text;
}

std::vector<std::string> tokensOf(std::string_view path)
{
    std::vector<std::string> all;
    PathTokens tokens(path);
    for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next())
        all.emplace_back(token);
    return all;
}

using Tokens = std::vector<std::string>;

} // namespace

TEST(PathGrammar, APathHasFourParts)
{
    EXPECT_EQ(partsOf("c:\\a\\b\\name.ext"), "c:|\\a\\b\\|name|.ext");
    EXPECT_EQ(partsOf("c:/a\\b/name.ext"), "c:|/a\\b/|name|.ext");
    EXPECT_EQ(partsOf("c:name"), "c:||name|");
    EXPECT_EQ(partsOf("c:"), "c:|||");
    EXPECT_EQ(partsOf("c:\\"), "c:|\\||");
    EXPECT_EQ(partsOf("\\\\server\\share\\"), "|\\\\server\\share\\||");
    EXPECT_EQ(partsOf("name"), "||name|");
    EXPECT_EQ(partsOf(""), "|||");
    EXPECT_EQ(partsOf(nullptr), "|||");
}

TEST(PathGrammar, TheExtensionBeginsAtTheLastDotOfTheName)
{
    EXPECT_EQ(partsOf("a.b.c"), "||a.b|.c");
    EXPECT_EQ(partsOf("a.b\\c"), "|a.b\\|c|");
    EXPECT_EQ(partsOf(".a"), "|||.a");
    EXPECT_EQ(partsOf("a."), "||a|.");
    EXPECT_EQ(partsOf(".."), "||.|.");
}

TEST(PathGrammar, ADriveIsWhateverStandsBeforeAColonInTheSecondPlace)
{
    EXPECT_EQ(partsOf("\\:a"), "\\:||a|");
    EXPECT_EQ(partsOf("::"), "::|||");
    EXPECT_EQ(partsOf(":"), "||:|");
    EXPECT_EQ(partsOf("ab:c"), "||ab:c|");
}

TEST(PathGrammar, AllButTheDriveIsTheRest)
{
    EXPECT_EQ(splitPath("c:\\a\\b.c").rest(), "\\a\\b.c");
    EXPECT_EQ(splitPath("b").rest(), "b");
    EXPECT_EQ(splitPath("").rest(), "");
}

TEST(PathGrammar, EachPartHasItsLimit)
{
    const std::string longest(255, 'x');
    EXPECT_TRUE(splitPath(longest.c_str()).fit());
    EXPECT_TRUE(splitPath(("c:\\" + longest).c_str()).fit());
    EXPECT_FALSE(splitPath((longest + "x").c_str()).fit());
    EXPECT_FALSE(splitPath((longest + "\\").c_str()).fit());
    EXPECT_TRUE(splitPath((longest.substr(1) + "\\").c_str()).fit());
    std::string extension = ".";
    EXPECT_TRUE(splitPath(extension.append(longest.substr(1)).c_str()).fit());
    EXPECT_FALSE(splitPath(extension.append("x").c_str()).fit());
}

TEST(PathGrammar, BackslashSlashAndLineFeedSeparate)
{
    EXPECT_EQ(tokensOf("a\\b/c\nd"), (Tokens{"a", "b", "c", "d"}));
    EXPECT_EQ(tokensOf("\\\\/a\n\n\\b\\"), (Tokens{"a", "b"}));
    EXPECT_EQ(tokensOf("a b.c\r"), (Tokens{"a b.c\r"}));
    EXPECT_EQ(tokensOf(""), Tokens{});
    EXPECT_EQ(tokensOf("\\/\n"), Tokens{});
}

} // namespace velmont::testing
