#ifndef KYRORVEL_TESTS_THREADS_UPDATE_MODEL_H
#define KYRORVEL_TESTS_THREADS_UPDATE_MODEL_H

#include "support/Bits.h"
#include "support/Patterns.h"
#include "support/Random.h"
#include "support/Systems.h"

#include <kyrOrvel/MultifrontManager>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace threads {

/// A block (row, column) of an update list.
template <class T> struct Update {
    unsigned int row;
    unsigned int column;
    std::vector<T> values;
};

/// Fronts and update lists of an elimination tree, each block in storage of its own, so that a
/// sanitizer notices every access beyond it.
template <class T> struct UpdateModel {
    support::Sizes sizes;
    support::Rows columns; ///< of each node: itself, then its ancestor entries
    std::vector<unsigned int> parents;
    std::vector<unsigned char> owners;
    std::vector<std::vector<std::vector<T>>> fronts;
    std::vector<std::vector<Update<T>>> lists; ///< used where the parent has another owner

    bool isBorder(unsigned int k) const { return owners[parents[k]] != owners[k]; }
    std::size_t blockSize(unsigned int r, unsigned int c) const
    {
        return std::size_t(sizes[r]) * sizes[c];
    }
};

/// The model on the eliminated pattern of a lower triangle. Fronts and complete lists hold
/// random values.
template <class T>
UpdateModel<T> makeModel(const support::Rows& lower, const support::Sizes& sizes,
                         const std::vector<unsigned char>& owners, support::Random& random)
{
    const support::Rows rows = support::eliminated(lower);
    const auto n = static_cast<unsigned int>(rows.size());
    UpdateModel<T> model;
    model.sizes = sizes;
    model.columns.resize(n);
    for (unsigned int r = 0; r < n; ++r)
        for (const unsigned int c : rows[r])
            model.columns[c].push_back(r);
    model.parents = support::parentsOf(rows);
    model.owners = owners;
    model.fronts.resize(n);
    model.lists.resize(n);
    for (unsigned int k = 0; k < n; ++k) {
        const std::vector<unsigned int>& column = model.columns[k];
        for (const unsigned int r : column)
            model.fronts[k].push_back(random.scalars<T>(model.blockSize(r, k)));
        for (std::size_t i = 1; i < column.size(); ++i)
            for (std::size_t j = i; j < column.size(); ++j)
                model.lists[k].push_back(
                    {column[j], column[i],
                     random.scalars<T>(model.blockSize(column[j], column[i]))});
    }
    return model;
}

template <class T> void addBlock(const std::vector<T>& from, std::vector<T>& to)
{
    for (std::size_t i = 0; i < from.size(); ++i)
        to.at(i) = to.at(i) + from[i];
}

/// What addUpdateToNode is to do, by searches entry by entry.
template <class T> void plainAddUpdate(UpdateModel<T>& model, unsigned int node, unsigned int child)
{
    const std::vector<unsigned int> a(model.columns[child].begin() + 1, model.columns[child].end());
    const std::vector<Update<T>> list = model.lists[child];
    std::size_t next = 0;
    if (a.empty())
        return;

    const auto addRow = [&](unsigned int r, std::size_t t) {
        std::size_t q = 0;
        for (std::size_t i = t; i < a.size(); ++i) {
            while (model.columns[r].at(q) != a[i])
                ++q;
            addBlock(list.at(next++).values, model.fronts[r][q]);
        }
    };
    addRow(node, 0);
    unsigned int at = node;
    for (std::size_t t = 1; t < a.size(); ++t) {
        while (at != a[t]) {
            const unsigned int above = model.parents[at];
            if (model.owners[above] != model.owners[node]) {
                std::vector<Update<T>>& receiving = model.lists[at];
                std::size_t q = 0;
                for (; next < list.size(); ++next) {
                    while (receiving.at(q).row != list[next].row ||
                           receiving.at(q).column != list[next].column)
                        ++q;
                    addBlock(list[next].values, receiving[q].values);
                }
                return;
            }
            at = above;
        }
        addRow(a[t], t);
    }
}

/// Calls the library on a model.
template <class T> void addUpdate(UpdateModel<T>& model, unsigned int node, unsigned int child)
{
    using Manager = kyrOrvel::MultifrontManager<T>;
    const auto n = static_cast<unsigned int>(model.sizes.size());
    std::vector<typename Manager::Node> nodes(n);
    std::vector<std::vector<T*>> fronts(n);
    std::vector<std::vector<typename Manager::UpdateEntry>> lists(n);
    for (unsigned int k = 0; k < n; ++k) {
        for (std::vector<T>& block : model.fronts[k])
            fronts[k].push_back(block.data());
        for (Update<T>& update : model.lists[k])
            lists[k].push_back({update.values.data(), update.row, update.column});
        nodes[k].front = &fronts[k];
        nodes[k].updates = model.isBorder(k) ? &lists[k] : nullptr;
        nodes[k].parent = model.parents[k];
        nodes[k].owner = model.owners[k];
    }
    kyrOrvel::SparseMatrix<T> sizes;
    sizes.setSize(n, 0, 0, 0);
    std::copy(model.sizes.begin(), model.sizes.end(), sizes.blockSizes);
    Manager manager;
    manager.nodes = nodes.data();
    manager.numNodes = n;

    manager.addUpdateToNode(*support::makeSkeleton(model.columns), sizes, node, child);
}

template <class T>
testing::AssertionResult sameModel(const UpdateModel<T>& actual, const UpdateModel<T>& expected)
{
    for (std::size_t k = 0; k < expected.fronts.size(); ++k) {
        for (std::size_t i = 0; i < expected.fronts[k].size(); ++i) {
            const auto same =
                support::sameBits(actual.fronts[k][i].data(), expected.fronts[k][i].data(),
                                  expected.fronts[k][i].size());
            if (!same)
                return testing::AssertionFailure()
                       << "front " << k << ", block " << i << ": " << same.message();
        }
        for (std::size_t i = 0; i < expected.lists[k].size(); ++i) {
            const Update<T>& update = expected.lists[k][i];
            const auto same = support::sameBits(actual.lists[k][i].values.data(),
                                                update.values.data(), update.values.size());
            if (!same)
                return testing::AssertionFailure()
                       << "list " << k << ", block (" << update.row << ", " << update.column
                       << "): " << same.message();
        }
    }
    return testing::AssertionSuccess();
}

} // namespace threads

#endif
