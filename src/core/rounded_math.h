#pragma once

/// \file
/// Functions of mathematics as correct rounding gives them, the same on every system: hosts rely on the bytes that come
/// of them, and the mathematics of C runtimes differ in the last bit.
///
/// Each result is the double nearest to the true value, ties to even. Arguments that have no such value are answered as
/// the C runtime's functions of the same names do.

namespace velmont::rounded {

double sin(double x);
double cos(double x);
double asin(double x);
double atan(double x);
double atan2(double y, double x);
double log(double x);
double pow(double x, double y);

} // namespace velmont::rounded
