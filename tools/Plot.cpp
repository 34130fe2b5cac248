#include "Commands.h"
#include "Configure.h"
#include "MatrixInput.h"
#include "PlotReport.h"
#include "Progress.h"
#include "Report.h"
#include "draw/Pages.h"
#include "draw/Utf8.h"
#include "text/TextPages.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Pictures>

#include <kyrOrvel/Orvel>

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

/// Which of the kinds are asked for.
struct Kinds {
    bool pattern;
    bool factor;
    bool tree;
    bool pivots;
    bool timeline;

    explicit Kinds(const PlotOptions& options) : Kinds(options.what)
    {
        timeline = timeline && !options.output.empty(); // it is not drawn as text
    }
    bool needFactorization() const { return pivots || timeline; }

private:
    explicit Kinds(const std::string& what)
        : pattern(what == "pattern" || what == "all"),
          factor(what == "factor" || what == "all"),
          tree(what == "tree" || what == "all"),
          pivots(what == "pivots" || what == "all"),
          timeline(what == "timeline" || what == "all")
    {
    }
};

/// Factors, for the order that `orvel solve` uses. A failure counts where the pivots are asked for,
/// or if there is no order.
Status prepare(const PlotOptions& options, const Kinds& kinds, BlockLDLT<double>& solver,
               PlotSubject& subject)
{
    configure(solver, options.solver);
    if (kinds.timeline || options.solver.threads > 1) // a schedule is what there is to draw
        solver.setFactorization(Factorization::Multifrontal);
    const Progress progress("analysing and factoring");
    solver.compute(subject.matrix);
    const kyrOrvel::OrvelData<double>& data = solver.data();
    subject.analysed = data.factorRowStart.size() == subject.matrix.numBlockRows() + std::size_t(1);
    if (subject.analysed && !kinds.needFactorization())
        return {};
    subject.factored = subject.analysed && data.factored != 0;
    if (subject.factored && kinds.timeline) { // once more, the memory being there
        solver.setTrace(&subject.trace);
        solver.factorize(subject.matrix);
    }
    return solver.info();
}

/// The pages of a picture, and what each of them shows.
struct Pages {
    std::vector<Page> pages;
    std::vector<std::string> kinds;

    void add(const char* kind, Page page)
    {
        pages.push_back(std::move(page));
        kinds.emplace_back(kind);
    }
};

Pages pagesOf(const PlotSubject& subject, const Kinds& kinds)
{
    Pages all;
    if (kinds.pattern)
        all.add("pattern", patternPage(subject));
    if (kinds.factor && subject.analysed)
        all.add("factor", factorPage(subject));
    if (kinds.tree && subject.analysed)
        all.add("tree", treePage(subject));
    if (kinds.pivots && subject.factored)
        all.add("pivots", pivotsPage(subject));
    if (kinds.timeline && !subject.trace.threads.empty())
        all.add("timeline", timelinePage(subject));
    return all;
}

Status drawInto(const std::string& path, const std::vector<Page>& pages, PictureFormat format)
{
    const Progress progress("drawing");
    return kyrOrvel::client::writePicture(path, render(pages, format));
}

void printText(const PlotSubject& subject, const Kinds& kinds)
{
    const Letters letters = {terminalTakesUtf8()};
    std::string text = textHead(subject);
    if (kinds.pattern)
        text += textPatternPage(subject, letters);
    if (kinds.factor && subject.analysed)
        text += textFactorPage(subject, letters);
    if (kinds.tree && subject.analysed)
        text += textTreePage(subject, letters);
    if (kinds.pivots && subject.factored)
        text += textPivotsPage(subject, letters);
    print(text);
}

} // namespace

const std::vector<std::string>& plotNames()
{
    static const std::vector<std::string> names = {"pattern", "factor",   "tree",
                                                   "pivots",  "timeline", "all"};
    return names;
}

int runPlot(const PlotOptions& options)
{
    const Kinds kinds(options);
    const bool text = options.text || options.output.empty();
    PictureFormat format = PictureFormat::Svg;
    if (!options.output.empty() && !formatOf(options.output, format))
        return refuse(options.output + ": a picture's name ends in .svg, .png or .pdf");
    if (text && options.what == "timeline")
        return refuse(
            "a timeline is not drawn as text; name a picture with --output, and leave out --text");
    if (text && options.json)
        return refuse("--json leaves no room on standard output for text; name a picture with "
                      "--output, and leave out --text");
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);

    BlockLDLT<double> solver;
    PlotSubject subject{printable(std::filesystem::path(input.name).filename().string()),
                        input.matrix,
                        solver,
                        false,
                        false,
                        {}};
    status = prepare(options, kinds, solver, subject);
    if (status.code == StatusCode::InvalidInput)
        return refuse(status.message);
    const Pages drawn = pagesOf(subject, kinds);
    const bool hasPicture = !options.output.empty() && !drawn.pages.empty();
    if (hasPicture) {
        const Status written = drawInto(options.output, drawn.pages, format);
        if (!written.ok())
            return refuse(written.message);
    }
    if (text)
        printText(subject, kinds);
    Report report(options.json);
    if (options.json)
        reportPlot(report, input, subject, options.solver, drawn.kinds);
    if (hasPicture)
        report.file("picture", "Picture", options.output);
    if (!status.ok())
        return reportFailure(report, input, status);
    report.finish();
    return kDone;
}

} // namespace orvel
