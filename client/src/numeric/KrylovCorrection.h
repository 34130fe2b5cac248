#ifndef KYRORVEL_CLIENT_KRYLOV_CORRECTION_H
#define KYRORVEL_CLIENT_KRYLOV_CORRECTION_H

#include <cmath>
#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Flexible GMRES (Saad 1993 SIAM J. Sci. Comput. 14(2) 461-469) with an approximate inverse: the
/// correction z for which |r - A·z| is smallest among the combinations of what the inverse makes of
/// r, of A times that, and so on. It converges where plain residual correction does not, as long as
/// the approximate inverse is wrong in few directions only.
class KrylovCorrection {
public:
    /// Makes room for `steps` directions of that dimension.
    void reserve(std::size_t dimension, std::size_t steps)
    {
        m_steps = steps;
        m_basis.resize(steps + 1);
        m_directions.resize(steps);
        for (auto* vectors : {&m_basis, &m_directions})
            for (std::vector<double>& vector : *vectors)
                vector.resize(dimension);
        m_H.resize((steps + 1) * steps);
        m_cosine.resize(steps);
        m_sine.resize(steps);
        m_rest.resize(steps + 1);
    }

    /// Adds the correction for `residual`, of 2-norm `norm` above 0, to x.
    ///
    /// @param invert    invert(v, z): z = M⁻¹·v, about A⁻¹·v; false ends the search
    /// @param multiply  multiply(z, w): w = A·z
    /// @param target    the 2-norm of the residual at which to end the search
    template <class Invert, class Multiply>
    void run(const std::vector<double>& residual, double norm, double target, Invert invert,
             Multiply multiply, std::vector<double>& x)
    {
        for (std::size_t i = 0; i < residual.size(); ++i)
            m_basis[0][i] = residual[i] / norm;
        m_rest.assign(m_rest.size(), 0);
        m_rest[0] = norm;
        std::size_t done = 0;
        while (done < m_steps && std::abs(m_rest[done]) > target) {
            if (!invert(m_basis[done], m_directions[done]))
                break;
            multiply(m_directions[done], m_basis[done + 1]);
            const bool more = orthogonalize(done);
            rotate(done);
            ++done;
            if (!more)
                break;
        }
        combine(done, x);
    }

private:
    double& H(std::size_t i, std::size_t j) { return m_H[i * m_steps + j]; }

    /// Makes the new basis vector orthogonal to those before it (modified Gram-Schmidt); false if
    /// nothing is left of it.
    bool orthogonalize(std::size_t j)
    {
        std::vector<double>& w = m_basis[j + 1];
        for (std::size_t i = 0; i <= j; ++i) {
            double product = 0;
            for (std::size_t k = 0; k < w.size(); ++k)
                product += m_basis[i][k] * w[k];
            H(i, j) = product;
            for (std::size_t k = 0; k < w.size(); ++k)
                w[k] -= product * m_basis[i][k];
        }
        double square = 0;
        for (const double v : w)
            square += v * v;
        const double norm = std::sqrt(square);
        H(j + 1, j) = norm;
        if (!(norm > 0) || !std::isfinite(norm))
            return false;
        for (double& v : w)
            v /= norm;
        return true;
    }

    /// Brings column j of H to triangular form, and the residual with it.
    void rotate(std::size_t j)
    {
        for (std::size_t i = 0; i < j; ++i) {
            const double above = H(i, j);
            H(i, j) = m_cosine[i] * above + m_sine[i] * H(i + 1, j);
            H(i + 1, j) = m_cosine[i] * H(i + 1, j) - m_sine[i] * above;
        }
        const double length = std::hypot(H(j, j), H(j + 1, j));
        m_cosine[j] = length > 0 ? H(j, j) / length : 1;
        m_sine[j] = length > 0 ? H(j + 1, j) / length : 0;
        H(j, j) = length;
        m_rest[j + 1] = -m_sine[j] * m_rest[j];
        m_rest[j] *= m_cosine[j];
    }

    /// x += Z·y with H·y = rest.
    void combine(std::size_t n, std::vector<double>& x)
    {
        for (std::size_t i = n; i-- > 0;) {
            double y = m_rest[i];
            for (std::size_t j = i + 1; j < n; ++j)
                y -= H(i, j) * m_rest[j];
            m_rest[i] = H(i, i) != 0 ? y / H(i, i) : 0;
        }
        for (std::size_t j = 0; j < n; ++j)
            for (std::size_t k = 0; k < x.size(); ++k)
                x[k] += m_rest[j] * m_directions[j][k];
    }

    std::size_t m_steps = 0;
    std::vector<std::vector<double>> m_basis;      ///< orthonormal
    std::vector<std::vector<double>> m_directions; ///< what the inverse made of them
    std::vector<double> m_H;
    std::vector<double> m_cosine;
    std::vector<double> m_sine;
    std::vector<double> m_rest; ///< of the residual, in the basis
};

} // namespace client
} // namespace kyrOrvel

#endif
