#include "EarlyRule.h"

#include <cmath>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

/// What a row has to keep of its squared length beside the other rows.
constexpr double kLeastShare = 0.01;

/// The lower Cholesky factor of a row-major m × m block, of which the lower triangle counts; empty
/// if it is not positive definite.
template <class T> std::vector<double> choleskyOf(const T* block, std::size_t m)
{
    if (!block)
        return {};
    std::vector<double> L(m * m, 0);
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = double(block[i * m + j]);
            for (std::size_t p = 0; p < j; ++p)
                sum -= L[i * m + p] * L[j * m + p];
            if (i == j && !(sum > 0))
                return {};
            L[i * m + j] = i == j ? std::sqrt(sum) : sum / L[j * m + j];
        }
    return L;
}

double dot(const double* x, const double* y, std::size_t n)
{
    double sum = 0;
    for (std::size_t i = 0; i < n; ++i)
        sum += x[i] * y[i];
    return sum;
}

} // namespace

bool CountRule::accepts(unsigned int body, const std::vector<unsigned int>& taken,
                        unsigned int t) const
{
    unsigned int rows = m_sizes[t];
    for (const unsigned int other : taken)
        rows += m_sizes[other];
    return taken.empty() ? rows <= m_sizes[body] : rows < m_sizes[body];
}

template <class T>
bool ValueRule<T>::accepts(unsigned int body, const std::vector<unsigned int>& taken,
                           unsigned int t) const
{
    const std::vector<double> cholesky = choleskyOf(m_A.find(body, body), m_A.blockSize(body));
    if (cholesky.empty())
        return false;
    std::vector<double> basis; // orthonormal rows
    for (const unsigned int other : taken)
        if (!addRows(body, other, cholesky, basis))
            return false;
    return addRows(body, t, cholesky, basis);
}

/// Adds the rows of t on the body, times the inverse mass' root, to an orthonormal basis (modified
/// Gram-Schmidt); false if one of them is close to those before it.
template <class T>
bool ValueRule<T>::addRows(unsigned int body, unsigned int t, const std::vector<double>& cholesky,
                           std::vector<double>& basis) const
{
    const std::size_t m = m_A.blockSize(body);
    const T* const block = m_A.find(t, body);
    if (!block)
        return m_A.blockSize(t) == 0;
    std::vector<double> row(m);
    for (unsigned int i = 0; i < m_A.blockSize(t); ++i) {
        for (std::size_t j = 0; j < m; ++j) {
            row[j] = double(block[i * m + j]);
            row[j] = (row[j] - dot(&cholesky[j * m], row.data(), j)) / cholesky[j * m + j];
        }
        const double before = dot(row.data(), row.data(), m);
        for (std::size_t b = 0; b < basis.size(); b += m) {
            const double share = dot(row.data(), &basis[b], m);
            for (std::size_t j = 0; j < m; ++j)
                row[j] -= share * basis[b + j];
        }
        const double after = dot(row.data(), row.data(), m);
        if (!(after > kLeastShare * before))
            return false;
        for (double& v : row)
            v /= std::sqrt(after);
        basis.insert(basis.end(), row.begin(), row.end());
    }
    return true;
}

template class ValueRule<float>;
template class ValueRule<double>;

} // namespace client
} // namespace kyrOrvel
