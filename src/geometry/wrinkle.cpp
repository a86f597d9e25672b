#include "core/generator.h"
#include "core/scratch_block.h"
#include "geometry/cut_out_frame.h"
#include "geometry/shifted_columns.h"
#include <cstring>
#include <optional>
#include <velmont/geometry.h>

namespace velmont {

namespace {

bool isRefused(const tagParamWrinkle *param)
{
    return !param || param->strength < 1 || param->strength > 100;
}

/// A random walk by no more than a pixel a step.
class Walk {
public:
    explicit Walk(int strength) : thousandths_(strength * 5) {}
    int step()
    {
        const int drawn = rand() % 1000;
        place_ += drawn < thousandths_ ? 1 : 0;
        place_ -= drawn > 1000 - thousandths_ ? 1 : 0;
        return place_;
    }

private:
    int thousandths_;
    int place_ = 0;
};

/// How far each column is dragged along itself; null without memory for it.
class DraggedColumns {
public:
    explicit DraggedColumns(int width) : width_(width), table_(static_cast<uint64_t>(width) * sizeof(int32_t))
    {
    }
    explicit operator bool() const { return table_.bytes() != nullptr; }
    int32_t *rises() const { return reinterpret_cast<int32_t *>(table_.bytes()); }
    void walk(int strength)
    {
        Walk walk(strength);
        for (int x = 0; x < width_; ++x)
            rises()[x] = walk.step();
    }
    void release() { table_.release(); }

private:
    int width_;
    ScratchBlock table_;
};

void blankRows(const Dib &image)
{
    std::memset(image.row(0), 0, image.layout().pixelBytes());
}

/// The rows are dragged along by a walk of their own: writeRow(y, columns).
template <typename Frame, typename WriteRow>
void dragRows(Frame &frame, int strength, WriteRow writeRow)
{
    Walk walk(strength);
    for (int y : frame.rows()) {
        writeRow(y, walk.step());
        frame.clearPadding(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessWrinkle(void *dib, tagParamWrinkle *param)
{
    if (isRefused(param))
        return nullptr;
    const tagParamWrinkle record = *param;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.allocate({source.layout(), Contents::Overwritten}))
        return nullptr;
    const int width = source.width(), height = source.height();
    DraggedColumns columns(width);
    if (!columns)
        blankRows(frame.result()); // hosts get it as it is
    frame.open();
    frame.copyPalette();
    if (columns) {
        columns.walk(record.strength);
        // Between the two walks: hosts rely on columns that differ from call to call over rows that do not.
        velmont::srand(static_cast<uint32_t>(width) * static_cast<uint32_t>(height));
        const ShiftedColumns dragged(source, columns.rises(), height - 1, record.color);
        dragRows(frame, record.strength,
                 [&](int y, int dx) { dragged.writeRow(frame.result().row(y), y, dx); });
    }
    columns.release();
    return frame.finish();
}

int ProcessWrinkle(void *dib, void *alpha, tagParamWrinkle *param, void **newDib, void **newAlpha)
{
    if (isRefused(param))
        return 0;
    const tagParamWrinkle record = *param;
    CutOutFrame frame(dib, alpha, newDib, newAlpha);
    if (!frame.serves() || !frame.begin(Carried::Headers))
        return 0;
    DraggedColumns columns(frame.source().width());
    if (columns) {
        columns.walk(record.strength);
        const int lastRow = frame.source().height() - 1;
        const ShiftedColumns pixels(frame.source(), columns.rises(), lastRow, record.color);
        const ShiftedColumns mask(frame.sourceAlpha(), columns.rises(), lastRow, 0); // transparent
        dragRows(frame, record.strength, [&](int y, int dx) {
            pixels.writeRow(frame.result().row(y), y, dx);
            mask.writeRow(frame.resultAlpha().row(y), y, dx);
        });
    } else {
        blankRows(frame.result());
        blankRows(frame.resultAlpha());
    }
    columns.release();
    return frame.finish();
}
