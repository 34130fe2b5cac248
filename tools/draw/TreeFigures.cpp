#include "TreeFigures.h"

#include "Axis.h"

#include <kyrOrvel/Orvel>

#include <fmt/core.h>

#include <algorithm>

namespace orvel {

namespace {

using kyrOrvel::OrvelData;

/// As the analysis estimates them: w·(h(h+1)/2 + hw/2) + w³/6 for w columns over h rows.
std::vector<std::uint64_t> workOf(const PlotSubject& subject)
{
    const kyrOrvel::SkeletonMatrix& columns = subject.solver.data().columnPattern;
    const std::vector<unsigned int>& order = subject.analysis().order;
    std::vector<std::uint64_t> work(order.size());
    for (unsigned int k = 0; k < order.size(); ++k) {
        const std::uint64_t width = subject.matrix.blockSize(order[k]);
        std::uint64_t height = 0;
        for (unsigned int e = columns.rowStart[k] + 1; e < columns.rowStart[k + 1]; ++e)
            height += subject.matrix.blockSize(order[columns.columnIndices[e]]);
        work[k] =
            width * (height * (height + 1) / 2 + height * width / 2) + width * width * width / 6;
    }
    return work;
}

/// What adds up from the leaves to the roots.
void addUpwards(TreeFigures& tree)
{
    std::vector<std::uint64_t> way = tree.work; // the most work on a way from a leaf to here
    tree.leaves.assign(tree.numNodes(), 0);
    for (unsigned int k = 0; k < tree.numNodes(); ++k) {
        tree.leaves[k] = std::max(tree.leaves[k], 1u);
        tree.totalWork += tree.work[k];
        tree.leastWork = std::min(tree.leastWork, tree.work[k]);
        tree.mostWork = std::max(tree.mostWork, tree.work[k]);
        tree.longestWay = std::max(tree.longestWay, way[k]);
        const unsigned int parent = tree.parent[k];
        if (parent == k) {
            ++tree.numRoots;
            tree.numLeaves += tree.leaves[k];
            continue;
        }
        tree.leaves[parent] += tree.leaves[k];
        way[parent] = std::max(way[parent], way[k] + tree.work[parent]);
    }
}

void findDepths(TreeFigures& tree)
{
    tree.depth.assign(tree.numNodes(), 0);
    for (unsigned int k = tree.numNodes(); k-- > 0;) {
        if (!tree.isRoot(k))
            tree.depth[k] = tree.depth[tree.parent[k]] + 1;
        tree.height = std::max(tree.height, tree.depth[k] + 1);
    }
}

} // namespace

double TreeFigures::shareOf(std::uint64_t part) const
{
    return totalWork == 0 ? 0 : static_cast<double>(part) / static_cast<double>(totalWork);
}

TreeFigures treeFiguresOf(const PlotSubject& subject)
{
    const OrvelData<double>& data = subject.solver.data();
    TreeFigures tree;
    tree.work = workOf(subject);
    const std::size_t n = tree.work.size();
    tree.parent.assign(data.eliminationTree.parent, data.eliminationTree.parent + n);
    tree.owner.assign(n, 0);
    if (subject.analysis().multifrontal) {
        tree.numThreads = subject.analysis().threads;
        for (std::size_t k = 0; k < n; ++k)
            tree.owner[k] = data.multifront.nodes[k].owner;
    }
    addUpwards(tree);
    findDepths(tree);
    return tree;
}

std::string describeTree(const TreeFigures& tree)
{
    return fmt::format(
        "{}, {}, {}, {}; operations: {}, {:.0f} % of them on the longest way from leaf to root",
        counted(tree.numNodes(), "node", "nodes"), counted(tree.numLeaves, "leaf", "leaves"),
        counted(tree.height, "level", "levels"), counted(tree.numRoots, "root", "roots"),
        amount(tree.totalWork), 100 * tree.shareOf(tree.longestWay));
}

} // namespace orvel
