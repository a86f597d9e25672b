#include "runner.h"
#include "conversion.h"
#include "exit_codes.h"
#include "interrupt.h"
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

/// Whether an effect puts pixels elsewhere, so that alpha beside the picture would belong to others.
bool movesPixels(const Effect &effect)
{
    return effect.family == catalogue::Family::Geometry && !isConversion(effect);
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
    stopIfInterrupted();
    const auto size = sizeOf(picture_.dib.get());
    catalogue::Record record = step.record;
    StepOperands operands(step, record, picture_.dib.get(), subject());
    progress_.begin(title);
    randomness_.start(index_);
    const Stopwatch watch;
    void *const result = catalogue::apply(*step.effect, picture_.dib.get(), record);
    times_.push_back({std::string(step.effect->name), watch.seconds(),
                      static_cast<uint64_t>(size.first) * static_cast<uint64_t>(size.second)});
    progress_.clear();
    std::ranges::move(operands.takeMade(), std::back_inserter(made_));
    if (result)
        replaceDib(result);
    stopIfInterrupted();
    if (!result)
        throw Failure(ExitCode::NoResult, concat(step.effect->name, ": ", subject(),
                                                 ": no result: out of memory, or nothing to do"));
    reviewAlpha(*step.effect, sizeOf(result) != size);
}

/// Some effects return the image that they were given.
void Runner::replaceDib(void *result)
{
    if (result != picture_.dib.get())
        picture_.dib = io::DibHandle(result);
}

void Runner::reviewAlpha(const Effect &effect, bool sizeChanged)
{
    if (picture_.alpha.empty() || !(sizeChanged || movesPixels(effect)))
        return;
    picture_.alpha.clear();
    note(concat(name_, ": alpha is dropped: ", effect.name,
                sizeChanged ? " changed the image's size" : " moved the image's pixels"));
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
