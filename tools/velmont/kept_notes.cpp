#include "kept_notes.h"

namespace velmont::cli {

namespace {

KeptNotes *current = nullptr;

} // namespace

KeptNotes::KeptNotes()
{
    current = this;
}

KeptNotes::~KeptNotes()
{
    current = nullptr;
}

void KeptNotes::keep(std::string_view line)
{
    if (current)
        current->lines_.emplace_back(line);
}

} // namespace velmont::cli
