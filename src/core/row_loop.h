#pragma once

/// \file
/// The rows of a picture with what a host sees of them: abort polls and progress.

#include <cstdint>
#include <velmont/environment.h>

namespace velmont {

/// How often a range over rows speaks to the host.
struct RowCadence {
    int pollEvery = 1;        ///< rows from one abort poll to the next
    int reportEvery = 16;     ///< rows from one progress report to the next; 0 reports nothing
    int percentFrom = 0;      ///< what the first row reports
    int percentSpan = 100;    ///< what all rows together add to that
    int percentOf = 0;        ///< rows that add it where they are not those of the range
    int percentShares = 1;    ///< into so many parts the span is cut, of which the rows add one
    int firstRow = 0;         ///< where the range starts
    bool reportFirst = false; ///< whether a row is reported before it is polled
};

/// The cadences of an effect of two passes, the rows first and the columns second.
inline constexpr RowCadence kFirstPass{.percentSpan = 50};
inline constexpr RowCadence kSecondPass{.percentFrom = 50, .percentSpan = 50};

/// A range over rows 0, or the cadence's first, to rows - 1. Before each row AbortImageProcessing is polled, and
/// any answer but 0 ends the range and sets `aborted`; then, before every sixteenth row, progress is reported. A
/// range that starts when `aborted` is set already is empty and polls nothing, so that an abort in one pass skips
/// the later ones.
class RowLoop {
public:
    RowLoop(int rows, bool &aborted, RowCadence cadence = {})
        : rows_(rows), aborted_(aborted), cadence_(cadence)
    {
    }

    struct End {};

    class Iterator {
    public:
        Iterator(const RowLoop &loop, int row) : loop_(loop), row_(row) { enterRow(); }
        int operator*() const { return row_; }
        Iterator &operator++()
        {
            ++row_;
            enterRow();
            return *this;
        }
        bool operator==(End) const { return row_ >= loop_.rows_ || loop_.aborted_; }

    private:
        void enterRow()
        {
            if (*this == End{})
                return;
            const RowCadence &cadence = loop_.cadence_;
            if (cadence.reportFirst)
                report(cadence);
            if (row_ % cadence.pollEvery == 0 && AbortImageProcessing() != 0)
                loop_.aborted_ = true;
            else if (!cadence.reportFirst)
                report(cadence);
        }
        void report(const RowCadence &cadence) const
        {
            if (cadence.reportEvery != 0 && row_ % cadence.reportEvery == 0)
                ShowImageProcessing(loop_.percentAt(row_));
        }

        const RowLoop &loop_;
        int row_;
    };

    Iterator begin() const { return {*this, cadence_.firstRow}; }
    End end() const { return {}; }

private:
    /// Reckoned in 32 bits that wrap, as hosts see it on images of more than 21 million rows.
    int percentAt(int row) const
    {
        const auto span = static_cast<uint32_t>(cadence_.percentSpan);
        const int whole = cadence_.percentOf != 0 ? cadence_.percentOf : rows_;
        return static_cast<int32_t>(static_cast<uint32_t>(row) * span) / whole / cadence_.percentShares +
               cadence_.percentFrom;
    }

    int rows_;
    bool &aborted_;
    RowCadence cadence_;
};

} // namespace velmont
