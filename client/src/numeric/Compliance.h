#ifndef KYRORVEL_CLIENT_COMPLIANCE_H
#define KYRORVEL_CLIENT_COMPLIANCE_H

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/BlockMatrix>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Whether any trailing block is given a compliance.
template <class T> bool isCompliant(const SolverSettings<T>& settings)
{
    return settings.compliance != 0 || !settings.compliances.empty();
}

/// One for each trailing block; none if there are none, or not as many as blocks.
template <class T>
std::vector<T> compliancesOf(const SolverSettings<T>& settings, const BlockMatrix<T>& A)
{
    const std::size_t trailing = A.numBlockRows() - A.firstTrailing();
    if (settings.compliances.size() == trailing)
        return settings.compliances;
    const bool one = settings.compliances.empty() && settings.compliance != 0;
    return std::vector<T>(one ? trailing : 0, settings.compliance);
}

/// Writes the diagonals of A's trailing blocks, less their compliances, to a copy of A. All are
/// written: blocks that A does not have may hold the compliances of the time before.
///
/// @param settings  with one compliance, or as many as there are trailing blocks
/// @param blockOf   the copy's diagonal block of a trailing block
template <class S, class T, class BlockOf>
void writeCompliantDiagonals(const SolverSettings<S>& settings, const BlockMatrix<T>& A,
                             BlockOf blockOf)
{
    const std::vector<S>& compliances = settings.compliances;
    for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t) {
        const T c = compliances.empty() ? settings.compliance : compliances[t - A.firstTrailing()];
        const std::size_t m = A.blockSize(t);
        const T* const own = A.find(t, t);
        T* const block = blockOf(t);
        for (std::size_t i = 0; i < m; ++i)
            block[i * m + i] = (own ? own[i * m + i] : T(0)) - c;
    }
}

} // namespace client
} // namespace kyrOrvel

#endif
