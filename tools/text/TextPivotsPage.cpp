#include "TextPages.h"

#include "../draw/PivotFigures.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace orvel {

namespace {

constexpr int kMostRows = 12; // for each sign
constexpr double kBar = 44;
constexpr std::size_t kMostNamed = 5;

/// Pivots of ordinary and of trailing blocks.
using Counts = std::array<std::uint64_t, 2>;

/// A line of the histogram.
struct Row {
    std::string name;
    Counts counts = {0, 0};
};

/// Rows for the decades of one sign, from small to large.
struct Rows {
    Decades decades;
    int step = 1; ///< decades in a row
    std::vector<Row> rows;

    Rows(const Decades& of, const char* sign) : decades(of)
    {
        if (of.empty)
            return;
        step = (of.high - of.low + kMostRows - 1) / kMostRows;
        for (int low = of.low; low < of.high; low += step)
            rows.push_back({fmt::format("{0}1e{1:+03} to {0}1e{2:+03}", sign, low, low + step)});
    }
    void add(const Pivot& pivot)
    {
        const auto decade = static_cast<int>(std::floor(std::log10(std::abs(pivot.value))));
        const auto row = static_cast<std::size_t>((decade - decades.low) / step);
        ++rows[std::min(row, rows.size() - 1)].counts[pivot.trailing];
    }
};

/// From large positive sizes down to large negative ones.
std::vector<Row> histogramOf(const PivotFigures& figures)
{
    Rows positive(figures.positiveDecades, "");
    Rows negative(figures.negativeDecades, "-");
    Row zero = {"0"};
    Row notFinite = {"not finite"};
    for (const Pivot& pivot : figures.pivots)
        if (!std::isfinite(pivot.value))
            ++notFinite.counts[pivot.trailing];
        else if (pivot.value == 0)
            ++zero.counts[pivot.trailing];
        else
            (pivot.value > 0 ? positive : negative).add(pivot);
    std::vector<Row> rows;
    if (figures.notFinite > 0)
        rows.push_back(notFinite);
    rows.insert(rows.end(), positive.rows.rbegin(), positive.rows.rend());
    rows.push_back(zero);
    rows.insert(rows.end(), negative.rows.begin(), negative.rows.end());
    return rows;
}

std::string barOf(const Counts& counts, std::uint64_t most, Letters letters)
{
    std::string bar;
    for (const bool trailing : {false, true}) {
        const double length =
            kBar * static_cast<double>(counts[trailing]) / static_cast<double>(most);
        for (long i = counts[trailing] > 0 ? std::max(std::lround(length), 1L) : 0; i > 0; --i)
            bar += letters.ofBar(trailing);
    }
    return bar;
}

/// The first pivots that something is wrong with.
std::string namedPivots(const PivotFigures& figures)
{
    std::string text;
    std::size_t named = 0;
    for (const Pivot& pivot : figures.pivots) {
        const char* const what = pivot.tiny                    ? "tiny"
                                 : pivot.value == 0            ? "zero"
                                 : !std::isfinite(pivot.value) ? "not finite"
                                                               : nullptr;
        if (!what)
            continue;
        if (named++ == kMostNamed)
            return text + "...\n";
        text += fmt::format("{}: {:.3g} in block {}, row {}\n", what, pivot.value, pivot.block,
                            pivot.row);
    }
    return text;
}

} // namespace

std::string textPivotsPage(const PlotSubject& subject, Letters letters)
{
    const PivotFigures figures = pivotFiguresOf(subject);
    const std::vector<Row> rows = histogramOf(figures);
    std::uint64_t most = 1;
    for (const Row& row : rows)
        most = std::max(most, row.counts[0] + row.counts[1]);
    std::string text = "\nPivots\n" + wrapped(plainDigits(describePivots(figures)));
    for (const Row& row : rows) {
        const std::string bar = barOf(row.counts, most, letters);
        text += fmt::format("{:>18}  {}{}{}\n", row.name, bar, bar.empty() ? "" : " ",
                            row.counts[0] + row.counts[1]);
    }
    text += fmt::format("{:>18}  {} ordinary", "", letters.ofBar(false));
    if (subject.matrix.firstTrailing() < subject.matrix.numBlockRows())
        text += fmt::format("  {} trailing", letters.ofBar(true));
    return text + "\n" + namedPivots(figures);
}

} // namespace orvel
