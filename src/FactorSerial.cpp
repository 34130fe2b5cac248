#include <kyrOrvel/Orvel>

#include "detail/BlockSteps.h"
#include "detail/FactorFast.h"
#include "detail/FactorStorage.h"
#include "detail/PivotBound.h"
#include "detail/SerialWork.h"

#include <kyrOrvel/DenseKernels>

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {

namespace {

/// Dense L·D·Lᵀ of the m × m block B in place: unit lower triangle, zeros above, pivots to d.
template <class T>
void factorDiagonal(T* B, T* d, const detail::PivotBound<T>& bound, std::size_t m)
{
    for (std::size_t q = 0; q < m; ++q) {
        d[q] = B[q * m + q];
        B[q * m + q] = T(1);
    }
    if (m > 0)
        bound.apply(d, 0);
    for (std::size_t i = 1; i < m; ++i) {
        T* b = B + i * m;
        for (std::size_t j = 0; j < i; ++j) {
            const T* bj = B + j * m;
            for (std::size_t t = 0; t < j; ++t)
                b[j] -= (b[t] * d[t]) * bj[t];
            b[j] = b[j] / d[j];
        }
        for (std::size_t t = 0; t < i; ++t)
            d[i] -= b[t] * (b[t] * d[t]);
        bound.apply(d, i);
    }
    for (std::size_t i = 0; i < m; ++i)
        std::fill(B + i * m + i + 1, B + (i + 1) * m, T(0));
}

/// Left-looking block factorization: block row r is finished from the rows before it.
template <class T> class SerialFactorization {
public:
    explicit SerialFactorization(OrvelData<T>& data)
        : m_data(data), m_A(data.matrix), m_L(data.factor), m_S(data.scaledFactor)
    {
    }

    void run()
    {
        prepareWork();
        detail::sizeFactors(m_data);
        loadInput();
        detail::sizePivots(m_data);
        for (unsigned int r = 0; r < m_L.numBlockRows; ++r) {
            for (unsigned int j = m_L.rowStart[r]; j < diagonalSlot(r); ++j)
                computeBlock(r, j);
            computeDiagonal(r);
        }
        for (unsigned int r = 0; r < m_L.numBlockRows; ++r)
            scaleDiagonal(r);
        m_data.factored = 1;
    }

private:
    unsigned int diagonalSlot(unsigned int r) const { return m_L.rowStart[r + 1] - 1; }
    std::size_t sizeOf(unsigned int r) const { return m_L.blockSizes[r]; }
    T* pivotsOf(unsigned int r) const { return m_data.pivots.data + m_L.blockOffsets[r]; }

    void prepareWork()
    {
        const std::size_t square = detail::largestSquare(m_A);
        m_scaledWork = detail::zeroedWork(m_data, square);
        m_blockWork = m_scaledWork + square;
    }

    /// factor holds the lower triangle of A on the factor's pattern, fill-in zero.
    void loadInput()
    {
        for (unsigned int r = 0; r < m_A.numBlockRows; ++r) {
            detail::InputCursor<T> input(m_A, r);
            detail::acquireFactorRow(m_data, r, [&](unsigned int c, T* block) {
                if (const T* values = input.take(c))
                    std::copy_n(values, sizeOf(r) * sizeOf(c), block);
            });
        }
    }

    /// L(r, c) = (A(r, c) - Σ over k < c of L(r, k)·D(k)·L(c, k)ᵀ) · L(c, c)⁻ᵀ · D(c)⁻¹
    void computeBlock(unsigned int r, unsigned int j)
    {
        const unsigned int c = m_L.blockColumns[j];
        const std::size_t m = sizeOf(r);
        const std::size_t p = sizeOf(c);
        std::copy_n(m_L.blockData[j], m * p, m_blockWork);
        detail::forEachCommonColumn(m_L, r, c, [&](unsigned int slotR, unsigned int slotC) {
            const int s = static_cast<int>(m_L.blockSizes[m_L.blockColumns[slotR]]);
            const T* S = scaledBlock(r, slotR);
            orvel_MM_CM_ABt(S, s, m_L.blockData[slotC], s, m_blockWork, int(p), int(m), int(p), s);
        });
        detail::substituteUnitLower(m_L.blockData[diagonalSlot(c)], m_blockWork, m, p);
        detail::divideColumns(m_blockWork, pivotsOf(c), m_L.blockData[j], m, p);
    }

    /// L(r, r) and D(r) from A(r, r) - Σ over c < r of L(r, c)·D(c)·L(r, c)ᵀ
    void computeDiagonal(unsigned int r)
    {
        const unsigned int g = diagonalSlot(r);
        const std::size_t m = sizeOf(r);
        std::copy_n(m_L.blockData[g], m * m, m_blockWork);
        for (unsigned int j = m_L.rowStart[r]; j < g; ++j) {
            const int p = static_cast<int>(m_L.blockSizes[m_L.blockColumns[j]]);
            const T* S = scaledBlock(r, j);
            orvel_MM_CM_ABt(m_L.blockData[j], p, S, p, m_blockWork, int(m), int(m), int(m), p);
        }
        factorDiagonal(m_blockWork, pivotsOf(r), detail::PivotBound<T>(m_data, m_L.blockOffsets[r]),
                       m);
        std::copy_n(m_blockWork, m * m, m_L.blockData[g]);
    }

    /// S = L(r, k)·D(k) of a finished slot of row r: computed at its first use, kept for later rows
    /// and for the solves.
    const T* scaledBlock(unsigned int r, unsigned int slot)
    {
        if (m_S.blockTags[slot])
            return m_S.blockData[slot];
        const unsigned int k = m_L.blockColumns[slot];
        const std::size_t m = sizeOf(r);
        const std::size_t s = sizeOf(k);
        detail::scaleColumns(m_L.blockData[slot], pivotsOf(k), m_scaledWork, m, s);
        std::copy_n(m_scaledWork, m * s, m_S.blockData[slot]);
        m_S.blockTags[slot] = 1;
        return m_scaledWork;
    }

    void scaleDiagonal(unsigned int r)
    {
        const unsigned int g = diagonalSlot(r);
        const std::size_t m = sizeOf(r);
        detail::scaleColumns(m_L.blockData[g], pivotsOf(r), m_S.blockData[g], m, m);
        m_S.blockTags[g] = 1;
    }

    OrvelData<T>& m_data;
    const SparseMatrix<T>& m_A;
    SparseMatrix<T>& m_L;
    SparseMatrix<T>& m_S;
    T* m_scaledWork = nullptr; ///< M² elements
    T* m_blockWork = nullptr;  ///< M² elements
};

} // namespace

template <class T> void Orvel::factorSerial(OrvelData<T>& data)
{
    factorParallel(data, 1);
}

template <class T> void Orvel::factorParallel(OrvelData<T>& data, unsigned int threads)
{
    data.factored = 0; // also if an allocation throws on the way
    data.hasPivotScales = 0;
    data.scaledIsProduct = 0;
    if (!detail::factorFast(data, threads))
        SerialFactorization<T>(data).run();
}

template void Orvel::factorSerial<float>(OrvelData<float>&);
template void Orvel::factorSerial<double>(OrvelData<double>&);
template void Orvel::factorParallel<float>(OrvelData<float>&, unsigned int);
template void Orvel::factorParallel<double>(OrvelData<double>&, unsigned int);

} // namespace kyrOrvel
