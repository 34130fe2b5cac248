#ifndef KYRORVEL_CLIENT_ANALYZED_SYSTEM_H
#define KYRORVEL_CLIENT_ANALYZED_SYSTEM_H

#include "../ordering/Ordering.h"
#include "../schedule/Schedule.h"
#include "../symbolic/FactorStructure.h"
#include "MatrixPattern.h"
#include "Settings.h"
#include "ValueScatter.h"

#include <kyrOrvel/Orvel>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kyrOrvel {
namespace client {

/// One pattern, analysed, with the storage to factor matrices that have it.
template <class T> class AnalyzedSystem {
public:
    Settings settings;
    MatrixPattern pattern;
    Analysis analysis;
    OrvelData<T> data;
    ValueScatter<T> scatter;
    std::vector<std::size_t> offsets; ///< scalar offset of each block in the user's order
    unsigned int largestBlock = 0;
    bool signsAreKnown = false; ///< of the pivots
    /// Per block: whether it is a trailing one before an ordinary one that it couples to, and may
    /// be moved behind that.
    std::vector<unsigned char> early;
    bool analyzed = false;
    bool compliant = false; ///< whether data.matrix holds compliances
    /// Whether some pivots are zero for structural reasons unless trailing blocks have compliances.
    bool needsCompliance = false;

    /// Analyses A's pattern by `settings`. Storage of an earlier analysis is reused.
    ///
    /// @param compliances  of the trailing blocks, with which A will be factored; or none
    /// @param byValues     whether A's values may be looked at, to decide which trailing blocks go
    ///                     early
    Status analyze(const BlockMatrix<T>& A, std::vector<T> compliances, bool byValues);

    /// The same pattern, trailing blocks that met unusable pivots behind all ordinary blocks that
    /// they couple to: those named the first time, all of them the second.
    ///
    /// @param unusable  per block
    Status analyzeLater(const BlockMatrix<T>& A, const std::vector<unsigned char>& unusable);

    /// Whether A has the pattern that was analysed, PatternMismatch if not. O(1) for the matrix
    /// that was asked about last, unless it has got new blocks since.
    Status recognize(const BlockMatrix<T>& A);

    /// Whether trailing blocks stand before some of the ordinary blocks that they couple to, and
    /// may be moved.
    bool canOrderLater() const { return analysis.earlyBlocks > 0; }

private:
    Status checkSizes(const BlockMatrix<T>& A) const;
    Status build(const BlockMatrix<T>& A, const EarlyRule* rule);
    Status order(const EarlyRule* rule, OrderingResult& ordering);
    Status buildStructure(const BlockMatrix<T>& A, OrderingResult& ordering);
    Status planThreads(const std::vector<unsigned int>& sizes, bool inTurn);
    std::uint64_t countBytes(const BlockMatrix<T>& A, const FactorCounts& counts) const;
    std::uint64_t largestPanel() const;

    Schedule<T> m_schedule;
    std::vector<T> m_compliances;      ///< of the trailing blocks; or none
    std::uint64_t m_knownIdentity = 0; ///< of the matrix that `scatter` is linked to, or 0
    std::size_t m_knownBlocks = 0;     ///< that it had
};

} // namespace client
} // namespace kyrOrvel

#endif
