#ifndef KYRORVEL_DETAIL_BLOCK_VECTOR_OPS_H
#define KYRORVEL_DETAIL_BLOCK_VECTOR_OPS_H

#include "ExactArithmetic.h"

#include <kyrOrvel/DenseKernels>

#include <cstddef>

namespace kyrOrvel {
namespace detail {

/// Block-times-vector steps of the products and the solves, on blocks stored without gaps. B is
/// m × n; L and S are m × m. The orders are those of the kernels of the same meaning.
///
/// Double carries the loops inline, so that its solve makes no call per block; float goes through
/// the exported kernels.
template <class T> struct BlockVectorOps;

template <> struct BlockVectorOps<double> {
    /// y += B·x
    static void addAx(const double* B, const double* x, double* y, std::size_t m, std::size_t n)
    {
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < n; ++j)
                y[i] += B[i * n + j] * x[j];
    }

    /// y += Bᵀ·x
    static void addAtx(const double* B, const double* x, double* y, std::size_t m, std::size_t n)
    {
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < n; ++j)
                y[j] += B[i * n + j] * x[i];
    }

    /// y += S·x, S symmetric in its lower triangle
    static void addSymmetricAx(const double* S, const double* x, double* y, std::size_t m)
    {
        for (std::size_t i = 0; i < m; ++i) {
            y[i] += S[i * m + i] * x[i];
            for (std::size_t j = 0; j < i; ++j) {
                y[i] += S[i * m + j] * x[j];
                y[j] += S[i * m + j] * x[i];
            }
        }
    }

    /// y -= B·x
    static void subtractAx(const double* B, const double* x, double* y, std::size_t m,
                           std::size_t n)
    {
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < n; ++j)
                y[i] -= B[i * n + j] * x[j];
    }

    /// y -= Bᵀ·x
    static void subtractAtx(const double* B, const double* x, double* y, std::size_t m,
                            std::size_t n)
    {
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < n; ++j)
                y[j] -= B[i * n + j] * x[i];
    }

    /// x := L⁻¹·x, L unit lower triangular
    static void solveUnitLower(const double* L, double* x, std::size_t m)
    {
        for (std::size_t i = 1; i < m; ++i)
            for (std::size_t j = 0; j < i; ++j)
                x[i] -= L[i * m + j] * x[j];
    }

    /// x := S⁻ᵀ·x, S lower triangular with its diagonal
    static void solveLowerTransposed(const double* S, double* x, std::size_t m)
    {
        for (std::size_t i = m; i-- > 0;) {
            x[i] = x[i] / S[i * m + i];
            for (std::size_t j = 0; j < i; ++j)
                x[j] -= x[i] * S[i * m + j];
        }
    }
};

template <> struct BlockVectorOps<float> {
    static void addAx(const float* B, const float* x, float* y, std::size_t m, std::size_t n)
    {
        orvel_MV_YP_AX(B, int(n), x, y, int(m), int(n));
    }
    static void addAtx(const float* B, const float* x, float* y, std::size_t m, std::size_t n)
    {
        orvel_MV_YP_AtX(B, int(n), x, y, int(m), int(n));
    }
    static void addSymmetricAx(const float* S, const float* x, float* y, std::size_t m)
    {
        orvel_MV_AX_SYL(S, int(m), x, y, int(m));
    }
    static void subtractAx(const float* B, const float* x, float* y, std::size_t m, std::size_t n)
    {
        orvel_MV_YM_AX(B, int(n), x, y, int(m), int(n));
    }
    static void subtractAtx(const float* B, const float* x, float* y, std::size_t m, std::size_t n)
    {
        orvel_MV_YM_AtX(B, int(n), x, y, int(m), int(n));
    }
    static void solveUnitLower(const float* L, float* x, std::size_t m)
    {
        orvel_SV_TRIL_UD(L, int(m), x, int(m));
    }
    static void solveLowerTransposed(const float* S, float* x, std::size_t m)
    {
        orvel_SV_TRILt(S, int(m), x, int(m));
    }
};

} // namespace detail
} // namespace kyrOrvel

#endif
