#include "job_report.h"
#include "catalogue/effect.h"
#include "conversion.h"
#include "text.h"
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <velmont/dib.h>

namespace velmont::cli {

namespace {

using Json = nlohmann::ordered_json;

Json textsOf(const std::vector<std::string> &texts)
{
    Json array = Json::array();
    for (const std::string &text : texts)
        array.push_back(asUtf8(text));
    return array;
}

Json namesOfFiles(const std::vector<std::filesystem::path> &files)
{
    Json array = Json::array();
    for (const std::filesystem::path &file : files)
        array.push_back(asUtf8(file.string()));
    return array;
}

Json toJson(const PictureShape &shape)
{
    return {{"width", shape.width}, {"height", shape.height}, {"depth", depthText(shape.depth)}};
}

Json toJson(const std::vector<StepTime> &steps)
{
    Json array = Json::array();
    for (const StepTime &step : steps)
        array.push_back({{"effect", step.effect}, {"seconds", step.seconds}, {"pixels", step.pixels}});
    return array;
}

void addRun(Json &object, const JobReport &report)
{
    object["after"] = toJson(report.after);
    object["steps"] = toJson(report.steps);
    object["readSeconds"] = report.readSeconds;
    object["writeSeconds"] = report.writeSeconds;
    object["seconds"] = report.seconds;
}

std::string decimal(double value)
{
    std::array<char, 64> text;
    const int digits = value < 10 ? 2 : value < 100 ? 1 : 0;
    const int size = std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return std::string(text.data(), static_cast<std::size_t>(size));
}

std::string timeText(double seconds)
{
    return concat(decimal(seconds * 1e3), " ms");
}

std::string speedText(const StepTime &step)
{
    return step.seconds > 0
               ? concat(", ", decimal(static_cast<double>(step.pixels) / step.seconds / 1e6), " MP/s")
               : "";
}

} // namespace

PictureShape shapeOf(void *dib)
{
    PictureShape shape;
    GetDibSize(dib, &shape.width, &shape.height);
    shape.depth = catalogue::depthOf(dib);
    return shape;
}

std::string shapeText(const PictureShape &shape)
{
    return concat(std::to_string(shape.width), " x ", std::to_string(shape.height), ", ",
                  depthText(shape.depth));
}

nlohmann::ordered_json toJson(const JobReport &report)
{
    Json object = {{"input", asUtf8(report.input.string())},
                   {"output", asUtf8(report.output.string())},
                   {"before", toJson(report.before)}};
    if (report.plan.empty())
        addRun(object, report);
    else
        object["plan"] = textsOf(report.plan);
    object["notes"] = textsOf(report.notes);
    object["made"] = namesOfFiles(report.made);
    return object;
}

nlohmann::ordered_json toJson(const JobFailure &failure)
{
    return {
        {"input", asUtf8(failure.input.string())}, {"code", failure.code}, {"error", asUtf8(failure.error)}};
}

std::string resultsText(const std::vector<nlohmann::ordered_json> &results,
                        const std::vector<nlohmann::ordered_json> &failed)
{
    const Json whole = {{"results", results}, {"failed", failed}};
    return concat(whole.dump(2), "\n");
}

std::vector<std::string> timingLines(const JobReport &report)
{
    const std::string name = concat(report.input.string(), ": ");
    std::vector<std::string> lines{concat(name, "read: ", timeText(report.readSeconds))};
    for (const StepTime &step : report.steps)
        lines.push_back(concat(name, step.effect, ": ", timeText(step.seconds), speedText(step)));
    lines.push_back(concat(name, "write: ", timeText(report.writeSeconds)));
    lines.push_back(concat(name, "total: ", timeText(report.seconds)));
    return lines;
}

std::string asUtf8(const std::string &text)
{
    const std::string quoted = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    return Json::parse(quoted).get<std::string>();
}

} // namespace velmont::cli
