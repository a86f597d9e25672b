#include "runner.h"
#include "conversion.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "levels.h"
#include "notes.h"
#include "stopwatch.h"
#include "text.h"
#include <algorithm>
#include <iterator>
#include <utility>
#include <velmont/dib.h>

namespace velmont::cli {

namespace {

using catalogue::Effect;

std::pair<int, int> sizeOf(void *dib)
{
    std::pair<int, int> size{};
    GetDibSize(dib, &size.first, &size.second);
    return size;
}

/// Whether a person chose the colour of what an effect leaves free; a recipe's value may be told by its difference only.
bool isChosen(const Step &step, const catalogue::Field &field)
{
    return std::ranges::find(step.typed, &field) != step.typed.end() ||
           field.load(step.record.bytes.data()) != field.defaultValue;
}

/// The parameters for the alpha beside a picture: what the effect leaves free is transparent, but opaque in a colour that
/// was chosen.
catalogue::Record recordForAlpha(const Step &step)
{
    constexpr double transparent = 0, opaque = 0xFFFFFF;
    catalogue::Record record = step.record;
    for (const catalogue::Field &field : step.effect->fields)
        if (field.fillsGaps)
            field.store(record.bytes.data(), isChosen(step, field) ? opaque : transparent);
    return record;
}

/// Why alpha cannot follow.
std::string_view reasonToDrop(const Effect &effect)
{
    switch (effect.motion) {
    case catalogue::Motion::None:
        return " changed the image's size";
    case catalogue::Motion::ByContent:
        return " moves pixels by their colours, which alpha cannot follow";
    default:
        return " moved the image's pixels, and alpha cannot follow";
    }
}

} // namespace

Runner::Runner(io::Picture &picture, std::string name, RunOptions options)
    : picture_(picture), name_(std::move(name)), options_(options), progress_(!options.quiet),
      randomness_(options.seed)
{
}

void Runner::run(const std::vector<Step> &steps)
{
    for (index_ = 0; index_ < steps.size(); ++index_) {
        if (steps.size() > 1)
            position_ = concat(std::to_string(index_ + 1), "/", std::to_string(steps.size()), " ");
        runStep(steps[index_]);
    }
    stopIfInterrupted();
}

void Runner::runStep(const Step &step)
{
    const Effect &effect = *step.effect;
    const unsigned depth = catalogue::depthOf(picture_.dib.get());
    const bool accepted = (effect.depths & depth) != 0;
    if (!accepted && options_.convert && isNeedless(effect, depth)) {
        note(concat(effect.name, ": ", subject(), " is ", depthText(depth), " already; left out"));
        return;
    }
    if (!accepted)
        makeAcceptable(effect, depth);
    call(step, concat(position_, effect.name));
    lastEffect_ = effect.name;
}

void Runner::makeAcceptable(const Effect &effect, unsigned depth)
{
    const std::vector<Step> conversion = conversionFor(effect, depth);
    if (!options_.convert || conversion.empty())
        refuseDepth(effect, depth, subject());
    note(concat(effect.name, ": ", subject(), " is ", depthText(depth), "; converted first with ",
                inQuotes(stepNames(conversion))));
    for (const Step &step : conversion)
        call(step, concat(position_, step.effect->name));
}

void Runner::call(const Step &step, const std::string &title)
{
    const auto size = sizeOf(picture_.dib.get());
    times_.push_back({std::string(step.effect->name), 0,
                      static_cast<uint64_t>(size.first) * static_cast<uint64_t>(size.second)});
    Run run = runOn(picture_.dib.get(), step, step.record, title);
    std::ranges::move(run.made, std::back_inserter(made_));
    if (run.result)
        replaceDib(run.result);
    stopIfInterrupted();
    if (!run.result)
        throw Failure(ExitCode::NoResult, concat(step.effect->name, ": ", subject(),
                                                 ": no result: out of memory, or nothing to do"));
    carryAlpha(step, title, size);
}

Runner::Run Runner::runOn(void *dib, const Step &step, const catalogue::Record &given,
                          const std::string &title)
{
    stopIfInterrupted();
    catalogue::Record record = given;
    StepOperands operands(step, record, dib, subject(), options_.decode);
    progress_.begin(title);
    randomness_.start(index_);
    const Stopwatch watch;
    void *const result = catalogue::apply(*step.effect, dib, record);
    times_.back().seconds += watch.seconds();
    progress_.clear();
    return {result, operands.takeMade()};
}

/// Some effects return the image that they were given.
void Runner::replaceDib(void *result)
{
    if (result != picture_.dib.get())
        picture_.dib = io::DibHandle(result);
}

void Runner::carryAlpha(const Step &step, const std::string &title, std::pair<int, int> sizeBefore)
{
    const Effect &effect = *step.effect;
    const bool resized = sizeOf(picture_.dib.get()) != sizeBefore;
    if (picture_.alpha.empty() || (!resized && effect.motion == catalogue::Motion::None))
        return;
    picture_.alpha = movedAlpha(step, title, sizeBefore);
    if (picture_.alpha.empty())
        note(concat(name_, ": alpha is dropped: ", effect.name, reasonToDrop(effect)));
}

/// The alpha as a gray image of its own through the same effect, with the same random numbers.
/// \return empty where that is not possible
std::vector<uint8_t> Runner::movedAlpha(const Step &step, const std::string &title,
                                        std::pair<int, int> sizeBefore)
{
    const Effect &effect = *step.effect;
    if (effect.motion != catalogue::Motion::ByPlace || (effect.depths & catalogue::Depth8Gray) == 0)
        return {};
    io::DibHandle alpha = grayOf(picture_.alpha, sizeBefore.first, sizeBefore.second);
    const Run run = runOn(alpha.get(), step, recordForAlpha(step), concat(title, ", alpha"));
    const io::DibHandle moved = run.result == alpha.get() ? std::move(alpha) : io::DibHandle(run.result);
    stopIfInterrupted();
    const bool fits = moved && sizeOf(moved.get()) == sizeOf(picture_.dib.get()) &&
                      catalogue::depthOf(moved.get()) == catalogue::Depth8Gray;
    return fits ? levelsOf(moved.get()) : std::vector<uint8_t>();
}

std::string Runner::subject() const
{
    return lastEffect_.empty() ? name_ : concat(name_, " after ", lastEffect_);
}

void Runner::note(const std::string &line) const
{
    if (!options_.quiet)
        say(line);
}

} // namespace velmont::cli
