#ifndef KYRORVEL_TESTS_MULTIFRONTAL_PLAIN_MULTIFRONTAL_H
#define KYRORVEL_TESTS_MULTIFRONTAL_PLAIN_MULTIFRONTAL_H

// What the threads of a multifrontal factorization compute together, one node after the other on
// the calling thread. Every thread's own order of nodes is kept, and every sum is formed in the
// order in which the threads form it, so that the results have to agree to the last bit. Blocks are
// looked up in maps, update lists by going through them from the front.

#include "support/PlainFactorization.h"

#include "support/Forests.h"

#include <kyrOrvel/Tree>

#include <algorithm>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace support {

/// Who factors what.
struct PlainSchedule {
    Words parents;
    Words owner;
    std::vector<std::pair<unsigned int, unsigned int>> assignment; ///< (node, thread)
};

inline bool isBorder(const PlainSchedule& s, unsigned int node)
{
    return s.owner[s.parents[node]] != s.owner[node];
}

/// Adds the thread's region below a node in depth-first post-order, children ascending.
inline void visitRegion(const PlainSchedule& s, const std::vector<Words>& children,
                        unsigned int top, std::vector<bool>& visited, Words& order)
{
    // Iterative, for long chains: a node is met twice, first to go down, then to be taken.
    std::vector<std::pair<unsigned int, bool>> pending = {{top, false}};
    while (!pending.empty()) {
        const auto [node, down] = pending.back();
        pending.pop_back();
        if (down) {
            order.push_back(node);
            visited[node] = true;
            continue;
        }
        pending.emplace_back(node, true);
        for (auto c = children[node].rbegin(); c != children[node].rend(); ++c)
            if (s.owner[*c] == s.owner[node] && !visited[*c])
                pending.emplace_back(*c, false);
    }
}

/// The nodes of every thread in the order in which it factors them.
inline std::vector<Words> nodesOfThreads(const PlainSchedule& s, unsigned int threads)
{
    std::vector<Words> children(s.parents.size());
    for (unsigned int k = 0; k < s.parents.size(); ++k)
        if (s.parents[k] != k)
            children[s.parents[k]].push_back(k);
    std::vector<Words> orders(threads);
    std::vector<bool> visited(s.parents.size(), false);
    for (const auto& [node, thread] : s.assignment)
        if (thread < threads)
            visitRegion(s, children, node, visited, orders[thread]);
    return orders;
}

/// One order for all threads that keeps each one's own and has no node before a child of another
/// thread. It ends early where no thread can go on.
inline Words jointOrder(const PlainSchedule& s, const std::vector<Words>& orders)
{
    Words waitingFor(s.parents.size(), 0); // children of other threads that are not done
    for (unsigned int k = 0; k < s.parents.size(); ++k)
        if (isBorder(s, k))
            ++waitingFor[s.parents[k]];
    Words result;
    std::vector<std::size_t> next(orders.size(), 0);
    for (bool progress = true; progress;) {
        progress = false;
        for (std::size_t t = 0; t < orders.size(); ++t)
            while (next[t] < orders[t].size() && waitingFor[orders[t][next[t]]] == 0) {
                const unsigned int k = orders[t][next[t]++];
                result.push_back(k);
                if (isBorder(s, k))
                    --waitingFor[s.parents[k]];
                progress = true;
            }
    }
    return result;
}

template <class T> class PlainMultifrontal {
public:
    PlainMultifrontal(const System<T>& system, const PlainSchedule& schedule)
        : m_system(system), m_schedule(schedule), m_columns(system.numRows())
    {
        m_factors.sizes = system.sizes;
        m_factors.rows = system.factorRows;
        m_factors.D.assign(system.dimension(), T(0));
        for (unsigned int r = 0; r < system.numRows(); ++r) {
            m_factors.offsets.push_back(system.offsetOf(r));
            for (const unsigned int c : system.factorRows[r])
                if (c <= r)
                    m_columns[c].push_back(r);
        }
        for (unsigned int k = 0; k < system.numRows(); ++k)
            makeNode(k);
    }

    PlainFactors<T> run(const Words& order)
    {
        for (const unsigned int k : order)
            factor(k);
        return m_factors;
    }

private:
    struct Update {
        unsigned int row;
        unsigned int column;
        std::vector<T> block;
    };

    std::size_t size(unsigned int r) const { return m_system.sizes[r]; }

    void makeNode(unsigned int k)
    {
        for (const unsigned int r : m_columns[k])
            m_front[{r, k}].assign(size(r) * size(k), T(0));
        if (!isBorder(m_schedule, k))
            return;
        const Words& entries = m_columns[k];
        for (std::size_t i = 1; i < entries.size(); ++i)
            for (std::size_t j = i; j < entries.size(); ++j)
                m_updates[k].push_back({entries[j], entries[i],
                                        std::vector<T>(size(entries[j]) * size(entries[i]), T(0))});
    }

    static void add(std::vector<T>& to, const std::vector<T>& from)
    {
        for (std::size_t i = 0; i < to.size(); ++i)
            to[i] = to[i] + from[i];
    }

    /// The last node on the way from k to its ancestor a that belongs to k's thread; a itself if
    /// all of them do.
    unsigned int lastOwn(unsigned int k, unsigned int a) const
    {
        unsigned int node = k;
        while (node != a && m_schedule.owner[m_schedule.parents[node]] == m_schedule.owner[k])
            node = m_schedule.parents[node];
        return node;
    }

    /// Where what k has for (row, column) is collected.
    std::vector<T>& target(unsigned int k, unsigned int row, unsigned int column)
    {
        const unsigned int last = lastOwn(k, column);
        if (last == column)
            return m_front.at({row, column});
        for (Update& update : m_updates.at(last))
            if (update.row == row && update.column == column)
                return update.block;
        throw std::out_of_range("no update block");
    }

    void factor(unsigned int k)
    {
        for (const unsigned int r : m_columns[k])
            if (const auto input = m_system.blocks.find({r, k}); input != m_system.blocks.end())
                add(m_front.at({r, k}), input->second);
        gather(k);
        factorDiagonal(k);
        for (const unsigned int r : m_columns[k])
            if (r != k)
                factorOffDiagonal(k, r);
        for (std::size_t i = 1; i < m_columns[k].size(); ++i)
            for (std::size_t j = i; j < m_columns[k].size(); ++j) {
                const unsigned int a = m_columns[k][i];
                const unsigned int c = m_columns[k][j];
                plainSubtract(target(k, c, a), m_factors.L.at({c, k}), m_factors.LD.at({a, k}),
                              size(c), size(a), size(k));
            }
    }

    void gather(unsigned int k)
    {
        for (unsigned int c = 0; c < k; ++c)
            if (m_schedule.parents[c] == k && isBorder(m_schedule, c))
                for (const Update& update : m_updates.at(c))
                    add(target(k, update.row, update.column), update.block);
    }

    void factorDiagonal(unsigned int k)
    {
        const std::size_t m = size(k);
        std::vector<T> F = m_front.at({k, k});
        T* const D = m_factors.D.data() + m_factors.offsets[k];
        for (std::size_t j = 0; j < m; ++j) {
            D[j] = F[j * m + j];
            F[j * m + j] = 1;
        }
        for (std::size_t i = 1; i < m; ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                T value = F[i * m + j];
                for (std::size_t p = 0; p < j; ++p) {
                    const T scaled = D[p] * F[i * m + p];
                    value = value - scaled * F[j * m + p];
                }
                F[i * m + j] = value / D[j];
            }
            for (std::size_t p = 0; p < i; ++p) {
                const T scaled = F[i * m + p] * D[p];
                D[i] = D[i] - scaled * F[i * m + p];
            }
        }
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = i + 1; j < m; ++j)
                F[i * m + j] = 0;
        m_factors.LD[{k, k}] = plainScaled(F, D, m, m);
        m_factors.L[{k, k}] = std::move(F);
    }

    void factorOffDiagonal(unsigned int k, unsigned int r)
    {
        const std::size_t m = size(r);
        const std::size_t p = size(k);
        const std::vector<T>& F = m_factors.L.at({k, k});
        std::vector<T> B = m_front.at({r, k});
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 1; j < p; ++j)
                for (std::size_t q = 0; q < j; ++q)
                    B[i * p + j] = B[i * p + j] - B[i * p + q] * F[j * p + q];
        m_factors.LD[{r, k}] = B;
        for (std::size_t j = 0; j < p; ++j) {
            const T reciprocal = T(1) / m_factors.D[m_factors.offsets[k] + j];
            for (std::size_t i = 0; i < m; ++i)
                B[i * p + j] = B[i * p + j] * reciprocal;
        }
        m_factors.L[{r, k}] = std::move(B);
    }

    const System<T>& m_system;
    const PlainSchedule& m_schedule;
    std::vector<Words> m_columns; ///< rows of each column of L, the diagonal first
    PlainFactors<T> m_factors;
    BlockMap<T> m_front;                                   ///< by (row, column of L)
    std::map<unsigned int, std::vector<Update>> m_updates; ///< of the nodes below a border
};

} // namespace support

#endif
