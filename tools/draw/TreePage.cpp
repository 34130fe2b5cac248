#include "Axis.h"
#include "Layout.h"
#include "Pages.h"
#include "TreeFigures.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace orvel {

namespace {

constexpr double kLeft = kMargin + 46;
constexpr double kWidth = kPageWidth - kMargin - kLeft;
constexpr double kTop = kHeadHeight + 22;
constexpr double kPanel = 460; // height
constexpr double kLegend = kTop + kPanel + 30;

// A node is drawn by itself while there is that much room for it.
constexpr double kLeastLeafWidth = 3;
constexpr double kLeastLevel = 2.5;
constexpr unsigned int kMostNodesApart = 3000;

constexpr double kLargestNode = 11; // radius
constexpr double kSmallestNode = 1.2;
constexpr double kLeastShare = 0.3;  // of the largest node's radius
constexpr double kNumberedFrom = 18; // room on both sides for a node's number
constexpr unsigned int kTicks = 10;

constexpr Colour kLightest = {0.80, 0.88, 0.95}; // of the shades for work
constexpr Colour kDarkest = {0.02, 0.16, 0.36};
constexpr Colour kOwners[] = {kBlue, kOrange, kGreen, kVermilion, kSky, kPurple, kYellow, kFrame};
constexpr unsigned int kNumOwnerColours = 8;
constexpr unsigned int kMostOwnerKeys = 8;

/// Owners beyond the eighth get the same colours, lighter.
Colour colourOfOwner(unsigned int owner)
{
    const unsigned int round = owner / kNumOwnerColours;
    return mix(kOwners[owner % kNumOwnerColours], kWhite, 0.3 * (round % 3));
}

/// A node that takes no operations is drawn as if it took one.
std::uint64_t extentOf(std::uint64_t work)
{
    return std::max<std::uint64_t>(work, 1);
}

double logarithmOf(std::uint64_t work)
{
    return std::log(static_cast<double>(extentOf(work)));
}

Colour colourOfNode(const TreeFigures& tree, unsigned int node)
{
    if (tree.numThreads > 1)
        return colourOfOwner(tree.owner[node]);
    const double least = logarithmOf(tree.leastWork);
    const double most = logarithmOf(tree.mostWork);
    const double here = logarithmOf(tree.work[node]);
    const double share = most <= least ? 1 : (here - least) / (most - least);
    return mix(kLightest, kDarkest, share);
}

/// Where every node's stretch of the width begins, in units of `extent`: children side by side,
/// from where their parent begins.
std::vector<std::uint64_t> beginsOf(const TreeFigures& tree,
                                    const std::vector<std::uint64_t>& extent)
{
    const unsigned int n = tree.numNodes();
    std::vector<std::uint64_t> begin(n);
    std::vector<std::uint64_t> next(n); // where the next child begins
    std::uint64_t nextRoot = 0;
    for (unsigned int k = n; k-- > 0;) {
        std::uint64_t& place = tree.isRoot(k) ? nextRoot : next[tree.parent[k]];
        begin[k] = next[k] = place;
        place += extent[k];
    }
    return begin;
}

double levelHeight(const TreeFigures& tree)
{
    return kPanel / std::max(tree.height, 1u);
}

double leafWidth(const TreeFigures& tree)
{
    return kWidth / tree.numLeaves;
}

/// Whether nodes have room for their positions in the order of elimination.
bool isNumbered(const TreeFigures& tree)
{
    return leafWidth(tree) >= kNumberedFrom && levelHeight(tree) >= 0.6 * kNumberedFrom;
}

/// Nodes as discs and squares with lines to their parents.
class NodeDrawing {
public:
    NodeDrawing(Canvas& canvas, const PlotSubject& subject, const TreeFigures& tree)
        : m_canvas(canvas), m_subject(subject), m_tree(tree)
    {
        const std::vector<std::uint64_t> leaves(tree.leaves.begin(), tree.leaves.end());
        const std::vector<std::uint64_t> begin = beginsOf(tree, leaves);
        m_leafWidth = leafWidth(tree);
        for (unsigned int k = 0; k < tree.numNodes(); ++k)
            m_x.push_back(kLeft +
                          m_leafWidth * (static_cast<double>(begin[k]) + 0.5 * tree.leaves[k]));
        m_largest = std::min({kLargestNode, 0.6 * m_leafWidth, 0.48 * levelHeight(tree)});
        m_largest = std::max(m_largest, kSmallestNode);
    }

    static bool hasRoom(const TreeFigures& tree)
    {
        return tree.numNodes() <= kMostNodesApart &&
               kWidth / std::max(tree.numLeaves, 1u) >= kLeastLeafWidth &&
               levelHeight(tree) >= kLeastLevel;
    }

    void draw()
    {
        for (unsigned int k = 0; k < m_tree.numNodes(); ++k)
            if (!m_tree.isRoot(k))
                m_canvas.line(m_x[k], y(k), m_x[m_tree.parent[k]], y(m_tree.parent[k]), kFrame,
                              0.7);
        for (unsigned int k = 0; k < m_tree.numNodes(); ++k)
            drawNode(k);
    }

private:
    double y(unsigned int k) const { return kTop + levelHeight(m_tree) * (m_tree.depth[k] + 0.5); }

    void drawNode(unsigned int k)
    {
        const double share =
            static_cast<double>(m_tree.work[k]) / static_cast<double>(m_tree.mostWork);
        const double radius =
            std::max(m_largest * std::max(std::sqrt(share), kLeastShare), kSmallestNode);
        const Colour colour = colourOfNode(m_tree, k);
        if (m_subject.isTrailing(m_subject.analysis().order[k]))
            m_canvas.fillRectangle(m_x[k] - 0.9 * radius, y(k) - 0.9 * radius, 1.8 * radius,
                                   1.8 * radius, colour);
        else
            m_canvas.fillCircle(m_x[k], y(k), radius, colour);
        if (isNumbered(m_tree))
            m_canvas.text(m_x[k] + m_largest + 2, y(k) - 2, std::to_string(k), 10);
    }

    Canvas& m_canvas;
    const PlotSubject& m_subject;
    const TreeFigures& m_tree;
    std::vector<double> m_x;
    double m_leafWidth;
    double m_largest; ///< radius
};

/// What a node and all its descendants take of the width.
std::vector<std::uint64_t> subtreeExtents(const TreeFigures& tree)
{
    std::vector<std::uint64_t> extents(tree.numNodes());
    for (unsigned int k = 0; k < tree.numNodes(); ++k) {
        extents[k] += extentOf(tree.work[k]);
        if (!tree.isRoot(k))
            extents[tree.parent[k]] += extents[k];
    }
    return extents;
}

/// Every node as wide as its subtree's share of the work, children below their parent. What is
/// missing below a node is its own share. Of several nodes in a pixel the one with most work shows.
void drawProfile(Canvas& canvas, const TreeFigures& tree)
{
    constexpr auto columns = static_cast<unsigned int>(kWidth);
    constexpr auto rows = static_cast<unsigned int>(kPanel);
    const std::vector<std::uint64_t> extents = subtreeExtents(tree);
    const std::vector<std::uint64_t> begin = beginsOf(tree, extents);
    std::uint64_t total = 0;
    for (unsigned int k = 0; k < tree.numNodes(); ++k)
        total += extentOf(tree.work[k]);
    const double scale = columns / static_cast<double>(total);
    const double level = static_cast<double>(rows) / tree.height;
    std::vector<unsigned int> shown(std::size_t(columns) * rows, kyrOrvel::kNone);
    for (unsigned int k = 0; k < tree.numNodes(); ++k) {
        const auto left = static_cast<unsigned int>(scale * static_cast<double>(begin[k]));
        const double end = scale * static_cast<double>(begin[k] + extents[k]);
        const unsigned int right =
            std::min(columns, std::max(left + 1, static_cast<unsigned int>(end)));
        const auto top = static_cast<unsigned int>(level * tree.depth[k]);
        const unsigned int bottom = std::min(
            rows, std::max(top + 1, static_cast<unsigned int>(level * (tree.depth[k] + 1))));
        for (unsigned int row = top; row < bottom; ++row)
            for (unsigned int column = left; column < right; ++column) {
                unsigned int& node = shown[std::size_t(row) * columns + column];
                if (node == kyrOrvel::kNone || tree.work[node] < tree.work[k])
                    node = k;
            }
    }
    Raster raster(columns, rows);
    for (unsigned int row = 0; row < rows; ++row)
        for (unsigned int column = 0; column < columns; ++column) {
            const unsigned int node = shown[std::size_t(row) * columns + column];
            if (node != kyrOrvel::kNone)
                raster.set(column, row, colourOfNode(tree, node));
        }
    canvas.image(kLeft, kTop, kWidth, kPanel, raster);
}

void drawAxes(Canvas& canvas, const TreeFigures& tree, bool profile)
{
    canvas.strokeRectangle(kLeft, kTop, kWidth, kPanel, kFrame);
    for (const std::uint64_t tick : ticksUpTo(std::max(tree.height, 1u) - 1, kTicks)) {
        const double y = kTop + levelHeight(tree) * (static_cast<double>(tick) + 0.5);
        canvas.line(kLeft - 4, y, kLeft, y, kFrame);
        canvas.text(kLeft - 7, y + 3.5, grouped(tick), 10, Align::Right);
    }
    canvas.textUpwards(kMargin - 8, kTop + kPanel / 2, "depth below the root", 11);
    if (!profile)
        return;
    for (unsigned int percent = 0; percent <= 100; percent += 10) {
        const double x = kLeft + kWidth * percent / 100;
        canvas.line(x, kTop + kPanel, x, kTop + kPanel + 4, kFrame);
        canvas.text(x, kTop + kPanel + 15, std::to_string(percent) + " %", 10, Align::Centre);
    }
    canvas.text(kLeft + kWidth / 2, kTop + kPanel + 30,
                "share of the work; a node is as wide as its subtree", 11, Align::Centre);
}

/// Threads with their share of the work.
void drawOwners(Canvas& canvas, double y, const TreeFigures& tree)
{
    std::vector<std::uint64_t> work(tree.numThreads);
    for (unsigned int k = 0; k < tree.numNodes(); ++k)
        work[tree.owner[k]] += tree.work[k];
    double x = kLeft;
    for (unsigned int t = 0; t < std::min(tree.numThreads, kMostOwnerKeys); ++t)
        x = drawLegend(canvas, x, y,
                       {{colourOfOwner(t),
                         fmt::format("thread {}: {:.0f} %", t, 100 * tree.shareOf(work[t]))}}) -
            10;
    if (tree.numThreads > kMostOwnerKeys)
        canvas.text(x, y - 1, "...", 11);
}

void drawTreePage(Canvas& canvas, const PlotSubject& subject)
{
    const TreeFigures tree = treeFiguresOf(subject);
    drawHead(canvas, subject, "Elimination tree");
    canvas.text(kMargin, kHeadHeight + 4, describeTree(tree), 12);
    const bool profile = !NodeDrawing::hasRoom(tree);
    if (profile)
        drawProfile(canvas, tree);
    else
        NodeDrawing(canvas, subject, tree).draw();
    drawAxes(canvas, tree, profile);
    const double legend = kLegend + (profile ? 26 : 0);
    if (tree.numThreads > 1)
        drawOwners(canvas, legend, tree);
    else
        drawShadeBar(canvas, kLeft, legend, kLightest, kDarkest,
                     "operations at a node: " + amount(tree.leastWork), amount(tree.mostWork));
    if (!profile)
        drawLegend(
            canvas, kLeft, legend + 20,
            {{kInk, "ordinary block", LegendKey::Disc},
             {kInk, "trailing block"},
             {kWhite, isNumbered(tree)
                          ? "the larger, the more operations; numbers: positions in the order"
                          : "the larger, the more operations"}});
}

} // namespace

Page treePage(const PlotSubject& subject)
{
    return {kLegend + 44, [&subject](Canvas& canvas) { drawTreePage(canvas, subject); }};
}

} // namespace orvel
