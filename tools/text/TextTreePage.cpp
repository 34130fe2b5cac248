#include "TextPages.h"

#include "../draw/TreeFigures.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace orvel {

namespace {

// A tree is listed node by node up to that size, else summed up by levels.
constexpr unsigned int kMostListed = 40;
constexpr unsigned int kDeepestListed = 16;

constexpr unsigned int kMostBands = 20; // of levels
constexpr double kBar = 40;

double percent(std::uint64_t part, const TreeFigures& tree)
{
    return 100 * tree.shareOf(part);
}

std::string describeNode(const PlotSubject& subject, const TreeFigures& tree, unsigned int node)
{
    const unsigned int block = subject.analysis().order[node];
    std::string text = fmt::format("{}: {} block {}, {:.0f} %", node,
                                   subject.isTrailing(block) ? "trailing" : "ordinary", block,
                                   percent(tree.work[node], tree));
    if (tree.numThreads > 1)
        text += fmt::format(", thread {}", tree.owner[node]);
    return text;
}

/// Adds a node and its descendants. Recursive, to kDeepestListed.
void listSubtree(const PlotSubject& subject, const TreeFigures& tree,
                 const std::vector<std::vector<unsigned int>>& children, unsigned int node,
                 const std::string& before, Letters letters, std::string& text)
{
    text += describeNode(subject, tree, node) + "\n";
    for (const unsigned int child : children[node]) {
        const bool last = child == children[node].back();
        text += before + letters.branch(last);
        listSubtree(subject, tree, children, child, before + letters.trunk(last), letters, text);
    }
}

std::string listed(const PlotSubject& subject, const TreeFigures& tree, Letters letters)
{
    std::vector<std::vector<unsigned int>> children(tree.numNodes());
    for (unsigned int k = tree.numNodes(); k-- > 0;)
        if (!tree.isRoot(k))
            children[tree.parent[k]].push_back(k);
    std::string text = "position: block, share of the operations\n";
    for (unsigned int k = tree.numNodes(); k-- > 0;)
        if (tree.isRoot(k))
            listSubtree(subject, tree, children, k, "", letters, text);
    return text;
}

/// Nodes and work by levels.
std::string profile(const TreeFigures& tree, Letters letters)
{
    const unsigned int bands = std::min(tree.height, kMostBands);
    std::vector<std::uint64_t> nodes(bands, 0);
    std::vector<std::uint64_t> work(bands, 0);
    for (unsigned int k = 0; k < tree.numNodes(); ++k) {
        const auto band =
            static_cast<unsigned int>(std::uint64_t(tree.depth[k]) * bands / tree.height);
        ++nodes[band];
        work[band] += tree.work[k];
    }
    const std::uint64_t most =
        std::max<std::uint64_t>(*std::max_element(work.begin(), work.end()), 1);
    std::string text = " from depth      nodes  operations\n";
    for (unsigned int band = 0; band < bands; ++band) {
        const std::uint64_t first = (std::uint64_t(band) * tree.height + bands - 1) / bands;
        const double share = static_cast<double>(work[band]) / static_cast<double>(most);
        text +=
            fmt::format("{:>11} {:>10} {:>8.1f} %", first, nodes[band], percent(work[band], tree));
        const auto bar = std::lround(kBar * share);
        for (long i = 0; i < bar; ++i)
            text += (i == 0 ? "  " : "") + std::string(letters.ofBar(false));
        text += "\n";
    }
    return text;
}

} // namespace

std::string textTreePage(const PlotSubject& subject, Letters letters)
{
    const TreeFigures tree = treeFiguresOf(subject);
    const bool small = tree.numNodes() <= kMostListed && tree.height <= kDeepestListed;
    return "\nElimination tree\n" + wrapped(plainDigits(describeTree(tree))) +
           (small ? listed(subject, tree, letters) : profile(tree, letters));
}

} // namespace orvel
