// Each function reckons twice: quickly to some 64 bits, which settles the rounding of all but one in a thousand values,
// and the others by wide numbers.
#include "core/rounded_math.h"
#include "core/double_double.h"
#include "core/wide_math.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace velmont {

namespace {

/// Whether the rounding of a value is settled by its quick reckoning, which may be off by so much.
bool settles(DoubleDouble value, double error)
{
    return value.high + (value.low - error) == value.high + (value.low + error);
}

constexpr double kQuickError = 0x1p-62; ///< of a quick reckoning, relative

/// A table worked out by the compiler: entryAt(i) for each of its places.
template <std::size_t size, typename EntryAt>
constexpr auto makeTable(EntryAt entryAt)
{
    std::array<DoubleDouble, size> table{};
    for (std::size_t i = 0; i < size; ++i)
        table[i] = toDoubleDouble(entryAt(static_cast<int>(i)));
    return table;
}

// Sines and cosines.

constexpr int kAngleSteps = 128; ///< of a whole turn

constexpr Wide wideSinOfStep(int step)
{
    const int quarter = kAngleSteps / 4, within = step % quarter;
    const bool isFalling = step / quarter % 2 != 0;
    const int up = isFalling ? quarter - within : within; // from 0 up to a right angle
    const Wide angle = 2 * kWidePi / kAngleSteps;
    const Wide sine = up <= quarter / 2 ? wideSmallSin(up * angle) : wideSmallCos((quarter - up) * angle);
    return step < 2 * quarter ? sine : -sine;
}

constexpr auto kSines = makeTable<kAngleSteps>(wideSinOfStep);

/// What is left of an angle of up to 2^20 behind whole steps.
struct QuickAngle {
    unsigned step;
    DoubleDouble rest;
};

QuickAngle quickAngle(double x)
{
    // A step in parts of 28 bits, so that their products with the number of steps are exact.
    constexpr double kParts[] = {0x1.921fb54000000p-5, 0x1.10b4610000000p-35, 0x1.a626330000000p-63};
    constexpr double kRest = 0x1.45c06e0e68948p-91;
    const double steps = x * 0x1.45f306dc9c883p+4;
    const auto step = static_cast<int32_t>(steps < 0 ? steps - 0.5 : steps + 0.5);
    const DoubleDouble rest = twoSum(x - step * kParts[0], -step * kParts[1]);
    return {static_cast<unsigned>(step), twoSum(rest.high, rest.low - step * kParts[2] - step * kRest)};
}

/// The sine of a step and a rest.
DoubleDouble quickSin(unsigned step, DoubleDouble rest)
{
    const DoubleDouble s = kSines[step % kAngleSteps], c = kSines[(step + kAngleSteps / 4) % kAngleSteps];
    const double r = rest.high, square = r * r;
    const double sineBend =
        r * square * (-1.0 / 6 + square * (1.0 / 120 + square * (-1.0 / 5040 + square * (1.0 / 362880))));
    const double cosineLess = // cos(rest) - 1
        square * (-1.0 / 2 + square * (1.0 / 24 + square * (-1.0 / 720 + square * (1.0 / 40320)))) -
        r * rest.low;
    const DoubleDouble turned = twoProduct(c.high, r), sum = twoSum(s.high, turned.high);
    const double low =
        (s.low + c.low * r + turned.low) + (s.high * cosineLess + c.high * (rest.low + sineBend));
    return quickTwoSum(sum.high, sum.low + low);
}

double wideSin(double x, unsigned quartersAhead)
{
    const WideAngle angle = reduceAngle(x);
    const unsigned quarters = angle.quarters + quartersAhead;
    const Wide value = quarters % 2 == 0 ? wideSmallSin(angle.rest) : wideSmallCos(angle.rest);
    return static_cast<double>(quarters / 2 % 2 == 0 ? value : -value);
}

double sinAhead(double x, unsigned quartersAhead)
{
    if (std::fabs(x) < 0x1p20) {
        const QuickAngle angle = quickAngle(x);
        const DoubleDouble sine = quickSin(angle.step + quartersAhead * (kAngleSteps / 4), angle.rest);
        if (settles(sine, std::fabs(sine.high) * kQuickError + (angle.step != 0 ? 0x1p-90 : 0)))
            return sine.high;
    }
    return wideSin(x, quartersAhead);
}

// Angles.

constexpr int kTangentSteps = 64;
constexpr auto kAngles = makeTable<kTangentSteps + 1>(
    [](int step) { return wideSmallAtan(Wide{static_cast<double>(step)} / kTangentSteps); });
constexpr DoubleDouble kPi = toDoubleDouble(kWidePi), kHalfPi = toDoubleDouble(kWidePi / 2);

/// Of a tangent from 0 to 1.
DoubleDouble quickAtan(DoubleDouble rise, DoubleDouble run)
{
    const auto step = static_cast<int>(rise.high / run.high * kTangentSteps + 0.5);
    const double whole = static_cast<double>(step) / kTangentSteps;
    const DoubleDouble along = twoProduct(whole, run.high), across = twoProduct(whole, rise.high);
    const DoubleDouble up = twoSum(rise.high - along.high, rise.low - along.low - whole * run.low);
    const DoubleDouble ahead = quickTwoSum(run.high, across.high);
    const double aheadLow = ahead.low + (across.low + run.low + whole * rise.low);
    const double rest = up.high / ahead.high;
    const DoubleDouble back = twoProduct(rest, ahead.high);
    const double restLow = ((up.high - back.high) - back.low + up.low - rest * aheadLow) / ahead.high;
    const double square = rest * rest;
    const double bend =
        rest * square * (-1.0 / 3 + square * (1.0 / 5 + square * (-1.0 / 7 + square * (1.0 / 9))));
    const DoubleDouble angle = kAngles[static_cast<std::size_t>(step)], sum = twoSum(angle.high, rest);
    return quickTwoSum(sum.high, sum.low + (angle.low + restLow + bend));
}

/// The angle of a direction by that of a tangent from 0 to 1: y and x are not negative, and not both 0.
template <typename Number, typename Atan>
Number directionOf(Number y, Number x, bool isSteep, bool isBackwards, Number pi, Number halfPi, Atan atan)
{
    const Number angle = isSteep ? halfPi - atan(x, y) : atan(y, x);
    return isBackwards ? pi - angle : angle;
}

bool isModerate(double value)
{
    return value >= 0x1p-300 && value <= 0x1p300;
}

/// The angle of a direction, y not negative, with the sign that is asked for. wideX() is asked for where it takes more.
template <typename WideX>
double angleOf(double y, DoubleDouble x, WideX wideX, bool isBackwards, bool isNegative)
{
    const bool isSteep = y > x.high;
    const double least = std::min(y, x.high), most = std::max(y, x.high);
    DoubleDouble angle;
    const bool isQuick = isModerate(least) && isModerate(most) && least > most * 0x1p-60;
    if (isQuick)
        angle = directionOf(DoubleDouble{y}, x, isSteep, isBackwards, kPi, kHalfPi, quickAtan);
    if (!isQuick || !settles(angle, angle.high * kQuickError))
        angle.high = static_cast<double>(
            directionOf(Wide{y}, Wide{wideX()}, isSteep, isBackwards, kWidePi, kWidePi / 2,
                        [](Wide rise, Wide run) { return wideSmallAtan(rise / run); }));
    return isNegative ? -angle.high : angle.high;
}

// Logarithms and powers.

constexpr int kOctaveSteps = 128; ///< of a number from 1 to 2
constexpr int kFirstStep = 90;    ///< from the root of 1/2

/// Nearly 1 / the middle of a step, of 9 bits or so, and 1 for the steps on both sides of 1.
constexpr double reciprocalOf(int step)
{
    if (step == kOctaveSteps - 1 || step == kOctaveSteps)
        return 1;
    return static_cast<double>(static_cast<int>(512 * kOctaveSteps / (step + 0.5) + 0.5)) / 512;
}

constexpr auto kLogarithms = makeTable<kOctaveSteps * 3 / 2 - kFirstStep>(
    [](int place) { return -wideSmallLog(reciprocalOf(kFirstStep + place)); });

/// A positive number as a mantissa around 1, from the root of 1/2 to that of 2, and a power of two.
struct Octave {
    double mantissa;
    int exponent;
};

Octave octaveOf(double x)
{
    int exponent;
    const double half = std::frexp(x, &exponent);
    return half < 0.70710678118654752 ? Octave{2 * half, exponent - 1} : Octave{half, exponent};
}

DoubleDouble quickLog(double x)
{
    constexpr DoubleDouble kLog2{0x1.62e42fefa2000p-1,
                                 0x1.9ef35793c7673p-41}; // products with the first are exact
    const Octave octave = octaveOf(x);
    const auto step = static_cast<int>(octave.mantissa * kOctaveSteps);
    const DoubleDouble product = twoProduct(octave.mantissa, reciprocalOf(step));
    const DoubleDouble rest = quickTwoSum(product.high - 1, product.low);
    const double r = rest.high;
    const DoubleDouble square = twoProduct(r, r);
    const double bend =
        r * square.high *
        (1.0 / 3 +
         r * (-1.0 / 4 +
              r * (1.0 / 5 +
                   r * (-1.0 / 6 + r * (1.0 / 7 + r * (-1.0 / 8 + r * (1.0 / 9 + r * (-1.0 / 10))))))));
    const DoubleDouble bent = quickTwoSum(-0.5 * square.high, bend - 0.5 * square.low - r * rest.low);
    const DoubleDouble small = kLogarithms[static_cast<std::size_t>(step - kFirstStep)] + (rest + bent);
    const double power = octave.exponent;
    return DoubleDouble{power * kLog2.high} + (DoubleDouble{power * kLog2.low} + small);
}

Wide wideLog(double x)
{
    const Octave octave = octaveOf(x);
    return octave.exponent * kWideLog2 + wideSmallLog(octave.mantissa);
}

constexpr int kPowerSteps = 64; ///< of an octave
constexpr auto kPowers = makeTable<kPowerSteps>([](int step) {
    const Wide log = Wide{static_cast<double>(step)} / kPowerSteps * kWideLog2;
    return step < kPowerSteps / 2 ? wideSmallExp(log) : 2 * wideSmallExp(log - kWideLog2);
});

/// e^x without its power of two.
struct QuickPower {
    DoubleDouble mantissa;
    int exponent;
};

QuickPower quickExp(DoubleDouble x)
{
    constexpr DoubleDouble kStep{0x1.62e42fefa0000p-7,
                                 0x1.cf79abc9e3b3ap-46}; // products with the first are exact
    const double steps = x.high * 0x1.71547652b82fep+6;
    const int step = static_cast<int>(steps < 0 ? steps - 0.5 : steps + 0.5);
    const DoubleDouble rest = (x + DoubleDouble{-step * kStep.high}) + twoProduct(-step, kStep.low);
    const double r = rest.high;
    const DoubleDouble square = twoProduct(r, r);
    const double bend =
        r * square.high * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720 + r * (1.0 / 5040)))));
    const DoubleDouble bent = quickTwoSum(0.5 * square.high, bend + 0.5 * square.low + r * rest.low);
    const DoubleDouble power = kPowers[static_cast<std::size_t>(step & (kPowerSteps - 1))];
    return {power + power * (rest + bent), step >> 6};
}

Wide wideExp(Wide x)
{
    const auto halves = static_cast<int>(x / (kWideLog2 / 2));
    const int exponent = halves / 2; // towards 0, and the rest is less than two halves
    Wide value = wideSmallExp((x - exponent * kWideLog2) / 4);
    value *= value;
    value *= value;
    for (int i = exponent; i > 0; i -= 512)
        value *= std::ldexp(1.0, i < 512 ? i : 512);
    for (int i = exponent; i < 0; i += 512)
        value *= std::ldexp(1.0, i > -512 ? i : -512);
    return value;
}

/// A value that lies next to the middle between two doubles is that middle: powers are such, or clearly beside it.
double roundPower(Wide value)
{
    const auto near = static_cast<double>(value);
    const double other = std::nextafter(near, value > near ? std::numeric_limits<double>::infinity() : 0);
    if (!std::isfinite(near) || !std::isfinite(other))
        return near;
    const Wide middle = (Wide{near} + Wide{other}) / 2, off = value - middle;
    return static_cast<double>((off < 0 ? -off : off) < value * 0x1p-96 ? middle : value);
}

/// Of a finite x above 0 and a finite y.
double powerOf(double x, double y)
{
    const DoubleDouble log = quickLog(x);
    const double estimate = y * log.high;
    if (estimate > 710)
        return std::numeric_limits<double>::infinity();
    if (estimate < -746)
        return 0;
    if (std::fabs(estimate) < 700 && std::fabs(y) < 0x1p200 && std::fabs(estimate) > 0x1p-60) {
        const QuickPower power = quickExp(log * DoubleDouble{y});
        const double error = power.mantissa.high * kQuickError * (2 * std::fabs(estimate) + 1);
        if (settles(power.mantissa, error))
            return std::ldexp(power.mantissa.high, power.exponent);
    }
    return roundPower(wideExp(wideLog(x) * y));
}

} // namespace

namespace rounded {

double sin(double x)
{
    return std::isfinite(x) && x != 0 ? sinAhead(x, 0) : std::sin(x);
}

double cos(double x)
{
    return std::isfinite(x) ? sinAhead(x, 1) : std::cos(x);
}

double atan2(double y, double x)
{
    if (!std::isfinite(x) || !std::isfinite(y) || x == 0 || y == 0)
        return std::atan2(y, x);
    const double up = std::fabs(y), ahead = std::fabs(x);
    return angleOf(
        up, {ahead}, [=] { return ahead; }, x < 0, y < 0);
}

double atan(double x)
{
    return std::isfinite(x) ? atan2(x, 1) : std::atan(x);
}

double asin(double x)
{
    const double y = std::fabs(x);
    if (!(y > 0 && y < 1))
        return std::asin(x);
    const DoubleDouble square = twoSum(1, -y) * twoSum(1, y);
    const double root = std::sqrt(square.high);
    const DoubleDouble cosine = quickTwoSum(root, (square - twoProduct(root, root)).high / (2 * root));
    return angleOf(
        y, cosine, [=] { return wideRoot((1 - Wide{y}) * (1 + Wide{y}), root); }, false, x < 0);
}

double log(double x)
{
    if (!(std::isfinite(x) && x > 0) || x == 1)
        return std::log(x);
    const DoubleDouble quick = quickLog(x);
    return settles(quick, std::fabs(quick.high) * kQuickError) ? quick.high : static_cast<double>(wideLog(x));
}

double pow(double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y) || x == 0 || y == 0 || x == 1)
        return std::pow(x, y);
    if (x > 0)
        return powerOf(x, y);
    if (std::trunc(y) != y)
        return std::pow(x, y); // no number
    const double power = powerOf(-x, y);
    return std::fmod(y, 2) != 0 ? -power : power;
}

} // namespace rounded

} // namespace velmont
