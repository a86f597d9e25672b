// `velmont resize`, `crop` and `rotate`.

#include "cli_test.h"
#include "measures.h"
#include <velmont/dib.h>

namespace velmont::test {

namespace {

/// A picture's pixels, rows from the top.
using Grid = std::vector<std::vector<uint32_t>>;

Grid gridOf(const std::filesystem::path &path)
{
    const io::Picture picture = io::readPicture(path);
    int width = 0, height = 0;
    GetDibSize(picture.dib.get(), &width, &height);
    const auto colours = coloursOf(picture.dib.get());
    Grid grid;
    for (int y = height - 1; y >= 0; --y)
        grid.emplace_back(colours.begin() + std::ptrdiff_t{y} * width,
                          colours.begin() + std::ptrdiff_t{y + 1} * width);
    return grid;
}

/// The grid with pixel (x, y) of the result taken from `from(x, y)`.
template <typename From>
Grid gridFrom(std::size_t width, std::size_t height, From from)
{
    Grid grid(height, std::vector<uint32_t>(width));
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            grid[y][x] = from(x, y);
    return grid;
}

class GeometryCommand : public CliTest {
protected:
    GeometryCommand() { save(Kind::Colour, 5, 4, file("in.png")); }
    Grid result() const { return gridOf(file("out.png")); }
    Grid source() const { return gridOf(file("in.png")); }
    void make(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"-o", "out.png", "--force"});
        expectSilence(arguments);
    }
};

using Rotate = GeometryCommand;
using Crop = GeometryCommand;
using Resize = GeometryCommand;

TEST_F(Rotate, RightPutsTheLeftSideOnTop)
{
    const Grid in = source();
    for (const char *by : {"right", "90", "450", "-270"}) {
        make({"rotate", "in.png", "--by", by});
        EXPECT_EQ(result(), gridFrom(4, 5, [&](std::size_t x, std::size_t y) { return in[3 - x][y]; })) << by;
    }
}

TEST_F(Rotate, LeftPutsTheRightSideOnTop)
{
    const Grid in = source();
    for (const char *by : {"left", "270", "-90"}) {
        make({"rotate", "in.png", "--by", by});
        EXPECT_EQ(result(), gridFrom(4, 5, [&](std::size_t x, std::size_t y) { return in[x][4 - y]; })) << by;
    }
}

TEST_F(Rotate, HalfTurnsAround)
{
    const Grid in = source();
    make({"rotate", "in.png", "--by", "half"});
    EXPECT_EQ(result(), gridFrom(5, 4, [&](std::size_t x, std::size_t y) { return in[3 - y][4 - x]; }));
}

TEST_F(Rotate, AWholeTurnChangesNothing)
{
    const Grid in = source();
    for (const char *by : {"0", "360", "-720"}) {
        make({"rotate", "in.png", "--by", by});
        EXPECT_EQ(result(), in) << by;
    }
}

TEST_F(Rotate, QuartersServeEveryDepth)
{
    for (const Kind kind : kKinds) {
        save(kind, 11, 6, file("in.png"));
        make({"rotate", "in.png", "--by", "left"});
        expectSilence({"rotate", "out.png", "--by", "right", "-o", "back.png", "--force"});
        EXPECT_EQ(gridOf(file("back.png")), source());
    }
}

TEST_F(Rotate, OtherAnglesTurnClockwiseOnAGround)
{
    io::Picture picture{io::DibHandle(CreateDib(40, 40, 24, 0, 0xFFFFFF)), {}};
    save(picture, file("white.png"));
    make({"rotate", "white.png", "--by", "45", "--background", "#102030"});
    const Grid out = result();
    ASSERT_EQ(out.size(), 57u);
    ASSERT_EQ(out[0].size(), 57u);
    for (const std::size_t y : {std::size_t{0}, std::size_t{56}})
        for (const std::size_t x : {std::size_t{0}, std::size_t{56}})
            EXPECT_EQ(out[y][x], 0x102030u);
    EXPECT_EQ(out[28][28], 0xFFFFFFu);
    // Turned a little clockwise, the upper side comes down on the right and leaves ground above it there.
    make({"rotate", "white.png", "--by", "10", "--background", "#102030"});
    const Grid tilted = result();
    const std::size_t quarter = tilted[0].size() / 4;
    EXPECT_EQ(tilted[2][quarter], 0xFFFFFFu);
    EXPECT_EQ(tilted[2][tilted[0].size() - 1 - quarter], 0x102030u);
}

TEST_F(Rotate, RefusesWhatIsNoTurn)
{
    expectRefusal({"rotate", "in.png", "-o", "out.png"}, 2,
                  "rotate needs --by: left, right, half, or whole degrees clockwise");
    for (const std::string by : {"up", "1.5", "90x"})
        expectRefusal({"rotate", "in.png", "--by", by, "-o", "out.png"}, 2,
                      "--by=" + by + " is not understood: left, right, half, or whole degrees clockwise");
    expectRefusal({"rotate", "in.png", "--by", "30", "--background", "red", "-o", "out.png"}, 2,
                  "rotate: background=red is not understood: a colour as #rrggbb");
    expectRefusal({"rotate", "--by", "left", "-o", "out.png"}, 2, "rotate needs an image");
    expectRefusal({"rotate", "in.png", "--by", "left"}, 2, "no output is given: -o FILE");
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

TEST_F(Crop, CountsFromTheUpperLeftCorner)
{
    const Grid in = source();
    make({"crop", "in.png", "--at", "1,1", "--size", "3x2"});
    EXPECT_EQ(result(), gridFrom(3, 2, [&](std::size_t x, std::size_t y) { return in[y + 1][x + 1]; }));
    make({"crop", "in.png", "--at", "2,3"});
    EXPECT_EQ(result(), gridFrom(3, 1, [&](std::size_t x, std::size_t y) { return in[y + 3][x + 2]; }));
    make({"crop", "in.png", "--size", "x2"});
    EXPECT_EQ(result(), gridFrom(5, 2, [&](std::size_t x, std::size_t y) { return in[y][x]; }));
}

TEST_F(Crop, FillsWhatLiesOutside)
{
    const Grid in = source();
    make({"crop", "in.png", "--at", "-1,-2", "--size", "7x7", "--background", "#0a0b0c"});
    EXPECT_EQ(result(), gridFrom(7, 7, [&](std::size_t x, std::size_t y) {
                  const bool inside = x >= 1 && x < 6 && y >= 2 && y < 6;
                  return inside ? in[y - 2][x - 1] : 0x0a0b0cu;
              }));
    make({"crop", "in.png", "--at", "-1,-2", "--size", "7x7", "--wrap"});
    EXPECT_EQ(result(),
              gridFrom(7, 7, [&](std::size_t x, std::size_t y) { return in[(y + 2) % 4][(x + 4) % 5]; }));
}

TEST_F(Crop, RefusesWhatIsNoRectangle)
{
    expectRefusal({"crop", "in.png", "-o", "out.png"}, 2, "crop needs --at, --size or both");
    expectRefusal(
        {"crop", "in.png", "--at", "3", "-o", "out.png"}, 2,
        "--at=3 is not understood: X,Y in pixels from the left and the top, up to 30000 either way");
    expectRefusal({"crop", "in.png", "--at", "5,0", "-o", "out.png"}, 5,
                  "crop: in.png: no result: out of memory, or nothing to do");
    save(Kind::FourBit, 5, 4, file("few.png"));
    EXPECT_EQ(run({"crop", "few.png", "--at", "1,1", "-o", "out.png"}).exitCode, 3);
    expectSilence({"crop", "few.png", "--at", "1,1", "-o", "out.png", "--convert", "-q"});
}

TEST_F(Resize, KeepsProportions)
{
    save(Kind::Colour, 40, 20, file("in.png"));
    const auto sizeOf = [&](std::vector<std::string> arguments) {
        make(std::move(arguments));
        return std::pair(result()[0].size(), result().size());
    };
    using Sides = std::pair<std::size_t, std::size_t>;
    EXPECT_EQ(sizeOf({"resize", "in.png", "--size", "10x"}), Sides(10, 5));
    EXPECT_EQ(sizeOf({"resize", "in.png", "--size", "x10"}), Sides(20, 10));
    EXPECT_EQ(sizeOf({"resize", "in.png", "--size", "30x7"}), Sides(30, 7));
    EXPECT_EQ(sizeOf({"resize", "in.png", "--percent", "150"}), Sides(60, 30));
    EXPECT_EQ(sizeOf({"resize", "in.png", "--percent", "0.1"}), Sides(1, 1));
    EXPECT_EQ(sizeOf({"resize", "in.png", "--size", "8x8", "--method", "fast"}), Sides(8, 8));
}

TEST_F(Resize, ServesEveryDepth)
{
    for (const Kind kind : kKinds) {
        save(kind, 11, 6, file("in.png"));
        for (const char *method : {"smooth", "fast"}) {
            make({"resize", "in.png", "--size", "22x12", "--method", method});
            EXPECT_EQ(result().size(), 12u);
            EXPECT_EQ(result()[0].size(), 22u);
        }
    }
}

TEST_F(Resize, FastDoublingHoldsThePixelsOfTheImage)
{
    const Grid in = source();
    make({"resize", "in.png", "--percent", "200", "--method", "fast"});
    const Grid out = result();
    // Rows are stored from the bottom, so that the even ones are counted from there.
    for (std::size_t y = 0; y < 4; ++y)
        for (std::size_t x = 0; x < 5; ++x)
            EXPECT_EQ(out[7 - 2 * y][2 * x], in[3 - y][x]) << x << ", " << y;
}

TEST_F(Resize, FastKeepsTheResolution)
{
    io::Picture picture{io::DibHandle(CreateDib(10, 10, 24, 5000, 0)), {}};
    save(picture, file("in.bmp"));
    for (const char *method : {"smooth", "fast"}) {
        expectSilence({"resize", "in.bmp", "--size", "5x", "--method", method, "-o", "out.bmp", "--force"});
        const std::string bytes = textOf("out.bmp");
        EXPECT_EQ(static_cast<unsigned char>(bytes.at(38)) + 256 * static_cast<unsigned char>(bytes.at(39)),
                  5000)
            << method;
    }
}

TEST_F(Resize, RefusesWhatIsNoSize)
{
    expectRefusal({"resize", "in.png", "-o", "out.png"}, 2, "resize needs either --size or --percent");
    expectRefusal({"resize", "in.png", "--size", "3x", "--percent", "5", "-o", "out.png"}, 2,
                  "resize needs either --size or --percent");
    for (const std::string size : {"x", "800", "0x5", "-1x5", "5x30001", "axb", "5x5x5"})
        expectRefusal({"resize", "in.png", "--size=" + size, "-o", "out.png"}, 2,
                      "--size=" + size +
                          " is not understood: WIDTHxHEIGHT, WIDTHx or xHEIGHT, from 1 to 30000 pixels");
    for (const std::string percent : {"0", "-5", "nan", "10001", "5x"})
        expectRefusal({"resize", "in.png", "--percent=" + percent, "-o", "out.png"}, 2,
                      "--percent=" + percent + " is not understood: a number above 0, up to 10000");
    expectRefusal({"resize", "in.png", "--size", "5x", "--method", "best", "-o", "out.png"}, 2,
                  "--method=best is not understood: smooth or fast");
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

} // namespace

} // namespace velmont::test
