#include "PivotReport.h"

#include "../NumberText.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

std::string placeOf(unsigned int block, unsigned int row)
{
    return "the pivot of row " + std::to_string(row) + " of block " + std::to_string(block);
}

/// What a row weighs in a dependency: its coefficient times the root of its terms, so that units
/// cancel.
struct WeighedDependency {
    Dependency dependency;
    double weight;
};

/// The rows that the failed row is a combination of, the weightiest first. Of a trailing row these
/// are trailing rows: bodies have positive definite blocks, so no motion of theirs is left over.
template <class T>
std::vector<Dependency> findDependencies(const PivotFailure<T>& failure, const OrvelData<T>& data,
                                         const std::vector<unsigned int>& order,
                                         unsigned int firstTrailing, PivotCheck<T>& check)
{
    LeadingNullVector<T>& w = check.nullVector();
    w.compute(data, failure.position, failure.row);
    const bool trailing = order[failure.position] >= firstTrailing;
    const double least = std::sqrt(double(std::numeric_limits<T>::epsilon()));
    double largest = std::sqrt(double(failure.scale));
    std::vector<WeighedDependency> found;
    for (const unsigned int r : w.rows()) {
        if (trailing && order[r] < firstTrailing)
            continue;
        const std::vector<T>& scales = check.computeScales(data, r);
        const unsigned int m = r == failure.position ? failure.row : data.factor.blockSizes[r];
        for (unsigned int i = 0; i < m; ++i) {
            const auto coefficient = -double(w[data.factor.blockOffsets[r] + i]);
            const double weight = std::abs(coefficient) * std::sqrt(double(scales[i]));
            largest = std::max(largest, weight);
            found.push_back({{order[r], i, coefficient, 0}, weight});
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.weight > b.weight; });
    std::vector<Dependency> result;
    for (const WeighedDependency& entry : found)
        if (entry.weight > least * largest)
            result.push_back(entry.dependency);
    return result;
}

/// "; it is a combination of blocks 3 and 5", or nothing.
std::string nameDependencies(const std::vector<Dependency>& dependencies, unsigned int own)
{
    const std::vector<unsigned int> blocks = blocksOf(dependencies, own);
    if (blocks.empty())
        return "";
    std::string text = blocks.size() == 1 ? "; it depends on block " : "; it depends on blocks ";
    const std::size_t named = std::min(blocks.size(), kNamedDependencies);
    for (std::size_t b = 0; b < named; ++b) {
        if (b > 0)
            text += b + 1 == blocks.size() ? " and " : ", ";
        text += std::to_string(blocks[b]);
    }
    if (named < blocks.size())
        text += " and " + std::to_string(blocks.size() - named) + " more";
    return text;
}

template <class T>
void addDependencies(const PivotFailure<T>& failure, const OrvelData<T>& data,
                     const std::vector<unsigned int>& order, unsigned int firstTrailing,
                     PivotCheck<T>& check, Status& status)
{
    status.dependsOn = findDependencies(failure, data, order, firstTrailing, check);
    status.message += nameDependencies(status.dependsOn, status.block);
    if (status.block < firstTrailing || !(failure.scale > 0))
        return;
    constexpr double kEpsilon = std::numeric_limits<T>::epsilon();
    status.compliance = std::max({std::sqrt(kEpsilon) * double(failure.scale),
                                  4 * kEpsilon * double(failure.blockScale), // to count beside it
                                  2 * check.complianceOf(data, failure)});   // which did not do
    status.message += "; a compliance of " + numberText(status.compliance) + " would do";
}

/// What to do about a row that depends on others.
std::string adviceFor(unsigned int block, unsigned int firstTrailing, std::size_t blocks)
{
    return block < firstTrailing && firstTrailing < blocks
               ? "the diagonal block of an ordinary block has to be positive definite; see that "
                 "its mass and inertia are filled in, and not zero"
               : "remove what is redundant or give the block a diagonal (a compliance)";
}

} // namespace

std::vector<unsigned int> blocksOf(const std::vector<Dependency>& dependencies, unsigned int own)
{
    unsigned int largest = own;
    for (const Dependency& dependency : dependencies)
        largest = std::max(largest, dependency.block);
    std::vector<bool> named(std::size_t(largest) + 1, false);
    named[own] = true;
    std::vector<unsigned int> blocks;
    for (const Dependency& dependency : dependencies)
        if (!named[dependency.block]) {
            named[dependency.block] = true;
            blocks.push_back(dependency.block);
        }
    return blocks;
}

template <class T>
Status reportPivot(const PivotFailure<T>& failure, const OrvelData<T>& data,
                   const std::vector<unsigned int>& order, unsigned int firstTrailing,
                   PivotCheck<T>& check)
{
    using Kind = typename PivotFailure<T>::Kind;
    Status status;
    status.block = order[failure.position];
    status.row = failure.row;
    status.code = StatusCode::Singular;
    const std::string is =
        placeOf(status.block, status.row) + " is " + numberText(double(failure.pivot));
    switch (failure.kind) {
    case Kind::None:
        return {};
    case Kind::NotFinite:
        status.code = StatusCode::NotFinite;
        status.message = is + ", with terms of " + numberText(double(failure.scale)) +
                         ": the values overflow; scale the matrix";
        return status;
    case Kind::WrongSign:
        status.code = StatusCode::WrongSigns;
        status.message =
            is +
            (status.block < firstTrailing
                 ? ", not positive: the matrix of the ordinary blocks is not positive definite; "
                 : ", not negative: the diagonal of a trailing block has to be zero or minus a "
                   "compliance; ") +
            "mend that, or allow any signs";
        return status;
    case Kind::Zero:
        status.message = is + ": the row is zero or depends on rows eliminated before it; " +
                         adviceFor(status.block, firstTrailing, order.size());
        break;
    case Kind::Lost:
    case Kind::Weak:
        status.message = is + ", rounding noise beside its terms of " +
                         numberText(double(failure.scale)) +
                         ": the row depends on rows eliminated before it; " +
                         adviceFor(status.block, firstTrailing, order.size());
        break;
    case Kind::OutOfScale:
        status.message = is + ", nothing beside its block's scale of " +
                         numberText(double(failure.blockScale)) +
                         ": scale the block's rows to comparable sizes";
        return status;
    }
    addDependencies(failure, data, order, firstTrailing, check, status);
    return status;
}

template <class T>
Status reportBounded(const PivotCheck<T>& check, const std::vector<unsigned int>& order)
{
    const std::size_t count = check.counts().bounded;
    if (count == 0)
        return {};
    const PivotFailure<T> first = check.firstBounded();
    Status status;
    status.code = StatusCode::Regularized;
    status.block = order[first.position];
    status.row = first.row;
    status.message = std::to_string(count) + (count == 1 ? " pivot was" : " pivots were") +
                     " too small or of the wrong sign and replaced, the first in row " +
                     std::to_string(status.row) + " of block " + std::to_string(status.block) +
                     "; solutions are refined";
    return status;
}

#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template Status reportPivot(const PivotFailure<T>&, const OrvelData<T>&,                       \
                                const std::vector<unsigned int>&, unsigned int, PivotCheck<T>&);   \
    template Status reportBounded(const PivotCheck<T>&, const std::vector<unsigned int>&);
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
