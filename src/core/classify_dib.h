#pragma once

namespace velmont {

/// The kind of an image, by which effects pick a path: 0 bad handle or a depth other than 1, 4, 8 and 24; 1
/// gray (8 bits, biClrUsed exactly 256, identity ramp); 2 24 bits; 3 other 8 bits; 4 4 bits; 5 1 bit.
int ClassifyDib(void *handle);

} // namespace velmont
