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

struct MetisGraph {
    explicit MetisGraph(const GraphToOrder& graph)
        : start(graph.couplings.start.begin(), graph.couplings.start.end()),
          neighbours(graph.couplings.neighbours.begin(), graph.couplings.neighbours.end())
    {
        for (const unsigned int size : graph.sizes)
            weights.push_back(size > 0 ? static_cast<idx_t>(size) : 1);
    }

    std::vector<idx_t> start;
    std::vector<idx_t> neighbours;
    std::vector<idx_t> weights;
};

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
bool dissect(MetisGraph& graph, idx_t seed, std::vector<unsigned int>& order)
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

Status nestedDissection(const GraphToOrder& graph, std::vector<unsigned int>& order)
{
    const std::size_t n = graph.sizes.size();
    const std::size_t ends = graph.couplings.neighbours.size();
    if (ends > std::size_t(std::numeric_limits<idx_t>::max()))
        return {StatusCode::TooLarge,
                "the block pattern is too large for nested dissection; choose another ordering",
                kNone, kNone};
    order.resize(n);
    std::iota(order.begin(), order.end(), 0u);
    if (ends == 0)
        return {};
    MetisGraph metis(graph);
    if (!dissect(metis, 1, order))
        return outOfMemory();
    EliminationCounts counts(graph.couplings, graph.sizes);
    auto fewest = static_cast<double>(counts.count(order).counts.operations);
    const auto entries = static_cast<double>(graph.couplings.numEntries());
    bool enough = fewest < kLongFactorization * entries;
    std::vector<unsigned int> other;
    for (idx_t seed = 2; seed <= kMostTries && !enough; ++seed) {
        if (!dissect(metis, seed, other))
            return outOfMemory();
        const auto operations = static_cast<double>(counts.count(other).counts.operations);
        enough = std::abs(operations - fewest) < kAlike * fewest;
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

Status nestedDissection(const GraphToOrder& /*graph*/, std::vector<unsigned int>& /*order*/)
{
    return {StatusCode::InvalidInput,
            "this build has no nested dissection; install METIS and build again, or choose another "
            "ordering",
            kNone, kNone};
}

#endif

} // namespace client
} // namespace kyrOrvel
