#include "dry_run.h"
#include "conversion.h"
#include "recipe.h"
#include "standard_streams.h"
#include "text.h"

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;
using catalogue::Effect;
using catalogue::Family;

/// Follows an image through steps as far as its form is known.
class Plan {
public:
    Plan(io::Picture &picture, const std::vector<Step> &steps, const JobOptions &options, JobReport &report)
        : picture_(picture), options_(options), report_(report), depth_(report.before.depth)
    {
        add("read ", inputName(report.input), ": ", shapeText(report.before));
        if (options.selection.selects())
            takeSelection(steps);
    }

    void takeStep(const Step &step)
    {
        const Effect &effect = *step.effect;
        if (depth_ != 0 && (effect.depths & depth_) == 0 && !takeConversion(effect))
            return;
        takeOperands(step);
        add("run ", stepWords(step), depth_ == 0 ? ", if it takes what came before" : "");
        depth_ = resultDepth(effect, depth_);
        sizeKnown_ = sizeKnown_ && !effect.resizes;
        lastEffect_ = effect.name;
    }

    void takeOutputs(const std::vector<Step> &steps)
    {
        takeOutput(report_.output, options_.output);
        for (const Step &step : steps)
            for (const OperandFile &given : step.operands)
                if (given.operand->isResult) {
                    takeOutput(given.file, besides(options_.output));
                    report_.made.push_back(given.file);
                }
    }

private:
    /// Selections know pixels of levels only: other images are converted first.
    void takeSelection(const std::vector<Step> &steps)
    {
        const Selection checked(picture_, steps, options_.selection, options_.run, inputName(report_.input));
        depth_ = shapeOf(picture_.dib.get()).depth;
        if (depth_ != report_.before.depth)
            add("convert to ", depthText(depth_), " for the selection");
        add("select where to change it");
    }

    template <typename... Pieces>
    void add(const Pieces &...pieces)
    {
        report_.plan.push_back(concat(pieces...));
    }

    std::string subject() const
    {
        const std::string name = inputName(report_.input);
        return lastEffect_.empty() ? name : concat(name, " after ", lastEffect_);
    }

    /// \return false when the effect is left out
    bool takeConversion(const Effect &effect)
    {
        if (!options_.run.convert)
            refuseDepth(effect, depth_, subject());
        if (isNeedless(effect, depth_)) {
            add("leave out ", effect.name, ": ", subject(), " is ", depthText(depth_), " already");
            return false;
        }
        const std::vector<Step> conversion = conversionFor(effect, depth_);
        if (conversion.empty())
            refuseDepth(effect, depth_, subject());
        for (const Step &step : conversion) {
            add("convert with ", step.effect->name, ": ", effect.name, " does not take ", depthText(depth_));
            depth_ = resultDepth(*step.effect, depth_);
        }
        return true;
    }

    void takeOperands(const Step &step)
    {
        for (const OperandFile &given : step.operands) {
            if (given.operand->isResult)
                continue;
            // Where the image's size is not known any picture may turn out to fit.
            const auto kind = sizeKnown_ ? given.operand->kind : catalogue::OperandKind::Picture;
            readOperand(given.file, kind, picture_.dib.get(), subject(), options_.run.decode);
            add("read ", given.file.string(), ", the ", given.operand->name, " of ", step.effect->name);
        }
    }

    void takeOutput(const fs::path &output, const OutputOptions &options)
    {
        checkWritable(output);
        add("write ", outputName(output), " as ", io::formatName(outputFormat(output, options)));
    }

    io::Picture &picture_;
    const JobOptions &options_;
    JobReport &report_;
    unsigned depth_; ///< 0 for unknown
    bool sizeKnown_ = true;
    std::string lastEffect_;
};

} // namespace

unsigned resultDepth(const Effect &effect, unsigned depth)
{
    if (convertedDepth(effect) != 0)
        return convertedDepth(effect);
    return effect.family == Family::Masks ? 0 : depth;
}

void planSteps(io::Picture &picture, const std::vector<Step> &steps, const JobOptions &options,
               JobReport &report)
{
    Plan plan(picture, steps, options, report);
    for (const Step &step : steps)
        plan.takeStep(step);
    plan.takeOutputs(steps);
}

} // namespace velmont::cli
