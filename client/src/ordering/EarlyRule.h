#ifndef KYRORVEL_CLIENT_EARLY_RULE_H
#define KYRORVEL_CLIENT_EARLY_RULE_H

#include <kyrOrvelClient/BlockMatrix>

#include <vector>

namespace kyrOrvel {
namespace client {

/// Decides which trailing blocks may be eliminated directly behind their first body.
class EarlyRule {
public:
    virtual ~EarlyRule() = default;

    /// Whether trailing block t, which has `body` as the first of its ordinary blocks, may follow
    /// it at once, after the trailing blocks `taken` that already do.
    virtual bool accepts(unsigned int body, const std::vector<unsigned int>& taken,
                         unsigned int t) const = 0;

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
template <class T> class ValueRule : public EarlyRule {
public:
    explicit ValueRule(const BlockMatrix<T>& A) : m_A(A) {}

    bool accepts(unsigned int body, const std::vector<unsigned int>& taken,
                 unsigned int t) const override;

private:
    bool addRows(unsigned int body, unsigned int t, const std::vector<double>& cholesky,
                 std::vector<double>& basis) const;

    const BlockMatrix<T>& m_A;
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
