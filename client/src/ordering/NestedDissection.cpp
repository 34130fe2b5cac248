#include "NestedDissection.h"

#ifdef KYRORVEL_HAVE_METIS
#include <metis.h>

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
    auto n = static_cast<idx_t>(input.pattern.numBlockRows);
    order.resize(static_cast<std::size_t>(n));
    std::iota(order.begin(), order.end(), 0u);
    BlockGraph graph = graphOf(input);
    if (graph.neighbours.empty())
        return {};
    std::vector<idx_t> permutation(order.size());
    std::vector<idx_t> inverse(order.size());
    idx_t options[METIS_NOPTIONS];
    METIS_SetDefaultOptions(options);
    options[METIS_OPTION_SEED] = 1;
    int result = METIS_OK;
    {
        const std::lock_guard<std::mutex> lock(metisMutex());
        const RandomNumbersAside aside;
        result = METIS_NodeND(&n, graph.start.data(), graph.neighbours.data(), graph.weights.data(),
                              options, permutation.data(), inverse.data());
    }
    if (result != METIS_OK)
        return {StatusCode::OutOfMemory, "nested dissection ran out of memory; no order was chosen",
                kNone, kNone};
    for (std::size_t k = 0; k < order.size(); ++k)
        order[k] = static_cast<unsigned int>(permutation[k]);
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
