#include "EarlyRule.h"

#include "../NoiseShare.h"

#include <algorithm>
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

/// Solves with a Cholesky factor in place: row = L⁻¹·row.
void divideBy(const std::vector<double>& cholesky, std::vector<double>& row)
{
    const std::size_t m = row.size();
    for (std::size_t j = 0; j < m; ++j)
        row[j] = (row[j] - dot(&cholesky[j * m], row.data(), j)) / cholesky[j * m + j];
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
        std::copy_n(block + i * m, m, row.begin());
        divideBy(cholesky, row);
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

/// The Cholesky factor of block t's compliance; empty if it is not positive definite.
template <class T> std::vector<double> ValueRule<T>::complianceOf(unsigned int t) const
{
    const std::size_t m = m_A.blockSize(t);
    const T* const own = m_A.find(t, t);
    std::vector<double> C(m * m, 0);
    for (std::size_t i = 0; own && i < m * m; ++i)
        C[i] = -double(own[i]);
    for (std::size_t i = 0; !m_compliances.empty() && i < m; ++i)
        C[i * m + i] += double(m_compliances[t - m_A.firstTrailing()]);
    return choleskyOf(C.data(), m);
}

template <class T> bool ValueRule<T>::isSoft(unsigned int t) const
{
    const std::size_t rows = m_A.blockSize(t);
    if (rows == 0)
        return true;
    const std::vector<double> compliance = complianceOf(t);
    if (compliance.empty())
        return false;
    std::vector<double> inverseMass(rows, 0);
    for (const auto& entry : m_A.row(t)) {
        if (entry.column == t)
            continue;
        if (entry.column >= m_A.firstTrailing())
            return false;
        const std::size_t m = m_A.blockSize(entry.column);
        const std::vector<double> cholesky = choleskyOf(m_A.find(entry.column, entry.column), m);
        if (cholesky.empty() && m > 0)
            return false;
        std::vector<double> row(m);
        for (std::size_t i = 0; i < rows; ++i) {
            std::copy_n(entry.values + i * m, m, row.begin());
            divideBy(cholesky, row);
            inverseMass[i] += dot(row.data(), row.data(), m);
        }
    }
    for (std::size_t i = 0; i < rows; ++i) {
        const double least = compliance[i * rows + i] * compliance[i * rows + i];
        if (!(least > double(softShare<T>()) * (least + inverseMass[i])))
            return false;
    }
    return true;
}

template class ValueRule<float>;
template class ValueRule<double>;

} // namespace client
} // namespace kyrOrvel
