#ifndef KYRORVEL_CLIENT_FOUR_SUMS_H
#define KYRORVEL_CLIENT_FOUR_SUMS_H

#include <cmath>
#include <cstddef>

namespace kyrOrvel {
namespace client {

/// Four running sums, so that they do not wait for each other: sums over small blocks take a third
/// of the time. The same order, and so the same bits, on every processor.
template <class T> class FourSums {
public:
    void clear() { *this = FourSums(); }

    /// Adds |v(q)²·d(q)| for n scalars.
    void addWeightedSquares(const T* v, const T* d, std::size_t n)
    {
        std::size_t q = 0;
        for (; q + 4 <= n; q += 4)
            for (std::size_t lane = 0; lane < 4; ++lane)
                addWeightedSquare(lane, v[q + lane], d[q + lane]);
        for (; q < n; ++q)
            addWeightedSquare(q % 4, v[q], d[q]);
    }

    /// As addWeightedSquares for weights of which none is negative, and a number of scalars that
    /// the compiler knows.
    template <std::size_t N> void addSquares(const T* v, const T* w)
    {
        for (std::size_t q = 0; q < N; ++q)
            addSquare(q % 4, v[q], w[q]);
    }
    void addSquares(const T* v, const T* w, std::size_t n)
    {
        std::size_t q = 0;
        for (; q + 4 <= n; q += 4)
            addSquares<4>(v + q, w + q);
        for (; q < n; ++q)
            addSquare(q % 4, v[q], w[q]);
    }

    /// Adds the q-th of some scalars times zero: the total stays zero as long as all are finite.
    void addTimesZero(std::size_t q, T v) { m_lanes[q % 4] += v * T(0); }

    T total() const { return (m_lanes[0] + m_lanes[2]) + (m_lanes[1] + m_lanes[3]); }

private:
    void addWeightedSquare(std::size_t lane, T v, T d) { m_lanes[lane] += std::abs(v * (v * d)); }

    void addSquare(std::size_t lane, T v, T w) { m_lanes[lane] += v * (v * w); }

    T m_lanes[4] = {};
};

} // namespace client
} // namespace kyrOrvel

#endif
