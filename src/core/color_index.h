#pragma once

namespace velmont {

class Dib;

/// What GetColorIndex answers for an image in a locked block.
int colorIndex(const Dib &dib, unsigned long color);

} // namespace velmont
