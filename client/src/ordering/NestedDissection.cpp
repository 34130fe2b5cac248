#include "NestedDissection.h"

#ifdef KYRORVEL_HAVE_METIS
#include "../symbolic/EliminationCounts.h"

#include <metis.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <numeric>
#endif

namespace kyrOrvel {
namespace client {

#ifdef KYRORVEL_HAVE_METIS

namespace {

// Dissections differ with the random numbers they draw: on regular grids the separators of one are
// planes, those of another are steps with half as many operations again. So several are made where
// a factorization takes long beside them, and the best is taken; of two that are alike, no more.

constexpr idx_t kMostTries = 4;

/// Operations per entry of the pattern that make a further dissection worthwhile: a factorization
/// then takes three times as long.
constexpr double kLongFactorization = 20000;

constexpr double kAlike = 0.03;

/// Separators to choose from at each of the first steps, which METIS does on large graphs alone.
constexpr idx_t kSeparators = 2;

/// The whole graph, each edge from both ends.
struct BlockGraph {
    std::vector<idx_t> start;
    std::vector<idx_t> neighbours;
    std::vector<idx_t> weights;
};

BlockGraph graphOf(const OrderingInput& input)
{
    const SkeletonMatrix& S = input.pattern;
    const std::size_t n = S.numBlockRows;
    BlockGraph graph{std::vector<idx_t>(n + 1, 0), {}, {}};
    const auto forEachEdge = [&](auto f) {
        for (unsigned int r = 0; r < n; ++r)
            for (unsigned int e = S.rowStart[r]; e + 1 < S.rowStart[r + 1]; ++e) {
                f(r, S.columnIndices[e]);
                f(S.columnIndices[e], r);
            }
    };
    forEachEdge([&](unsigned int from, unsigned int /*to*/) { ++graph.start[from + 1]; });
    for (std::size_t r = 0; r < n; ++r)
        graph.start[r + 1] += graph.start[r];
    graph.neighbours.resize(static_cast<std::size_t>(graph.start[n]));
    std::vector<idx_t> next(graph.start.begin(), graph.start.end() - 1);
    forEachEdge([&](unsigned int from, unsigned int to) {
        graph.neighbours[static_cast<std::size_t>(next[from]++)] = static_cast<idx_t>(to);
    });
    for (const unsigned int size : input.sizes)
        graph.weights.push_back(size > 0 ? static_cast<idx_t>(size) : 1);
    return graph;
}

/// METIS draws from the random numbers of the C library, whose state the process shares: two
/// orderings at a time would disturb each other's.
std::mutex& metisMutex()
{
    static std::mutex mutex;
    return mutex;
}

/// Gives the C library another state to draw from while it lives, so that the caller's sequence
/// goes on afterwards as if nothing had been.
class RandomNumbersAside {
public:
    RandomNumbersAside() = default;
    RandomNumbersAside(const RandomNumbersAside&) = delete;
    RandomNumbersAside& operator=(const RandomNumbersAside&) = delete;
#if defined(__unix__) || defined(__APPLE__)
    ~RandomNumbersAside()
    {
        setstate(m_callers);
    }

private:
    char m_state[128] = {};
    char* const m_callers = initstate(1, m_state, sizeof m_state);
#endif
};

Status outOfMemory()
{
    return {StatusCode::OutOfMemory, "nested dissection ran out of memory; no order was chosen",
            kNone, kNone};
}

/// Dissects the graph with one sequence of random numbers; false if memory is exhausted.
bool dissect(BlockGraph& graph, idx_t seed, std::vector<unsigned int>& order)
{
    auto n = static_cast<idx_t>(graph.weights.size());
    std::vector<idx_t> permutation(graph.weights.size());
    std::vector<idx_t> inverse(graph.weights.size());
    idx_t options[METIS_NOPTIONS];
    METIS_SetDefaultOptions(options);
    options[METIS_OPTION_SEED] = seed;
    options[METIS_OPTION_NSEPS] = kSeparators;
    const std::lock_guard<std::mutex> lock(metisMutex());
    const RandomNumbersAside aside;
    const int result =
        METIS_NodeND(&n, graph.start.data(), graph.neighbours.data(), graph.weights.data(), options,
                     permutation.data(), inverse.data());
    order.assign(permutation.begin(), permutation.end());
    return result == METIS_OK;
}

} // namespace

bool hasNestedDissection()
{
    return true;
}

Status nestedDissection(const OrderingInput& input, std::vector<unsigned int>& order)
{
    const std::uint64_t ends =
        2 * std::uint64_t(input.pattern.rowStart[input.pattern.numBlockRows]);
    if (ends > std::uint64_t(std::numeric_limits<idx_t>::max()))
        return {StatusCode::TooLarge,
                "the block pattern is too large for nested dissection; choose another ordering",
                kNone, kNone};
    order.resize(input.pattern.numBlockRows);
    std::iota(order.begin(), order.end(), 0u);
    BlockGraph graph = graphOf(input);
    if (graph.neighbours.empty())
        return {};
    if (!dissect(graph, 1, order))
        return outOfMemory();
    EliminationCounts counts(input.pattern, input.sizes);
    auto fewest = static_cast<double>(counts.count(order).counts.operations);
    const double entries = input.pattern.rowStart[input.pattern.numBlockRows];
    bool alike = fewest < kLongFactorization * entries;
    std::vector<unsigned int> other;
    for (idx_t seed = 2; seed <= kMostTries && !alike; ++seed) {
        if (!dissect(graph, seed, other))
            return outOfMemory();
        const auto operations = static_cast<double>(counts.count(other).counts.operations);
        alike = std::abs(operations - fewest) < kAlike * fewest;
        if (operations < fewest) {
            fewest = operations;
            order.swap(other);
        }
    }
    return {};
}

#else

bool hasNestedDissection()
{
    return false;
}

Status nestedDissection(const OrderingInput& /*input*/, std::vector<unsigned int>& /*order*/)
{
    return {StatusCode::InvalidInput,
            "this build has no nested dissection; install METIS and build again, or choose another "
            "ordering",
            kNone, kNone};
}

#endif

} // namespace client
} // namespace kyrOrvel
