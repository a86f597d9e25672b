#pragma once

/// \file
/// From the depth that an image has to one that an effect accepts.

#include "chain.h"
#include <string>
#include <vector>

namespace velmont::cli {

/// The depth that a conversion makes; 0 for any other effect.
unsigned convertedDepth(const catalogue::Effect &effect);

/// Whether an effect is the conversion to the depth that the image has already.
bool isNeedless(const catalogue::Effect &effect, unsigned depth);

/// The effects that bring an image to a depth that `effect` accepts, the way that loses least: to 24 bits,
/// else to gray, else through gray to black and white. Empty when there is no way. \param depth of the image,
/// one that `effect` refuses
std::vector<Step> conversionFor(const catalogue::Effect &effect, unsigned depth);

/// "to-gray then to-1-bit": the names of steps as they are typed.
std::string stepNames(const std::vector<Step> &steps);

/// "24-bit", also for a block of unknown depth.
std::string depthText(unsigned depth);

/// Refuses an image for its depth, with advice.
/// \param subject the image's name in messages
/// \throws Failure with ExitCode::Input
[[noreturn]] void refuseDepth(const catalogue::Effect &effect, unsigned depth, const std::string &subject);

} // namespace velmont::cli
