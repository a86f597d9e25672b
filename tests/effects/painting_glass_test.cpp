// Stained glass.

#include "core/clock.h"
#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/painting.h>

namespace velmont::testing {

namespace {

constexpr uint8_t kFill = 0xCD;

struct Point {
    int64_t x = 0, y = 0;
};

tagStainedGlassParam recordOf(int cellDivisor, int leadWidth = 2, int light = 0, uint32_t leadColor = 0)
{
    tagStainedGlassParam record{};
    record.cellDivisor = cellDivisor;
    record.leadWidth = leadWidth;
    std::memcpy(record.leadColor, &leadColor, sizeof record.leadColor);
    record.light = light;
    return record;
}

Effect stainedGlass(const tagStainedGlassParam &param)
{
    return [=](void *dib) {
        tagStainedGlassParam record = param;
        return ProcessStainedGlass(dib, &record);
    };
}

/// The effect step by step and pixel by pixel, over as many pixels as hosts rely on: width^2 + height^2.
class Plain {
public:
    Plain(const Pieces &source, const tagStainedGlassParam &param, uint32_t seconds)
        : record(param), numbers(seconds), width_(source.header.biWidth), height_(source.header.biHeight),
          pixels_(static_cast<std::size_t>(3 * (width_ * width_ + height_ * height_)), 0)
    {
        const std::size_t stride = strideFor(source.header.biWidth, 24),
                          used = 3 * static_cast<std::size_t>(width_);
        for (std::size_t y = 0; y < static_cast<std::size_t>(height_); ++y)
            std::copy_n(&source.rows[y * stride], used, &pixels_[y * used]);
        grid();
        panes();
        light();
        lead();
    }

    /// The block of a result that was filled with kFill.
    Bytes block(const Pieces &source) const
    {
        Pieces result = source;
        std::fill(result.rows.begin(), result.rows.end(), kFill);
        const std::size_t stride = strideFor(source.header.biWidth, 24),
                          used = 3 * static_cast<std::size_t>(width_);
        for (std::size_t y = 0; y < static_cast<std::size_t>(height_); ++y)
            std::copy_n(&pixels_[y * used], used, &result.rows[y * stride]);
        return result.bytes();
    }

    tagStainedGlassParam record; ///< with the fields that the lines leave behind
    Numbers numbers;
    int drawn = 0;         ///< numbers
    mutable int below = 0; ///< colours taken from what a pane painted far below the last row
    int64_t cols = 0, rows = 0;
    bool isCells = false; ///< placed as a honeycomb

private:
    using Color = std::array<int, 3>;

    double between(double a, double b)
    {
        ++drawn;
        return a + numbers.next() * (b - a) * 3.051850947599719e-5;
    }
    static int64_t cut(double value) { return static_cast<int64_t>(value); }
    Point &p(int64_t row, int64_t col) { return points_[static_cast<std::size_t>(row * cols + col)]; }

    void grid()
    {
        const double w = static_cast<double>(width_), h = static_cast<double>(height_);
        const int64_t cols0 =
            record.cellDivisor == 2 ? cut(w * 0.17543859649122806) : cut(w / (record.cellDivisor * 1.9));
        const double s0 = (w / static_cast<double>(3 * cols0 - 2)) * 1.732;
        const int64_t rows0 = cut((h + s0) / s0);
        if (rows0 <= 2 || cols0 <= 1)
            diagonal();
        else if (rows0 == 3 || cols0 == 2)
            three();
        else if (rows0 == 4 || cols0 == 3)
            seven();
        else
            cells(cols0);
    }
    void size(int64_t c, int64_t r)
    {
        cols = c;
        rows = r;
        points_.assign(static_cast<std::size_t>(c * r), {});
    }
    void diagonal()
    {
        size(1, 2);
        p(1, 0) = {width_ - 1, height_ - 1};
    }
    static double slope(Point a, Point b)
    {
        return a.y == b.y ? 0 : static_cast<double>((a.x - b.x) / (a.y - b.y));
    }
    void three()
    {
        size(1, 4);
        const double w = static_cast<double>(width_), h = static_cast<double>(height_);
        p(0, 0) = {cut((between(-1, 1) * 0.4 + 0.5) * w), 0};
        p(2, 0) = {0, cut((between(-0.5, 1) * 0.4 + 0.5) * h)};
        p(3, 0) = {width_ - 1, cut((between(-0.5, 1) * 0.4 + 0.5) * h)};
        const double s1 = slope(p(0, 0), p(2, 0)), s2 = slope(p(0, 0), p(3, 0));
        const double t = between(std::min(s1, s2), std::max(s1, s2));
        p(1, 0).y = cut(between(5.0, static_cast<double>(std::min(p(2, 0).y, p(3, 0).y))));
        p(1, 0).x = cut(static_cast<double>(p(1, 0).y) * t + static_cast<double>(p(0, 0).x));
    }
    void seven()
    {
        size(4, 4);
        const double w = static_cast<double>(width_), h = static_cast<double>(height_);
        const auto x = [&](double a, double b) { return cut(between(a * w, b * w)); };
        const auto y = [&](double a, double b) { return cut(between(a * h, b * h)); };
        p(0, 0) = {x(0.2, 0.8), 0};
        p(0, 1) = {width_ - 1, y(0.05, 0.2)};
        p(1, 0) = {0, y(0.05, 0.2)};
        p(2, 0) = {0, y(0.7, 0.9)};
        p(2, 3) = {width_, y(0.7, 0.9)};
        p(3, 0) = {x(0.25, 0.49), height_ - 1};
        p(3, 1) = {x(0.51, 0.75), height_ - 1};
        p(1, 2).x = x(0.4, 0.6);
        p(1, 2).y = y(0.2, 0.4);
        const auto d = [](int64_t v) { return static_cast<double>(v); };
        int64_t m = std::max(p(1, 0).y, p(1, 2).y);
        p(1, 1).x = cut(between(0.3, 0.6) * d(p(1, 2).x));
        p(1, 1).y = cut(between(0.2, 0.4) * d(p(2, 0).y - m) + d(m));
        m = std::max(p(0, 1).y, p(1, 2).y);
        p(1, 3).x = cut(between(0.3, 0.6) * d(width_ - p(1, 2).x - 1) + d(p(1, 2).x));
        p(1, 3).y = cut(between(0.2, 0.4) * d(p(2, 3).y - m) + d(m));
        double a = slope(p(1, 1), p(2, 0)), b = slope(p(1, 1), p(3, 0));
        double t = between(std::min(a, b), std::max(a, b));
        p(2, 1).y = cut(between(0.3, 0.6) * d(p(2, 0).y - p(1, 1).y) + d(p(1, 1).y));
        p(2, 1).x = cut(t * d(p(2, 1).y - p(1, 1).y) + d(p(1, 1).x));
        a = slope(p(1, 3), p(3, 1));
        b = slope(p(1, 3), p(2, 3));
        t = between(std::min(a, b), std::max(a, b));
        p(2, 2).y = cut(between(0.3, 0.6) * d(p(2, 3).y - p(1, 3).y) + d(p(1, 3).y));
        p(2, 2).x = cut(t * d(p(2, 2).y - p(1, 3).y) + d(p(1, 3).x));
    }
    void cells(int64_t cols0)
    {
        isCells = true;
        const int64_t c = cols0 / 2 * 2;
        const double u = static_cast<double>(width_) / static_cast<double>(3 * c - 2);
        const double s = u * 1.732;
        const int64_t r = cut((static_cast<double>(height_) + s) / s) / 2 * 2;
        const double v = static_cast<double>(height_) / static_cast<double>(r - 1);
        size(c, r);
        const auto units = [&](int64_t n) { return cut(static_cast<double>(n) * u); };
        for (int64_t q = 0; q < r; q += 2)
            for (int64_t j = 0; j < c - 1; j += 2) {
                p(q, j).x = units(3 * j + 1);
                p(q, j + 1).x = units(3 * j + 3);
                p(q + 1, j).x = cut(static_cast<double>(j) * u * 3.0);
                p(q + 1, j + 1).x = units(3 * j + 4);
            }
        for (int64_t i = 0; i < r; ++i)
            for (int64_t j = 0; j < c; ++j) {
                p(i, c - 1).x = width_ - 1;
                p(i, j).y = i == r - 1 ? height_ - 1 : cut(static_cast<double>(i) * v);
            }
        for (int64_t i = 0; i < r; ++i)
            for (int64_t j = 0; j < c; ++j) {
                if (j != 0 && j != c - 1)
                    p(i, j).x = cut(between(-1, 1) * u * 0.4 + static_cast<double>(p(i, j).x));
                if (i != 0 && i != r - 1)
                    p(i, j).y = cut(between(-1, 1) * v * 0.4 + static_cast<double>(p(i, j).y));
            }
    }

    int64_t places() const { return width_ * width_ + height_ * height_; }
    Color pix(int64_t row, int64_t col) const
    {
        const int64_t at = row * width_ + col;
        if (at < 0 || at >= places())
            return {};
        const uint8_t *const from = &pixels_[static_cast<std::size_t>(3 * at)];
        if (at >= (width_ + 1) * height_ && from[0] + from[1] + from[2] > 0)
            ++below;
        return {from[0], from[1], from[2]};
    }
    static Color mean(const std::vector<Color> &colors)
    {
        Color sum{};
        for (const Color &color : colors)
            for (std::size_t i = 0; i < 3; ++i)
                sum[i] += color[i];
        for (int &each : sum)
            each /= static_cast<int>(colors.size());
        return sum;
    }
    /// From column trunc(left) to trunc(right).
    void span(int64_t y, double left, double right, const Color &color)
    {
        if (left <= right)
            for (int64_t x = cut(left); x <= cut(right); ++x) {
                const int64_t at = y * width_ + x;
                for (std::size_t i = 0; i < 3 && at >= 0 && at < places(); ++i)
                    pixels_[static_cast<std::size_t>(3 * at) + i] = static_cast<uint8_t>(color[i]);
            }
    }
    /// The column where the edge from one point to another one passes row y.
    static double edge(Point from, Point to, int64_t y)
    {
        const double m = static_cast<double>(to.x - from.x) / static_cast<double>(to.y - from.y);
        return static_cast<double>(y - from.y) * m + static_cast<double>(from.x);
    }
    void triangle(const Color &color, Point v0, Point v1, Point v2)
    {
        for (const auto &[f, g, apex] :
             {std::array{v0, v1, v2}, std::array{v0, v2, v1}, std::array{v1, v2, v0}})
            if (f.y == g.y && apex.y > f.y) {
                const Point left = f.x <= g.x ? f : g, right = f.x <= g.x ? g : f;
                for (int64_t y = apex.y; y >= f.y; --y)
                    span(y, edge(apex, left, y), edge(apex, right, y), color);
                return;
            }
        Point top = v1, a = v0, b = v2;
        if (v0.y < v1.y) {
            top = v0;
            a = v1;
        }
        if (v2.y < v0.y && v2.y < v1.y) {
            top = v2;
            a = v0;
            b = v1;
        }
        const auto angle = [&](Point to) {
            return std::atan2(static_cast<double>(to.y - top.y), static_cast<double>(to.x - top.x));
        };
        if (angle(a) < angle(b))
            std::swap(a, b);
        const int64_t e = std::min(a.y, b.y);
        for (int64_t y = top.y; y <= e; ++y)
            span(y, edge(top, a, y), edge(top, b, y), color);
        if (a.y < b.y)
            for (int64_t y = b.y; y >= e; --y)
                span(y, edge(b, a, y), edge(b, top, y), color);
        else
            for (int64_t y = a.y; y >= e; --y)
                span(y, edge(a, top, y), edge(a, b, y), color);
    }

    void panes()
    {
        if (rows == 2 && cols == 1)
            diagonalPanes();
        else if (rows == 4 && cols == 1)
            threePanes();
        else if (rows == 4 && cols == 4)
            sevenPanes();
        else
            cellPanes();
    }
    void diagonalPanes()
    {
        const int64_t w = width_, h = height_;
        const Point bottomRight{w - 1, h - 1};
        triangle(mean({pix(2 * w / 3, 5 * h / 6), pix(w / 6, 5 * h / 6), pix(w / 3, 2 * h / 3),
                       pix(w / 6, h / 3)}),
                 {0, 0}, {0, h - 1}, bottomRight);
        triangle(mean({pix(5 * w / 6, 2 * h / 3), pix(2 * w / 3, h / 3), pix(w / 3, h / 6), pix(w, h / 6)}),
                 {0, 0}, {w - 1, 0}, bottomRight);
    }
    void threePanes()
    {
        const int64_t r = width_ - 1, b = height_ - 1;
        const Point p0 = p(0, 0), p1 = p(1, 0), p2 = p(2, 0), p3 = p(3, 0);
        Color color = mean({pix(p1.x / 2, p1.y / 2), pix(p0.x / 2, p2.y / 2)});
        triangle(color, {0, 0}, p1, p2);
        triangle(color, {0, 0}, p1, p0);
        color = mean({pix((p1.x + r) / 2, p1.y / 2), pix((p0.x + p3.x) / 2, (p0.y + p3.y) / 2)});
        triangle(color, p1, p0, {r, 0});
        triangle(color, p1, {r, 0}, p3);
        color = mean({pix((p2.x + r) / 2, (p2.y + b) / 2), pix(p3.x / 2, (p3.y + b) / 2)});
        triangle(color, {0, b}, p2, p1);
        triangle(color, {0, b}, p1, {r, b});
        triangle(color, {r, b}, p3, p1);
    }
    void sevenPanes()
    {
        const int64_t r = width_ - 1, b = height_ - 1;
        const auto sample = [&](Point f, Point g) { return pix((f.x + g.x) / 2, (f.y + g.y) / 2); };
        const Point p00 = p(0, 0), p01 = p(0, 1), p10 = p(1, 0), p11 = p(1, 1), p12 = p(1, 2), p13 = p(1, 3);
        const Point p20 = p(2, 0), p21 = p(2, 1), p22 = p(2, 2), p23 = p(2, 3), p30 = p(3, 0), p31 = p(3, 1);
        Color color = pix(p12.x / 2, p12.y / 2);
        triangle(color, {0, 0}, p10, p11);
        triangle(color, {0, 0}, p11, p12);
        triangle(color, {0, 0}, p12, p00);
        color = pix((p12.x + r) / 2, p12.y / 2);
        triangle(color, {r, 0}, p01, p13);
        triangle(color, {r, 0}, p13, p12);
        triangle(color, {r, 0}, p12, p00);
        color = sample(p10, p21);
        triangle(color, p10, p20, p21);
        triangle(color, p10, p21, p11);
        color = sample(p13, p23);
        triangle(color, p01, p23, p22);
        triangle(color, p01, p22, p13);
        color = sample(p20, p30);
        triangle(color, {0, b}, p20, p21);
        triangle(color, {0, b}, p21, p30);
        color = sample(p23, p31);
        triangle(color, {r, b}, p31, p22);
        triangle(color, {r, b}, p22, p23);
        color = sample(p12, p31);
        triangle(color, p12, p11, p21);
        triangle(color, p12, p21, p30);
        triangle(color, p12, p30, p31);
        triangle(color, p12, p31, p22);
        triangle(color, p12, p22, p13);
    }
    Color mid(Point a, Point b) const { return pix((a.y + b.y) / 2, (a.x + b.x) / 2); }
    void cellPanes()
    {
        const int64_t n = rows, m = cols, last = m - 1;
        triangle(pix((p(0, 0).y + p(1, 0).y) / 3, (p(0, 0).x + p(1, 0).x) / 3), {0, 0}, p(0, 0), p(1, 0));
        triangle(pix((p(0, last).y + p(1, last).y) / 3, (p(0, 0).x + p(1, last).x) / 3), {width_ - 1, 0},
                 p(0, last), p(1, last));
        for (int64_t k = 2; k / 2 <= (n - 2) / 2; k += 2)
            for (const int64_t j : {int64_t{0}, last}) {
                const Point a = p(k - 1, j), b = p(k, j), c = p(k + 1, j);
                triangle(pix((a.y + b.y + c.y) / 3, (a.x + b.x + c.x) / 3), a, b, c);
            }
        for (int64_t j = 1; j < m - 2; j += 2) {
            const Color color = mean({mid(p(0, j + 1), p(1, j)), mid(p(0, j), p(1, j + 1))});
            triangle(color, p(0, j), p(1, j), p(1, j + 1));
            triangle(color, p(0, j), p(1, j + 1), p(0, j + 1));
        }
        for (int64_t j = 0; j < m - 1; j += 2) {
            const Color color = mean({mid(p(n - 2, j + 1), p(n - 1, j)), mid(p(n - 2, j), p(n - 1, j + 1))});
            triangle(color, p(n - 2, j), p(n - 1, j), p(n - 1, j + 1));
            triangle(color, p(n - 2, j), p(n - 1, j + 1), p(n - 2, j + 1));
        }
        for (int64_t i = 1, k = 0; k < (n - 2) / 2; i += 2, ++k)
            for (int64_t j = 0; j <= m - 1; j += 2)
                hexagon(i, j);
        for (int64_t i = 2, k = 0; k < (n - 2) / 2; i += 2, ++k)
            for (int64_t j = 1; j <= m - 2; j += 2)
                hexagon(i, j);
    }
    void hexagon(int64_t i, int64_t j)
    {
        const Point u0 = p(i - 1, j), u1 = p(i - 1, j + 1), a0 = p(i, j), a1 = p(i, j + 1), b0 = p(i + 1, j),
                    b1 = p(i + 1, j + 1);
        const Color color = mean({mid(a0, a1), mid(u1, b0), mid(u0, b1)});
        triangle(color, u0, a0, b0);
        triangle(color, u0, b0, b1);
        triangle(color, u0, b1, a1);
        triangle(color, u0, a1, u1);
    }

    void lighten(int64_t row, int64_t col, float add)
    {
        for (int64_t i = 0; i < 3; ++i) {
            uint8_t &byte = pixels_[static_cast<std::size_t>(3 * (row * width_ + col) + i)];
            const float value = static_cast<float>(byte) + add;
            byte = value > 255 ? uint8_t{255} : static_cast<uint8_t>(static_cast<int64_t>(value));
        }
    }
    void light()
    {
        const int64_t amount = int64_t{255} * record.light / 10, cx = width_ / 2, cy = height_ / 2,
                      r = std::min(width_, height_) / 2;
        const double k = std::sqrt(1.171572875251246), radius = static_cast<double>(r) / k;
        for (int64_t y = cy; y < cy + r; ++y)
            for (int64_t x = cx - r + 1; x <= cx; ++x) {
                const bool nearAxis = std::labs(x - cx) < std::labs(y - cy);
                const double t = nearAxis ? 0.41421356237 : 2.414213562373;
                const double scale = nearAxis ? k : std::sqrt(6.828427124745731);
                const auto fx = static_cast<double>(cx), fy = static_cast<double>(cy);
                const double e = std::fabs(
                    std::trunc(((fx * t - fy) - static_cast<double>(x) * t) + static_cast<double>(y)));
                const double d = e / scale;
                if (d > radius)
                    continue;
                const auto add = static_cast<float>(static_cast<double>(amount) * (1 - d / radius));
                lighten(y, x, add);
                lighten(2 * cy - y, 2 * cx - x, add);
                if (y != cy && x != cx) {
                    lighten(y, 2 * cx - x, add);
                    lighten(2 * cy - y, x, add);
                }
            }
    }

    void falloff()
    {
        double t[10] = {0.5}, bands[10], r = 0.1;
        for (int i = 1; i < 10; ++i, r += 0.1) {
            const double s = std::sqrt(1 - r * r);
            t[i] = 0.5 * s + 0.5 * r * r * std::log((s + 1) / (r * r));
        }
        for (int i = 0; i < 9; ++i)
            bands[i] = 0.05 * (t[i] + t[i + 1]);
        bands[9] = 0.05 * t[9];
        double(&f)[20] = record.lineFalloff;
        if (record.lineWidthWork == 1) {
            for (int k = 0; k < 20; ++k) {
                f[k] = 0;
                for (int u = k - 5; u <= k + 5; ++u)
                    f[k] += u > -10 && u < 10 ? bands[u < 0 ? -u : u] : 0;
            }
        } else {
            f[0] = bands[9];
            for (int j = 1; j < 10; ++j)
                f[j] = f[j - 1] + bands[9 - j];
            for (int q = 0; q < 10; ++q)
                f[10 + q] = f[9 + q] + bands[q];
            const double all = f[19];
            for (double &each : f)
                each /= all;
        }
        for (double &each : f)
            each = each > 1.0 ? 1.0 : each;
    }
    double coverage(double d) const
    {
        if (record.lineWidthWork == 1)
            return std::trunc(d * 10) < 20 ? record.lineFalloff[static_cast<int>(d * 10)] : 0.0;
        const double half = record.lineWidthWork * 0.5;
        if (d <= half - 1.0)
            return 1.0;
        const double index = std::trunc((half - d + 1.0) * 10);
        return index < 0 ? 0.0 : record.lineFalloff[index > 19 ? 19 : static_cast<int>(index)];
    }
    void blend(int64_t x, int64_t y, double d)
    {
        if (record.lineSlope < 0)
            y = -y;
        if (std::fabs(record.lineSlope) > 1)
            std::swap(x, y);
        if (x < 0 || x >= width_ || y < 0 || y >= height_)
            return;
        const double c = coverage(std::fabs(d));
        const int color[] = {record.lineColor0, record.lineColor1, record.lineColor2};
        for (int64_t i = 0; i < 3; ++i) {
            uint8_t &byte = pixels_[static_cast<std::size_t>(3 * (y * width_ + x) + i)];
            byte = static_cast<uint8_t>(color[i] * c + byte * (1 - c));
        }
    }
    void line(Point from, Point to, int width)
    {
        int64_t x0 = from.x, y0 = from.y, x1 = to.x, y1 = to.y;
        const int64_t half = (width + 1) / 2;
        record.lineSlope = 0;
        record.lineWidthWork = width;
        record.linePixelsPerRow = static_cast<int32_t>(width_);
        record.lineRows = static_cast<int32_t>(height_);
        record.lineColor0 = record.leadColor[0];
        record.lineColor1 = record.leadColor[1];
        record.lineColor2 = record.leadColor[2];
        if (x0 == x1) {
            for (int64_t y = std::min(y0, y1); y <= std::max(y0, y1); ++y)
                for (int64_t x = x0 - half; x <= x0 + half; ++x)
                    blend(x, y, static_cast<double>(x - x0));
            return;
        }
        if (y0 == y1) {
            for (int64_t x = std::min(x0, x1); x <= std::max(x0, x1); ++x)
                for (int64_t y = y0 - half; y <= y0 + half; ++y)
                    blend(x, y, static_cast<double>(y - y0));
            return;
        }
        record.lineSlope = static_cast<double>(y1 - y0) / static_cast<double>(x1 - x0);
        if (std::fabs(record.lineSlope) > 1) {
            std::swap(x0, y0);
            std::swap(x1, y1);
        }
        if (record.lineSlope < 0) {
            y0 = -y0;
            y1 = -y1;
        }
        if (x1 < x0) {
            std::swap(x0, x1);
            std::swap(y0, y1);
        }
        const int64_t dx = x1 - x0, dy = y1 - y0;
        int64_t d = dx - 2 * dy, y = y0;
        const double inv = 1 / (2 * std::sqrt(static_cast<double>(dx * dx + dy * dy)));
        const double tw = static_cast<double>(-2 * dx) * inv;
        for (int64_t i = -half; i <= half; ++i)
            blend(x0, y0 + i, static_cast<double>(i) * tw);
        for (int64_t x = x0 + 1; x < x1; ++x) {
            int64_t w = d - dx;
            if (d < 0) {
                ++y;
                w = d + dx;
                d += 2 * (dx - dy);
            } else {
                d += -2 * dy;
            }
            const double dist = static_cast<double>(w) * inv;
            blend(x, y, dist);
            for (int64_t i = 1; i <= half; ++i) {
                const double t = static_cast<double>(i) * tw;
                blend(x, y + i, t - dist);
                blend(x, y - i, t + dist);
            }
        }
    }
    void lead()
    {
        int width = record.leadWidth == 1 ? 1 : record.leadWidth - 1;
        falloff();
        const bool isSeven = rows == 4 && cols == 4;
        if (width_ < 200 || height_ < 200)
            width = std::max(width, 2);
        if (isSeven && (width_ < 150 || height_ < 150))
            width = std::max(width, 3);
        if (rows == 2 && cols == 1) {
            line({0, 0}, {width_ - 1, height_ - 1}, width);
        } else if (cols == 1) {
            for (const int64_t end : {2, 3, 0})
                line(p(end, 0), p(1, 0), width);
        } else if (isSeven) {
            constexpr int kEnds[11][4] = {{0, 0, 1, 2}, {1, 2, 1, 1}, {1, 1, 1, 0}, {1, 1, 2, 1},
                                          {2, 1, 2, 0}, {2, 1, 3, 0}, {1, 3, 1, 2}, {1, 3, 0, 1},
                                          {1, 3, 2, 2}, {2, 2, 2, 3}, {2, 2, 3, 1}};
            for (const auto &ends : kEnds)
                line(p(ends[0], ends[1]), p(ends[2], ends[3]), width);
        } else {
            for (int64_t j = 0; j < cols; ++j)
                for (int64_t i = 0; i <= rows - 2; ++i)
                    line(p(i, j), p(i + 1, j), width);
            for (int64_t i = 1; i < rows; i += 2)
                for (int64_t j = 1; j < cols - 1; j += 2)
                    line(p(i, j), p(i, j + 1), width);
            for (int64_t i = 2, k = 0; k < (rows - 2) / 2; i += 2, ++k)
                for (int64_t j = 0; j < cols; j += 2)
                    line(p(i, j), p(i, j + 1), width);
        }
    }

    int64_t width_, height_;
    Bytes pixels_;
    std::vector<Point> points_;
};

class StainedGlass : public ::testing::Test {
protected:
    StainedGlass()
    {
        memory_hooks::setFillByte(kFill);
        stopClock(kSeconds);
    }
    ~StainedGlass() override { runClock(); }

    static constexpr uint32_t kSeconds = 1700000000;

    /// Runs the effect beside the plain one and compares everything that hosts see.
    static Plain check(const Pieces &source, const tagStainedGlassParam &param, uint32_t seconds = kSeconds)
    {
        stopClock(seconds);
        tagStainedGlassParam record = param;
        velmont::srand(99);
        const Bytes result = resultOf(source, [&](void *dib) { return ProcessStainedGlass(dib, &record); });
        Plain plain(source, param, seconds);
        EXPECT_TRUE(result == plain.block(source)) << what(source, param) << ", " << seconds;
        Numbers after = plain.numbers;
        EXPECT_EQ(velmont::rand(), after.next()) << what(source, param);
        expectRecord(record, plain.record, source);
        return plain;
    }

private:
    static std::string what(const Pieces &source, const tagStainedGlassParam &param)
    {
        std::string text;
        for (const int number : {source.header.biWidth, source.header.biHeight, param.cellDivisor,
                                 param.leadWidth, param.light, param.lineWidthWork})
            text += std::to_string(number) + " ";
        return text;
    }
    static void expectRecord(const tagStainedGlassParam &record, const tagStainedGlassParam &plain,
                             const Pieces &source)
    {
        EXPECT_EQ(record.cellDivisor, plain.cellDivisor);
        EXPECT_EQ(record.leadWidth, plain.leadWidth);
        EXPECT_EQ(std::memcmp(record.leadColor, plain.leadColor, 3), 0);
        EXPECT_EQ(record.leadColorReserved, plain.leadColorReserved);
        EXPECT_EQ(record.light, plain.light);
        EXPECT_EQ(record.lineSlope, plain.lineSlope);
        EXPECT_EQ(record.lineWidthWork, plain.lineWidthWork);
        EXPECT_EQ(record.linePixelsPerRow, source.header.biWidth);
        EXPECT_EQ(record.lineRows, source.header.biHeight);
        EXPECT_EQ(record.lineColor0, record.leadColor[0]);
        EXPECT_EQ(record.lineColor1, record.leadColor[1]);
        EXPECT_EQ(record.lineColor2, record.leadColor[2]);
        EXPECT_TRUE(std::equal(std::begin(record.lineFalloff), std::end(record.lineFalloff),
                               std::begin(plain.lineFalloff)));
        EXPECT_EQ(record.imageHeight, source.header.biHeight);
        EXPECT_EQ(record.imageWidth, source.header.biWidth);
        EXPECT_EQ(record.imageBitCount, 24);
        EXPECT_NE(record.workPixels, nullptr);
        EXPECT_EQ(record.linePixels, record.workPixels);
    }

    NothingLost check_;
    Restore restore_;
};

/// A picture of one colour.
Pieces flatColor(int width, int height, uint8_t level)
{
    Pieces image = trueColor(width, height);
    std::fill(image.rows.begin(), image.rows.end(), level);
    return image;
}

/// Three bytes of a block's pixel.
Bytes pixelOf(const Bytes &block, const Pieces &image, int x, int y)
{
    const std::size_t at = 40 + strideFor(image.header.biWidth, 24) * static_cast<std::size_t>(y) +
                           3 * static_cast<std::size_t>(x);
    return {block[at], block[at + 1], block[at + 2]};
}

TEST_F(StainedGlass, AsThePlainLoopAtSmallSizes)
{
    int layouts[4] = {};
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const int divisor : {1, 2, 3, 5}) {
                const auto state = static_cast<uint32_t>(width * 100 + height * 7 + divisor);
                const tagStainedGlassParam param = recordOf(divisor, static_cast<int>(state % 5),
                                                            static_cast<int>(state % 12), 0x80F011 * state);
                const Plain plain = check(trueColor(width, height, state), param, state * 1000003);
                ++layouts[plain.isCells ? 3 : plain.cols == 4 ? 2 : plain.rows == 4 ? 1 : 0];
                ASSERT_FALSE(HasFailure());
            }
    for (const int count : layouts)
        EXPECT_GT(count, 50);
}

TEST_F(StainedGlass, AsThePlainLoopAtTallAndWideSizes)
{
    for (const auto &[width, height] :
         {std::array{300, 3}, std::array{3, 300}, std::array{1, 200}, std::array{200, 1}, std::array{90, 4},
          std::array{120, 6}, std::array{7, 120}, std::array{250, 211}, std::array{211, 250}})
        for (const int divisor : {1, 2, 4, 13, 20, 27, 40})
            for (const uint32_t seconds : {1u, 77777u, 0xFFFFFFFFu})
                check(trueColor(width, height, seconds), recordOf(divisor, 3, 4, 0x2060A0), seconds);
}

TEST_F(StainedGlass, ColumnsAreReckonedStepByStep)
{
    // A column of cells at 22 steps of 60 / 88 three times over is 45 in real numbers and a hair less in these.
    for (const int width : {60, 68, 85, 136})
        for (const uint32_t seconds : {1u, 77777u})
            for (const int height : {12, 40})
                check(trueColor(width, height, seconds), recordOf(1, 1), seconds);
}

TEST_F(StainedGlass, PointsOfManySeconds)
{
    // A Y of three rows, whose junction may lie below the picture and far beside it.
    for (uint32_t seconds = 0; seconds < 200; ++seconds) {
        check(trueColor(31, 3, seconds), recordOf(1, 2, 0), seconds * 7919);
        check(trueColor(24, 18, seconds), recordOf(3, 2, 0), seconds * 104729);
        check(trueColor(40, 33, seconds), recordOf(5, 2, 0), seconds * 15485863);
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(StainedGlass, NumbersDrawnByLayout)
{
    const auto drawn = [](int width, int height, int divisor) {
        return check(trueColor(width, height), recordOf(divisor)).drawn;
    };
    EXPECT_EQ(drawn(18, 18, 20), 0) << "the diagonal";
    EXPECT_EQ(drawn(600, 400, 90), 5) << "the Y";
    EXPECT_EQ(drawn(600, 400, 70), 17) << "seven panes";
    // 4 by 4 of a honeycomb: two of the rows and two of the columns are inner ones, 8 numbers for each.
    EXPECT_EQ(drawn(600, 400, 60), 16);
    EXPECT_EQ(drawn(600, 400, 40), 6 * 4 + 6 * 4) << "6 columns of 6 rows";
}

TEST_F(StainedGlass, LayoutsBySize)
{
    struct Case {
        int width, height, divisor;
        int64_t cols, rows;
        bool isCells;
    };
    // By hand, from width / (divisor * 1.9) columns.
    for (const Case &each : {Case{18, 18, 10, 1, 2, false},                                    // 0 columns
                             Case{18, 18, 9, 1, 2, false},                                     // 1
                             Case{18, 18, INT_MAX, 1, 2, false}, Case{18, 18, 4, 1, 4, false}, // 2 columns
                             Case{18, 18, 3, 4, 4, false},                                     // 3 columns
                             Case{600, 400, 60, 4, 4, true},   // 5 columns, rows of 80: 6 of them
                             Case{600, 400, 20, 14, 16, true}, // 15 columns, rows of 26
                             Case{12, 12, 2, 1, 4, false},     // 12 / 5.7, as for 3
                             Case{12, 12, 3, 1, 4, false}}) {
        const Plain plain = check(trueColor(each.width, each.height), recordOf(each.divisor));
        EXPECT_EQ(plain.cols, each.cols) << each.width << " " << each.height << " " << each.divisor;
        EXPECT_EQ(plain.rows, each.rows) << each.width << " " << each.height << " " << each.divisor;
        EXPECT_EQ(plain.isCells, each.isCells);
    }
    const Pieces image = trueColor(140, 90);
    EXPECT_EQ(resultOf(image, stainedGlass(recordOf(2))), resultOf(image, stainedGlass(recordOf(3))));
    EXPECT_NE(resultOf(image, stainedGlass(recordOf(2))), resultOf(image, stainedGlass(recordOf(4))));
}

TEST_F(StainedGlass, DiagonalByHand)
{
    Pieces image = flatColor(200, 200, 255);
    const auto set = [&](int row, int col, uint8_t level) {
        std::fill_n(&image.rows[static_cast<std::size_t>(600 * row + 3 * col)], 3, level);
    };
    set(133, 166, 100);
    set(33, 166, 40);
    set(66, 133, 20);
    set(33, 66, 9);
    const Bytes panes = resultOf(image, stainedGlass(recordOf(200, -4)));
    EXPECT_EQ(pixelOf(panes, image, 10, 190), Bytes(3, 42)) << "169 / 4";
    // Three of the other pane's samples lie in the first pane by now, and the fourth one below the picture.
    EXPECT_EQ(pixelOf(panes, image, 190, 10), Bytes(3, 31)) << "126 / 4";
    EXPECT_EQ(pixelOf(panes, image, 100, 100), Bytes(3, 31)) << "the diagonal is painted twice";
}

TEST_F(StainedGlass, RowsBelowThePictureAreBlack)
{
    // 240 wide and 200 high: rows 160, 40, 80, 40 and 200, 160, 80, 240.
    const Pieces image = flatColor(240, 200, 80);
    const Bytes panes = resultOf(image, stainedGlass(recordOf(200, -4)));
    EXPECT_EQ(pixelOf(panes, image, 10, 190), Bytes(3, 80));
    EXPECT_EQ(pixelOf(panes, image, 230, 10), Bytes(3, 40));
}

TEST_F(StainedGlass, PanesReachTheNextRow)
{
    // Seven panes. Those at the lower right alone take their colours from white rows, and they have a corner beyond the
    // last column: a pixel of the first one, in the row after that corner.
    Pieces image = flatColor(240, 400, 0);
    std::fill(image.rows.begin() + 193 * 720, image.rows.end(), uint8_t{255});
    int reached = 0;
    for (uint32_t seconds = 1; seconds < 2000000; seconds += 99991) {
        const Plain plain = check(image, recordOf(35, -4), seconds);
        EXPECT_EQ(plain.cols, 4);
        EXPECT_FALSE(plain.isCells);
        const Bytes panes = resultOf(image, stainedGlass(recordOf(35, -4)));
        std::vector<int> white;
        for (int y = 0; y < 400; ++y)
            if (pixelOf(panes, image, 0, y)[0] != 0)
                white.push_back(y);
        ASSERT_EQ(white.size(), pixelOf(panes, image, 239, 399)[0] == 0 ? 0u : 1u) << seconds;
        if (white.empty())
            continue;
        ++reached;
        EXPECT_GE(white[0], 281);
        EXPECT_LE(white[0], 361);
    }
    EXPECT_GT(reached, 5);
}

TEST_F(StainedGlass, PanesTakeColorsFromPanesBelowThePicture)
{
    // The junction of a Y of three rows may lie two rows below them, and columns are taken for rows.
    int below = 0;
    for (uint32_t seconds = 0; seconds < 600; ++seconds) {
        const Plain plain = check(trueColor(6, 3, seconds), recordOf(1, -4), seconds * 7919);
        EXPECT_EQ(plain.cols, 1);
        EXPECT_EQ(plain.rows, 4);
        below += plain.below;
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(below, 0);
}

TEST_F(StainedGlass, OneColorStaysInAHoneycomb)
{
    const Pieces image = flatColor(230, 210, 90);
    const Bytes result = resultOf(image, stainedGlass(recordOf(9, -4)));
    for (int y = 0; y < 210; ++y)
        for (int x = 0; x < 230; ++x)
            ASSERT_EQ(pixelOf(result, image, x, y), Bytes(3, 90)) << x << " " << y;
}

TEST_F(StainedGlass, LightByHand)
{
    // A black picture without lead: 255 * 4 / 10 = 102 levels at the centre, twice; R = 100 / sqrt(1.1715...) = 92.39.
    const Pieces image = flatColor(201, 201, 0);
    const Bytes lit = resultOf(image, stainedGlass(recordOf(300, -4, 4)));
    EXPECT_EQ(pixelOf(lit, image, 100, 100), Bytes(3, 204));
    // On the row's axis 2.414... * 50 = 120.7, 120 / 2.6131 = 45.92, 102 * (1 - 45.92 / 92.39) = 51.3.
    EXPECT_EQ(pixelOf(lit, image, 50, 100), Bytes(3, 51));
    EXPECT_EQ(pixelOf(lit, image, 150, 100), Bytes(3, 51));
    // On the column's 50 / 1.0824 = 46.19, 102 * (1 - 0.5) = 51.0.
    EXPECT_EQ(pixelOf(lit, image, 100, 50), Bytes(3, 51));
    EXPECT_EQ(pixelOf(lit, image, 100, 150), Bytes(3, 51));
    for (const auto &[x, y] : {std::array{60, 70}, std::array{90, 40}, std::array{5, 99}})
        for (const auto &[mirrorX, mirrorY] :
             {std::array{200 - x, y}, std::array{x, 200 - y}, std::array{200 - x, 200 - y}})
            EXPECT_EQ(pixelOf(lit, image, x, y), pixelOf(lit, image, mirrorX, mirrorY)) << x << " " << y;
    EXPECT_EQ(pixelOf(lit, image, 20, 20), Bytes(3, 0)) << "outside the octagon";
    EXPECT_EQ(pixelOf(lit, image, 0, 100), Bytes(3, 0)) << "the loop ends a pixel before the corner";
}

TEST_F(StainedGlass, LightOfAnyStrength)
{
    const Pieces image = trueColor(41, 37);
    for (const int light : {0, 1, 3, 10, 100, -1, -3, -100, 1000000, -1000000, 42107522, INT_MAX, INT_MIN})
        check(image, recordOf(3, 2, light));
    const Pieces white = flatColor(201, 201, 250);
    const Bytes lit = resultOf(white, stainedGlass(recordOf(20, -4, 10)));
    EXPECT_EQ(pixelOf(lit, white, 100, 100), Bytes(3, 255)) << "held";
    const Bytes dimmed = resultOf(white, stainedGlass(recordOf(20, -4, -10)));
    EXPECT_EQ(pixelOf(dimmed, white, 100, 100), Bytes(3, 250 - 255 - 255 + 512)) << "wraps";
    EXPECT_EQ(resultOf(white, stainedGlass(recordOf(20, -4, 0))), [&] {
        Pieces same = white;
        const std::size_t stride = strideFor(201, 24);
        for (std::size_t i = 0; i < same.rows.size(); ++i)
            if (i % stride >= 603)
                same.rows[i] = kFill;
        return same.bytes();
    }());
}

TEST_F(StainedGlass, LeadOfAnyWidth)
{
    const Pieces large = trueColor(230, 205), small = trueColor(61, 50), tiny = trueColor(9, 7);
    for (const int width : {1, 2, 3, 4, 5, 8, 13, 40, 300, 0, -1, -2, -3, -100})
        for (const int edges : {0, 1, 2})
            for (const int divisor : {8, 30, 200})
                for (const Pieces *image : {&large, &small, &tiny}) {
                    tagStainedGlassParam param = recordOf(divisor, width, 2, 0x11C0F0);
                    param.lineWidthWork = edges;
                    param.leadColorReserved = 77;
                    check(*image, param);
                }
}

TEST_F(StainedGlass, AbsurdRecordsEnd)
{
    const Pieces image = trueColor(230, 205);
    for (const int width : {INT_MAX, INT_MAX - 1, INT_MIN, INT_MIN + 1}) {
        tagStainedGlassParam record = recordOf(20, width, 0, 0x204060);
        const Bytes result = resultOf(image, [&](void *dib) { return ProcessStainedGlass(dib, &record); });
        EXPECT_EQ(record.lineWidthWork, std::max(width, INT_MIN + 1) - 1);
        const Bytes lead = {0x60, 0x40, 0x20};
        EXPECT_EQ(pixelOf(result, image, 77, 77) == lead, width > 0) << width;
    }
}

TEST_F(StainedGlass, DiagonalLeadByHand)
{
    // A white square in a black pane's lead of one pixel, with edges for it: the true line passes through pixels, and
    // the neighbours are 0.7071 away.
    const Pieces image = flatColor(200, 200, 0);
    tagStainedGlassParam record = recordOf(200, 1, 0, 0xFFFFFF);
    record.lineWidthWork = 1;
    const Bytes result = resultOf(image, [&](void *dib) { return ProcessStainedGlass(dib, &record); });
    EXPECT_EQ(record.lineSlope, 1.0);
    // The bands by their integrals: 0.05 * (T[i] + T[i + 1]).
    const auto t = [](double r) {
        const double s = std::sqrt(1 - r * r);
        return r == 0 ? 0.5 : 0.5 * s + 0.5 * r * r * std::log((s + 1) / (r * r));
    };
    const auto band = [&](int i) { return 0.05 * (t(i / 10.0) + (i < 9 ? t((i + 1) / 10.0) : 0)); };
    double middle = band(0), beside = 0;
    for (int u = 1; u <= 5; ++u)
        middle += 2 * band(u);
    for (int u = 2; u <= 9; ++u)
        beside += band(u); // from 7 - 5 to 7 + 5, as far as there are bands
    EXPECT_NEAR(record.lineFalloff[0], middle, 1e-12);
    EXPECT_NEAR(record.lineFalloff[7], beside, 1e-12);
    EXPECT_EQ(record.lineFalloff[15], 0.0);
    EXPECT_NEAR(pixelOf(result, image, 100, 100)[0], 255 * middle, 1);
    EXPECT_NEAR(pixelOf(result, image, 101, 100)[0], 255 * beside, 1);
    EXPECT_EQ(pixelOf(result, image, 101, 100), pixelOf(result, image, 99, 100));
    EXPECT_EQ(pixelOf(result, image, 102, 100), Bytes(3, 0)) << "a line of one pixel reaches no further";
    EXPECT_EQ(pixelOf(result, image, 199, 199), Bytes(3, 0)) << "the last column is not drawn";
    EXPECT_NE(pixelOf(result, image, 0, 0), Bytes(3, 0));
}

TEST_F(StainedGlass, EdgesFollowTheWidthOnEntry)
{
    const Pieces image = trueColor(230, 205);
    tagStainedGlassParam record = recordOf(20, 1, 0);
    const auto run = [&] {
        return resultOf(image, [&](void *dib) { return ProcessStainedGlass(dib, &record); });
    };
    const Bytes first = run();
    EXPECT_EQ(record.lineWidthWork, 1);
    EXPECT_EQ(record.lineFalloff[19], 1.0);
    const Bytes second = run();
    EXPECT_EQ(record.lineFalloff[19], 0.0);
    EXPECT_NE(first, second) << "a record that is used again has thin edges";
    EXPECT_EQ(run(), second);
}

TEST_F(StainedGlass, SmallPicturesHaveWiderLead)
{
    const auto widthFor = [&](int width, int height, int divisor, int leadWidth) {
        tagStainedGlassParam record = recordOf(divisor, leadWidth);
        const Handle image = trueColor(width, height).handle();
        const Handle result(ProcessStainedGlass(image, &record));
        return record.lineWidthWork;
    };
    EXPECT_EQ(widthFor(200, 200, 10, 1), 1);
    EXPECT_EQ(widthFor(200, 200, 10, 2), 1);
    EXPECT_EQ(widthFor(200, 200, 10, 3), 2);
    EXPECT_EQ(widthFor(199, 200, 10, 1), 2);
    EXPECT_EQ(widthFor(200, 199, 10, 2), 2);
    EXPECT_EQ(widthFor(200, 199, 10, 9), 8);
    // Seven panes: 3 columns.
    EXPECT_EQ(widthFor(150, 150, 25, 1), 2);
    EXPECT_EQ(widthFor(149, 150, 25, 1), 3);
    EXPECT_EQ(widthFor(150, 149, 25, 1), 3);
    EXPECT_EQ(widthFor(150, 149, 25, 6), 5);
    EXPECT_EQ(widthFor(100, 100, 10, 1), 2) << "a honeycomb";
}

TEST_F(StainedGlass, FourByFourCellsAreSevenPanes)
{
    const Plain plain = check(trueColor(240, 160), recordOf(24, 3, 3, 0x405060));
    EXPECT_TRUE(plain.isCells);
    EXPECT_EQ(plain.cols, 4);
    EXPECT_EQ(plain.rows, 4);
}

TEST_F(StainedGlass, FollowsTheClock)
{
    const Pieces image = trueColor(60, 50);
    const Bytes now = resultOf(image, stainedGlass(recordOf(4)));
    EXPECT_EQ(resultOf(image, stainedGlass(recordOf(4))), now);
    stopClock(kSeconds + 1);
    EXPECT_NE(resultOf(image, stainedGlass(recordOf(4))), now);
}

TEST_F(StainedGlass, ByCode)
{
    const Pieces image = trueColor(60, 50);
    const tagStainedGlassParam param = recordOf(4, 3, 3, 0x102030);
    EXPECT_EQ(resultOf(image,
                       [&](void *dib) {
                           tagStainedGlassParam record = param;
                           return EnhanceAndEffects(dib, 4715, reinterpret_cast<long>(&record));
                       }),
              resultOf(image, stainedGlass(param)));
    const Handle handle = image.handle();
    EXPECT_EQ(eventsOfRefusal(handle, [](void *dib) { return EnhanceAndEffects(dib, 4715, 0); }), Events{});
}

TEST_F(StainedGlass, LongHeadersAndNamelessColors)
{
    // 40 bytes of the header are copied, and the rows are taken to lie behind them, whatever biSize and biClrUsed say.
    Pieces image = trueColor(23, 19);
    image.header.biSize = 52;
    image.header.biClrUsed = 3;
    check(image, recordOf(2));
}

TEST_F(StainedGlass, TellsNothingButCursors)
{
    const Effect effect = stainedGlass(recordOf(3));
    EXPECT_EQ(eventsOf(trueColor(33, 40), effect), (Events{"wait", "arrow"}));
    const Handle image = trueColor(9, 8).handle();
    EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessStainedGlass(dib, nullptr); }), Events{});
    const Events refused{"wait", "arrow"};
    for (const int divisor : {0, -1, INT_MIN})
        EXPECT_EQ(eventsOfRefusal(image, stainedGlass(recordOf(divisor))), refused);
    const Handle nibbles = noiseImage(9, 8, 4, 16), grays = gray(9, 8).handle(),
                 bits = noiseImage(9, 8, 1, 2), colors = noiseImage(9, 8, 8, 40);
    for (void *const other : std::initializer_list<void *>{nibbles, grays, bits, colors})
        EXPECT_EQ(eventsOfRefusal(other, effect), refused);
}

TEST_F(StainedGlass, RefusalsLeaveRecordAndGenerator)
{
    const Handle grays = gray(9, 8).handle(), colors = trueColor(9, 8).handle();
    for (const auto &[source, divisor] : {std::pair<void *, int>{grays, 3}, {colors, 0}, {colors, -1}}) {
        tagStainedGlassParam record;
        std::memset(&record, 0x5A, sizeof record);
        record.cellDivisor = divisor;
        const tagStainedGlassParam before = record;
        const int64_t allocations = memory_hooks::counts().allocations;
        velmont::srand(5);
        EXPECT_EQ(ProcessStainedGlass(source, &record), nullptr);
        EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
        EXPECT_EQ(velmont::rand(), Numbers(5).next());
        EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    }
}

TEST_F(StainedGlass, LocksAreHeldUntilTheArrow)
{
    const Handle image = trueColor(9, 8).handle();
    const WatchingHost host(image);
    tagStainedGlassParam record = recordOf(2);
    const Handle result(ProcessStainedGlass(image, &record));
    ASSERT_TRUE(result);
    // Working memory is gone by then, and one block more is alive: the result, which has a lock like the image.
    EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 1, 0, 1}, {"arrow", 1, 1, 2}}));
    EXPECT_EQ(memory_hooks::locksOn(image), 0);
    EXPECT_EQ(memory_hooks::locksOn(result), 0);
}

TEST_F(StainedGlass, AsksForTheResultWithoutFlags)
{
    const Handle image = trueColor(9, 8).handle();
    tagStainedGlassParam record = recordOf(2);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(ProcessStainedGlass(image, &record), nullptr);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 40u + 28 * 8);
}

TEST_F(StainedGlass, SurvivesFailures)
{
    for (const int divisor : {1, 2, 100})
        expectFailuresSurvived(trueColor(21, 18), stainedGlass(recordOf(divisor)));
    const Handle image = trueColor(21, 18).handle();
    for (int n = 1; n <= 3; ++n) {
        memory_hooks::failAllocation(n);
        EXPECT_EQ(eventsOfRefusal(image, stainedGlass(recordOf(1))), (Events{"wait", "arrow"})) << n;
    }
    memory_hooks::failAllocation(0);
    expectLiesRefused(stainedGlass(recordOf(2)));
}

TEST_F(StainedGlass, TakesNoMoreMemoryThanItUses)
{
    // 100000^2 pixels would be 30 GB.
    for (const auto &[width, height] : {std::array{1, 100000}, std::array{100000, 1}}) {
        const Pieces image = trueColor(width, height);
        EXPECT_FALSE(resultOf(image, stainedGlass(recordOf(20))).empty());
    }
}

} // namespace

} // namespace velmont::testing
