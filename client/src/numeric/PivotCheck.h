#ifndef KYRORVEL_CLIENT_PIVOT_CHECK_H
#define KYRORVEL_CLIENT_PIVOT_CHECK_H

#include "FourSums.h"
#include "LeadingNullVector.h"

#include <kyrOrvel/Orvel>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// A pivot that cannot be accepted, and why.
template <class T> struct PivotFailure {
    enum class Kind {
        None,
        NotFinite,  ///< it or one of its terms
        Zero,       ///< exactly
        Lost,       ///< no more than rounding noise beside its terms
        OutOfScale, ///< no digit of it counts beside the others of its block
        WrongSign,
        Weak ///< usable, but a better order would do better
    };
    Kind kind = Kind::None;
    unsigned int position = 0; ///< block row in elimination order
    unsigned int row = 0;      ///< scalar row inside it
    T pivot = 0;
    T scale = 0;      ///< sum of the magnitudes of the terms that the pivot is the difference of
    T blockScale = 0; ///< the largest such sum in its block
};

/// What the pivots have in common.
struct PivotCounts {
    std::size_t positive = 0;
    std::size_t negative = 0;
    std::size_t bounded = 0; ///< replaced by their bounds
    double smallest = 0;     ///< the one of smallest magnitude
    double largest = 0;      ///< the one of largest magnitude
};

/// The share of its terms that a pivot has to keep where a better order can be had. One below that
/// makes the factor grow and costs three digits or more: with it, random systems that a later
/// placement solves to machine precision lost up to all but one.
constexpr double kEarlyShare = 1e-3;

/// What is asked of pivots.
struct PivotDemands {
    bool signs = false; ///< positive up to firstTrailing, negative from there
    /// Not null: per block, in the user's numbers, whether it may be ordered later. Its pivots, and
    /// those of ordinary blocks behind it that it changed, have to keep a good share of their
    /// terms.
    const std::vector<unsigned char>* early = nullptr;
    double earlyShare = kEarlyShare; ///< how good
    /// What diagonals of ordinary blocks have to be, at least, of their pivots' terms where early
    /// blocks added to these: else most digits of them are lost. So they are where an early block
    /// hardly acts on its first body, or that is much heavier. 0 asks that none is zero.
    double diagonalShare = 0;
    /// The same, of what a single early block added, for orders in which many soft ones may be
    /// early: one among them that is hard.
    double jointShare = 0;
};

/// Finds the first pivot of a factorization that cannot be trusted.
///
/// A pivot is a difference: d(i) = A(i, i) - Σ L(i, q)²·d(q). It fails when it is not finite; when
/// it is zero or so much smaller than the sum of the magnitudes of those terms that only rounding
/// noise can be left; or when it is below the machine epsilon times the largest such sum of its
/// block. Noise is told by that sum where the pivots below in the elimination tree were well
/// determined. Where they were not it can be larger: then the vector that the leading matrix takes
/// to the pivot decides, for the most doubtful pivots of each tree.
template <class T> class PivotCheck {
public:
    /// Makes room for systems with the pattern of that one, which has been analysed.
    ///
    /// @param order,firstTrailing  as below
    /// @param early                as in PivotDemands
    void prepare(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                 unsigned int firstTrailing, const std::vector<unsigned char>* early);

    /// @param order         order[k]: the user's number of the block at position k
    /// @param firstTrailing the user's number of the first trailing block
    /// @param demands       with the `early` that `prepare` was told of
    /// O(scalars of the factor), a few times that where pivots are doubtful; O(scalars) where the
    /// factorization left `pivotScales` and no pivot is; allocates nothing.
    PivotFailure<T> run(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                        unsigned int firstTrailing, PivotDemands demands);

    /// Marks the trailing blocks to be ordered later because of pivots that `run` would refuse with
    /// these demands, or that are at their bounds: the block of such a pivot itself, or for an
    /// ordinary block those that were eliminated before it and changed it. Pivots above another
    /// such one in the elimination tree may owe it to that, and are passed over.
    ///
    /// @param later  receives one mark per block, in the user's numbers
    void findUnusable(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                      unsigned int firstTrailing, PivotDemands demands,
                      std::vector<unsigned char>& later);

    /// Counts pivots, and finds the first that is not finite or would not have been without its
    /// bound, or whose terms are more than `most` times the bound that it was kept to; all that can
    /// be asked of pivots with bounds.
    PivotFailure<T> runBounded(const OrvelData<T>& data, T most);

    const PivotCounts& counts() const { return m_counts; }

    /// The number of pivots kept to bounds, and where the first is.
    PivotFailure<T> firstBounded() const { return m_firstBounded; }

    /// |A(i, i)| + Σ |L(i, q)²·d(q)| over all columns before i, for every row i of block row
    /// r.
    const std::vector<T>& computeScales(const OrvelData<T>& data, unsigned int r);

    LeadingNullVector<T>& nullVector() { return m_nullVector; }

    /// What a pivot's row has on its diagonal, if that is negative, as a positive number; else 0.
    double complianceOf(const OrvelData<T>& data, const PivotFailure<T>& pivot) const;

    /// Scalars of L that the last `run` read for closer looks at doubtful pivots.
    std::size_t scalarsRead() const { return m_scalarsRead; }

private:
    void estimateScales(const OrvelData<T>& data, unsigned int r);
    bool takeAllAtOnce(const OrvelData<T>& data, PivotDemands demands);
    typename PivotFailure<T>::Kind judge(const PivotFailure<T>& pivot, T leastShare);
    PivotFailure<T> checkBlock(const OrvelData<T>& data, unsigned int r, const T* scales,
                               const std::vector<unsigned int>& order, unsigned int firstTrailing,
                               PivotDemands demands);
    PivotFailure<T> checkPivots(const OrvelData<T>& data, unsigned int r, const T* scales,
                                const std::vector<unsigned int>& order, unsigned int firstTrailing,
                                PivotDemands demands);
    bool isOwing(unsigned int r) const;
    bool areDiagonalsSound(const OrvelData<T>& data, T share) const;
    bool isBuried(const OrvelData<T>& data, const PivotFailure<T>& pivot,
                  const std::vector<unsigned int>& order, const PivotDemands& demands) const;
    bool areSound(const T* pivots, const T* scales, std::size_t m, T share, T noise) const;
    void takeWeights(const OrvelData<T>& data, unsigned int r);
    bool hasBounded(const OrvelData<T>& data, unsigned int r) const;
    typename PivotFailure<T>::Kind wrongSign(const OrvelData<T>& data, const PivotFailure<T>& pivot,
                                             bool trailing) const;
    void keepLikelyNoise(const OrvelData<T>& data, unsigned int rows);
    PivotFailure<T> findNoise(const OrvelData<T>& data, unsigned int rows);
    void begin();
    void enter(unsigned int r);
    void leave(const OrvelData<T>& data, unsigned int r);
    void setLeastShare(T share);
    void count(const T* pivots, std::size_t m);

    /// An ordinary block row that early blocks add to.
    struct Owing {
        const T* block; ///< its diagonal block of A: looking for it costs as much as reading it
        unsigned int offset; ///< scalar row
        unsigned int size;
        unsigned int row;
    };

    std::vector<T> m_scales;            ///< per row of the block at hand
    std::vector<FourSums<T>> m_sums;    ///< likewise
    std::vector<T> m_expected;          ///< per pivot: 1, or -1 in trailing blocks
    bool m_trailingCouple = false;      ///< whether trailing blocks couple to each other
    std::size_t m_expectedNegative = 0; ///< pivots
    std::vector<Owing> m_owing;         ///< ascending
    std::vector<unsigned char> m_signs; ///< per block row checked: kPositive, kNegative, both
    std::vector<T> m_positive;          ///< per pivot checked: it where positive, or zero
    std::vector<T> m_negative;          ///< likewise its magnitude where negative
    PivotCounts m_counts;
    PivotFailure<T> m_firstBounded;

    /// What lies below a block row in the elimination tree.
    struct Below {
        T leastShare;        ///< of its terms that a pivot has kept
        std::size_t scalars; ///< of L, with the row's own once it has been checked
    };
    /// A pivot that may be noise.
    struct Doubtful {
        unsigned int position;
        unsigned int row;
        T share; ///< it over what it may be off by, times the machine epsilon
    };
    std::vector<Below> m_below;        ///< per block row
    std::vector<unsigned int> m_top;   ///< per block row checked: the one at the top of its tree
    std::vector<std::size_t> m_budget; ///< likewise: scalars of L to be read for doubtful pivots
    std::vector<Doubtful> m_doubtful;
    std::size_t m_scalarsRead = 0;
    T m_leastShare = 1; ///< below the row at hand
    T m_soundShare = 1; ///< what a pivot of it has to keep to need no closer look
    LeadingNullVector<T> m_nullVector;
};

} // namespace client
} // namespace kyrOrvel

#endif
