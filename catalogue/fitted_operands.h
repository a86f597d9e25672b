#pragma once

/// \file
/// Operands for who wants an effect to run and has none at hand: tests, fuzzers and benchmarks.

#include "catalogue/effect.h"

namespace velmont::catalogue {

/// Puts made-up operands that fit an image into a record, and frees them and what the effect puts there at the
/// end: a disc of the image's size, opaque in the middle and fading towards the edge; pictures that are no masks have the
/// image's depth where it is 24 bits, else they are gray. Of a block that is no image the size is taken as 1.
class FittedOperands {
public:
    FittedOperands(const Effect &effect, Record &record, void *dib);
    ~FittedOperands();
    FittedOperands(const FittedOperands &) = delete;
    FittedOperands &operator=(const FittedOperands &) = delete;

private:
    const Effect &effect_;
    Record &record_;
};

/// The value of a field for a trial of every effect: sizes of results and numbers of things are held, so that a run
/// fits the memory and the time that fuzzers and tests have.
double heldForTrial(const Effect &effect, const Field &field, double value);

} // namespace velmont::catalogue
