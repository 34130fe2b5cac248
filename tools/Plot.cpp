#include "Commands.h"
#include "MatrixInput.h"
#include "Report.h"
#include "draw/Pages.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Pictures>

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Signs;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

const std::pair<const char*, Ordering> kOrderings[] = {
    {"automatic", Ordering::Automatic}, {"constraint-aware", Ordering::ConstraintAware},
    {"symamd", Ordering::Symamd},       {"nested-dissection", Ordering::NestedDissection},
    {"natural", Ordering::Natural},     {"best", Ordering::Best}};

Ordering orderingOf(const std::string& name)
{
    return std::find_if(std::begin(kOrderings), std::end(kOrderings),
                        [&](const auto& ordering) { return name == ordering.first; })
        ->second;
}

int refuse(const std::string& message)
{
    printError(message);
    return kBadInput;
}

} // namespace

const std::vector<std::string>& plotNames()
{
    static const std::vector<std::string> names = {"pattern", "factor", "all"};
    return names;
}

const std::vector<std::string>& orderingNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const auto& ordering : kOrderings)
            result.emplace_back(ordering.first);
        return result;
    }();
    return names;
}

int runPlot(const PlotOptions& options)
{
    PictureFormat format = PictureFormat::Svg;
    if (!options.output.empty() && !formatOf(options.output, format))
        return refuse(options.output + ": a picture's name ends in .svg, .png or .pdf");
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);
    BlockLDLT<double> solver;
    solver.setOrdering(orderingOf(options.ordering));
    solver.analyzePattern(input.matrix);
    PlotSubject subject{std::filesystem::path(options.input.matrix).filename().string(),
                        input.matrix,
                        solver,
                        solver.info().ok(),
                        false,
                        {}};
    std::vector<Page> pages;
    if (options.what != "factor")
        pages.push_back(patternPage(subject));
    if (options.what != "pattern" && subject.analysed)
        pages.push_back(factorPage(subject));
    status = kyrOrvel::client::writePicture(options.output, render(pages, format));
    if (!status.ok())
        return refuse(status.message);
    fmt::print("Picture: {}\n", options.output);
    return kDone;
}

} // namespace orvel
