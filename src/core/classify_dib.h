#pragma once

namespace velmont {

/// The kind of an image, by which effects pick a path: 0 bad handle or a depth other than 1, 4, 8 and 24; 1
/// gray (8 bits, biClrUsed exactly 256, identity ramp); 2 24 bits; 3 other 8 bits; 4 4 bits; 5 1 bit.
int ClassifyDib(void *handle);

class Dib;
/// The kind of an image in a locked block, as TuDibGetType answers: at 8 bits any biClrUsed from 256 on whose
/// first 256 entries are the identity ramp counts as gray.
int ClassifyDibHeader(const Dib &dib);

} // namespace velmont
