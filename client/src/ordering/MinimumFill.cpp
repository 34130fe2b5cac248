#include "MinimumFill.h"

#include <kyrOrvelClient/Status>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kyrOrvel {
namespace client {

namespace {

using Words = std::vector<unsigned int>;

/// Nodes with more neighbours than that many times the root of their number go last: each
/// elimination beside such a node would look at all of its cliques.
constexpr double kManyNeighbours = 10;

/// What the youngest clique counts for: not all of it, since the degrees are upper bounds. With
/// nothing of it, neighbours are counted instead of couplings; with all of it, elastic cubes take a
/// fourteenth more operations, other scenes about the same.
constexpr double kShareOfClique = 0.9;

/// Nodes by what they cost, the latest first among those that cost about the same: within an
/// eighth, which is finer than the costs are known.
class CostQueue {
public:
    explicit CostQueue(std::size_t n)
        : m_first(kBuckets, kNone), m_next(n), m_previous(n), m_bucket(n)
    {
    }

    /// @param cost  from 0 on
    void insert(unsigned int node, double cost)
    {
        const unsigned int bucket = bucketOf(cost);
        m_bucket[node] = bucket;
        m_previous[node] = kNone;
        m_next[node] = m_first[bucket];
        if (m_next[node] != kNone)
            m_previous[m_next[node]] = node;
        m_first[bucket] = node;
        m_cheapest = std::min(m_cheapest, bucket);
    }

    void remove(unsigned int node)
    {
        const unsigned int before = m_previous[node];
        const unsigned int after = m_next[node];
        (before != kNone ? m_next[before] : m_first[m_bucket[node]]) = after;
        if (after != kNone)
            m_previous[after] = before;
    }

    /// @pre there is a node
    unsigned int takeCheapest()
    {
        while (m_first[m_cheapest] == kNone)
            ++m_cheapest;
        const unsigned int node = m_first[m_cheapest];
        remove(node);
        return node;
    }

private:
    static constexpr unsigned int kBits = 3; ///< of a cost that count, besides the leading one
    static constexpr unsigned int kBuckets = 128 << kBits;

    /// The exponent and the first bits of cost + 1.
    static unsigned int bucketOf(double cost)
    {
        const double one = 1;
        const double shifted = cost + one;
        std::uint64_t bits;
        std::uint64_t bitsOfOne;
        std::memcpy(&bits, &shifted, sizeof bits);
        std::memcpy(&bitsOfOne, &one, sizeof one);
        return static_cast<unsigned int>((bits - bitsOfOne) >> (52 - kBits));
    }

    Words m_first; ///< per bucket
    Words m_next;
    Words m_previous;
    Words m_bucket;
    unsigned int m_cheapest = kBuckets - 1; ///< none is cheaper
};

class QuotientGraph {
public:
    QuotientGraph(const BlockGraph& graph, const Words& weights, FirstOfEqual first)
        : m_lists(graph.neighbours),
          m_begin(graph.start.begin(), graph.start.end() - 1),
          m_size(m_begin.size()),
          m_cliques(m_begin.size(), 0),
          m_weight(weights.begin(), weights.end()),
          m_degree(m_begin.size(), 0),
          m_within(m_begin.size(), 0),
          m_mark(m_begin.size(), 1),
          m_follower(m_begin.size(), kNone),
          m_lastFollower(m_begin.size()),
          m_hash(m_begin.size()),
          m_firstOfHash(m_begin.size(), kNone),
          m_nextOfHash(m_begin.size()),
          m_queue(m_begin.size())
    {
        const auto n = static_cast<unsigned int>(m_begin.size());
        m_order.reserve(n);
        const double many = std::max(16.0, kManyNeighbours * std::sqrt(double(n)));
        for (unsigned int i = 0; i < n; ++i) {
            m_size[i] = graph.start[i + 1] - graph.start[i];
            m_lastFollower[i] = i;
            m_weight[i] = std::max<std::int64_t>(m_weight[i], 1);
            if (m_size[i] > many) {
                m_late.push_back(i);
                m_weight[i] = 0;
            }
            m_remaining += m_weight[i];
        }
        for (unsigned int k = 0; k < n; ++k) { // the last of those that cost the same goes first
            const unsigned int i = first == FirstOfEqual::Lowest ? n - 1 - k : k;
            if (m_weight[i] == 0)
                continue;
            for (std::size_t p = m_begin[i]; p < m_begin[i] + m_size[i]; ++p) {
                m_degree[i] += m_weight[m_lists[p]];
                m_within[i] += pairs(m_weight[m_lists[p]]);
            }
            m_queue.insert(i, costOf(i, 0));
        }
    }

    FillOrder order()
    {
        while (m_remaining > 0)
            eliminate(m_queue.takeCheapest());
        m_order.insert(m_order.end(), m_late.begin(), m_late.end());
        return {std::move(m_order), m_operations};
    }

private:
    /// Pairs of scalars.
    static double pairs(std::int64_t count)
    {
        return static_cast<double>(count) * static_cast<double>(count - 1) / 2;
    }

    /// What eliminating a node costs: couplings that it adds among its neighbours. Of these,
    /// `coupled` form a clique already, and each one's own scalars couple.
    double costOf(unsigned int i, std::int64_t coupled) const
    {
        const double fill = pairs(m_degree[i]) - kShareOfClique * pairs(coupled) - m_within[i];
        return std::max(fill, 0.0) / std::sqrt(static_cast<double>(m_weight[i]));
    }

    void eliminate(unsigned int pivot)
    {
        const std::int64_t before = m_remaining;
        m_remaining -= m_weight[pivot];
        m_weight[pivot] = 0;
        formClique(pivot);
        measureOverlaps(pivot);
        updateMembers(pivot);
        countOperations(static_cast<double>(before - m_remaining),
                        static_cast<double>(m_degree[pivot]));
        m_largest = std::max(m_largest, m_degree[pivot]);
        m_stamp += m_largest + 1;
        mergeEqualMembers(pivot);
        queueMembers(pivot);
        for (unsigned int i = pivot; i != kNone; i = m_follower[i])
            m_order.push_back(i);
    }

    /// Columns that update the triangle of their rows, solve against their own, factor it.
    void countOperations(double columns, double rows)
    {
        m_operations += columns * (rows * (rows + columns) / 2 + columns * columns / 6);
    }

    /// All that the pivot couples to becomes a clique, into which the pivot's older ones dissolve.
    /// Members leave the queue; their weights are negative until they come back.
    void formClique(unsigned int pivot)
    {
        const std::size_t first = m_begin[pivot];
        const std::size_t nodes = first + m_cliques[pivot];
        const std::size_t last = first + m_size[pivot];
        // Without older cliques the list can stay where it is.
        std::size_t end = m_cliques[pivot] > 0 ? m_lists.size() : first;
        m_begin[pivot] = end;
        m_degree[pivot] = 0;
        const auto take = [&](unsigned int i) {
            if (m_weight[i] <= 0)
                return;
            m_degree[pivot] += m_weight[i];
            m_weight[i] = -m_weight[i];
            m_queue.remove(i);
            if (end == m_lists.size())
                m_lists.push_back(i);
            else
                m_lists[end] = i;
            ++end;
        };
        for (std::size_t p = first; p < nodes; ++p) {
            const unsigned int clique = m_lists[p];
            if (m_mark[clique] == kDissolved)
                continue;
            const std::size_t endOfClique = m_begin[clique] + m_size[clique];
            for (std::size_t q = m_begin[clique]; q < endOfClique; ++q)
                take(m_lists[q]);
            m_mark[clique] = kDissolved;
        }
        for (std::size_t p = nodes; p < last; ++p)
            take(m_lists[p]);
        m_size[pivot] = static_cast<unsigned int>(end - m_begin[pivot]);
    }

    /// Marks every clique that shares members with the pivot's by the weight of its other members.
    void measureOverlaps(unsigned int pivot)
    {
        forEachMember(pivot, [&](unsigned int i) {
            const std::int64_t weight = -m_weight[i];
            for (std::size_t p = m_begin[i]; p < m_begin[i] + m_cliques[i]; ++p) {
                std::int64_t& mark = m_mark[m_lists[p]];
                if (mark >= m_stamp)
                    mark -= weight;
                else if (mark != kDissolved)
                    mark = m_stamp + m_degree[m_lists[p]] - weight;
            }
        });
    }

    /// Takes out of the members' lists what the clique stands for now, and bounds their degrees.
    /// Members that are left with the clique alone follow the pivot at once.
    void updateMembers(unsigned int pivot)
    {
        const auto n = static_cast<unsigned int>(m_begin.size());
        forEachMember(pivot, [&](unsigned int i) {
            const std::size_t first = m_begin[i];
            const std::size_t nodes = first + m_cliques[i];
            const std::size_t last = first + m_size[i];
            std::size_t end = first;
            std::int64_t outside = 0; // neighbours that are not members
            m_within[i] = 0;
            unsigned int hash = pivot;
            for (std::size_t p = first; p < nodes; ++p) {
                const unsigned int clique = m_lists[p];
                if (m_mark[clique] > m_stamp) {
                    outside += m_mark[clique] - m_stamp;
                    hash += clique;
                    m_lists[end++] = clique;
                } else {
                    m_mark[clique] = kDissolved; // every member is one of the new clique, too
                }
            }
            const std::size_t firstNode = end;
            for (std::size_t p = nodes; p < last; ++p) {
                const unsigned int j = m_lists[p];
                if (m_weight[j] > 0) {
                    outside += m_weight[j];
                    m_within[i] += pairs(m_weight[j]);
                    hash += j;
                    m_lists[end++] = j;
                }
            }
            if (end == first) {
                m_remaining += m_weight[i];
                m_degree[pivot] += m_weight[i];
                m_weight[i] = 0;
                append(pivot, i);
                return;
            }
            m_degree[i] = std::min(m_degree[i], outside);
            // The new clique goes first; what it replaced has left room for it.
            m_lists[end] = m_lists[firstNode];
            m_lists[firstNode] = m_lists[first];
            m_lists[first] = pivot;
            m_cliques[i] = static_cast<unsigned int>(firstNode - first) + 1;
            m_size[i] = static_cast<unsigned int>(end - first) + 1;
            m_hash[i] = hash % n;
            m_nextOfHash[i] = m_firstOfHash[m_hash[i]];
            m_firstOfHash[m_hash[i]] = i;
        });
    }

    /// Members with the same lists will be eliminated one after the other: one stands for all.
    void mergeEqualMembers(unsigned int pivot)
    {
        forEachMember(pivot, [&](unsigned int member) {
            if (m_weight[member] == 0)
                return;
            unsigned int i = m_firstOfHash[m_hash[member]];
            m_firstOfHash[m_hash[member]] = kNone;
            for (; i != kNone && m_nextOfHash[i] != kNone; i = m_nextOfHash[i])
                mergeWithEqual(i);
        });
    }

    /// Merges a member with those behind it in the list of its hash.
    void mergeWithEqual(unsigned int i)
    {
        ++m_stamp;
        // All have the new clique in the first place.
        for (std::size_t p = m_begin[i] + 1; p < m_begin[i] + m_size[i]; ++p)
            m_mark[m_lists[p]] = m_stamp;
        unsigned int before = i;
        for (unsigned int j = m_nextOfHash[i]; j != kNone; j = m_nextOfHash[j]) {
            if (!isMarked(j, m_size[i], m_cliques[i])) {
                before = j;
                continue;
            }
            m_weight[i] += m_weight[j];
            m_weight[j] = 0;
            append(i, j);
            m_nextOfHash[before] = m_nextOfHash[j];
        }
    }

    bool isMarked(unsigned int j, unsigned int size, unsigned int cliques) const
    {
        if (m_size[j] != size || m_cliques[j] != cliques)
            return false;
        for (std::size_t p = m_begin[j] + 1; p < m_begin[j] + size; ++p)
            if (m_mark[m_lists[p]] != m_stamp)
                return false;
        return true;
    }

    /// Members come back with their new costs. The clique keeps those that stand for themselves.
    void queueMembers(unsigned int pivot)
    {
        ++m_stamp;
        std::size_t end = m_begin[pivot];
        const std::int64_t size = m_degree[pivot];
        forEachMember(pivot, [&](unsigned int i) {
            if (m_weight[i] == 0)
                return;
            m_weight[i] = -m_weight[i];
            const std::int64_t others = size - m_weight[i];
            m_degree[i] = std::min(m_degree[i] + others, m_remaining - m_weight[i]);
            m_queue.insert(i, costOf(i, others));
            m_lists[end++] = i;
        });
        if (m_begin[pivot] + m_size[pivot] == m_lists.size())
            m_lists.resize(end);
        m_size[pivot] = static_cast<unsigned int>(end - m_begin[pivot]);
        if (m_size[pivot] == 0)
            m_mark[pivot] = kDissolved;
    }

    template <class F> void forEachMember(unsigned int clique, F f)
    {
        const std::size_t end = m_begin[clique] + m_size[clique];
        for (std::size_t p = m_begin[clique]; p < end; ++p)
            f(m_lists[p]);
    }

    /// Orders a node, with all that follow it, behind another.
    void append(unsigned int node, unsigned int follower)
    {
        m_follower[m_lastFollower[node]] = follower;
        m_lastFollower[node] = m_lastFollower[follower];
    }

    static constexpr std::int64_t kDissolved = 0;

    // A node that is left has a list of its cliques, and behind them of the neighbours that no
    // clique tells of. An eliminated one is the clique of its members.
    Words m_lists;
    std::vector<std::size_t> m_begin;
    Words m_size;
    Words m_cliques;

    std::vector<std::int64_t> m_weight; ///< 0: eliminated or merged; negative: in the new clique
    std::vector<std::int64_t> m_degree; ///< weight of a clique, a bound on that of neighbours
    std::vector<double> m_within;       ///< pairs of scalars of the same neighbour, outside cliques
    std::vector<std::int64_t> m_mark;
    std::int64_t m_stamp = 2; ///< marks from here on are of now
    std::int64_t m_largest = 0;
    std::int64_t m_remaining = 0; ///< weight
    double m_operations = 0;

    Words m_follower; ///< in the order
    Words m_lastFollower;
    Words m_hash;
    Words m_firstOfHash;
    Words m_nextOfHash;

    CostQueue m_queue;
    Words m_late;
    Words m_order;
};

} // namespace

FillOrder minimumFill(const BlockGraph& graph, const std::vector<unsigned int>& weights,
                      FirstOfEqual first)
{
    return QuotientGraph(graph, weights, first).order();
}

} // namespace client
} // namespace kyrOrvel
