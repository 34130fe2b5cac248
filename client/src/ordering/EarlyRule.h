#ifndef KYRORVEL_CLIENT_EARLY_RULE_H
#define KYRORVEL_CLIENT_EARLY_RULE_H

#include <kyrOrvelClient/BlockMatrix>

#include <utility>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Decides which trailing blocks may be eliminated directly behind their first body, and which
/// anywhere.
class EarlyRule {
public:
    virtual ~EarlyRule() = default;

    /// Whether trailing block t, which has `body` as the first of its ordinary blocks, may follow
    /// it at once, after the trailing blocks `taken` that already do.
    virtual bool accepts(unsigned int body, const std::vector<unsigned int>& taken,
                         unsigned int t) const = 0;

    /// Whether the compliance of trailing block t is such that it may be eliminated before, between
    /// or behind its ordinary blocks.
    virtual bool isSoft(unsigned int /*t*/) const { return false; }

protected:
    EarlyRule() = default;
    EarlyRule(const EarlyRule&) = default;
    EarlyRule& operator=(const EarlyRule&) = default;
};

/// Counts rows against the body's freedoms. Necessary, not sufficient: so two joints have to leave
/// a freedom over. Two ball joints are six rows of rank five.
class CountRule : public EarlyRule {
public:
    explicit CountRule(const std::vector<unsigned int>& sizes) : m_sizes(sizes) {}

    bool accepts(unsigned int body, const std::vector<unsigned int>& taken,
                 unsigned int t) const override;

private:
    const std::vector<unsigned int>& m_sizes;
};

/// Looks at the values: the rows of t on the body have to be independent of each other and of those
/// taken, in the metric of the body's inverse mass. A row that keeps less than a tenth of its
/// length beside the others would cost two digits.
///
/// A block is soft if the compliance of every row is a softShare, at least, of all that its pivot
/// can be the difference of: the compliance and the row's inverse mass. With compliances the matrix
/// is quasi-definite, and has pivots in any order (Vanderbei 1995; Gill, Saunders, Shinnerl 1996 on
/// what they lose).
template <class T> class ValueRule : public EarlyRule {
public:
    /// @param compliances  to be added to the trailing blocks' own, none or one for each
    explicit ValueRule(const BlockMatrix<T>& A, std::vector<T> compliances = {})
        : m_A(A), m_compliances(std::move(compliances))
    {
    }

    bool accepts(unsigned int body, const std::vector<unsigned int>& taken,
                 unsigned int t) const override;

    bool isSoft(unsigned int t) const override;

private:
    std::vector<double> complianceOf(unsigned int t) const;
    bool addRows(unsigned int body, unsigned int t, const std::vector<double>& cholesky,
                 std::vector<double>& basis) const;

    const BlockMatrix<T>& m_A;
    const std::vector<T> m_compliances;
};

/// Another rule, except that certain trailing blocks are never early.
class ExceptRule : public EarlyRule {
public:
    /// @param excepted  per block, whether it must not be early
    ExceptRule(const EarlyRule& rule, const std::vector<unsigned char>& excepted)
        : m_rule(rule), m_excepted(excepted)
    {
    }

    bool accepts(unsigned int body, const std::vector<unsigned int>& taken,
                 unsigned int t) const override
    {
        return !m_excepted[t] && m_rule.accepts(body, taken, t);
    }

private:
    const EarlyRule& m_rule;
    const std::vector<unsigned char>& m_excepted;
};

} // namespace client
} // namespace kyrOrvel

#endif
