#include "cli_test.h"
#include "list.h"

namespace velmont::test {

namespace {

/// Colour reaches terminals only.
class StyleTest : public CliTest {
protected:
    void SetUp() override
    {
        if (!hasTerminals())
            GTEST_SKIP() << "no terminals";
    }

    /// What a shell's command shows on a terminal, $0 being the program.
    std::string shown(const std::string &shell) const
    {
        return Program(folder(),
                       {"/bin/sh", "-c", "unset NO_COLOR; TERM=xterm; export TERM; " + shell, programPath()},
                       Terminal::Yes)
            .finish()
            .err;
    }
};

TEST_F(StyleTest, ErrorsStandOutOnATerminal)
{
    const std::string line = " there is no command \"lsit\"; did you mean list?\r\n";
    EXPECT_EQ(shown("\"$0\" lsit"), "\x1b[1;31mvelmont:\x1b[0m" + line);
    EXPECT_EQ(shown("NO_COLOR= \"$0\" lsit"), "\x1b[1;31mvelmont:\x1b[0m" + line) << "empty is not set";
    EXPECT_EQ(shown("NO_COLOR=1 \"$0\" lsit"), "velmont:" + line);
    EXPECT_EQ(shown("TERM=dumb \"$0\" lsit"), "velmont:" + line);
    EXPECT_EQ(shown("unset TERM; \"$0\" lsit"), "velmont:" + line);
    EXPECT_EQ(shown("\"$0\" lsit 2>&1 | cat >&2"), "velmont:" + line) << "a pipe is no terminal";
}

TEST_F(StyleTest, HeadingsStandOutOnATerminal)
{
    const std::string family(cli::familyWords().front());
    EXPECT_EQ(shown("\"$0\" list >&2").rfind("\x1b[1m" + family, 0), 0u);
    EXPECT_EQ(shown("NO_COLOR=1 \"$0\" list >&2").rfind(family, 0), 0u);
    const std::string info = shown("\"$0\" info blur >&2");
    for (const std::string heading : {"blur", "fields", "example"})
        EXPECT_NE(info.find("\x1b[1m" + heading + "\x1b[0m"), std::string::npos) << heading;
    EXPECT_EQ(shown("\"$0\" info blur | cat >&2").find('\x1b'), std::string::npos);
    EXPECT_EQ(shown("NO_COLOR=1 \"$0\" info blur >&2").find('\x1b'), std::string::npos);
    EXPECT_EQ(shown("\"$0\" info --json blur >&2").find('\x1b'), std::string::npos);
}

} // namespace

} // namespace velmont::test
