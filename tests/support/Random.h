#ifndef KYRORVEL_TESTS_SUPPORT_RANDOM_H
#define KYRORVEL_TESTS_SUPPORT_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace support {

/// A seeded source of test data. Made of integer operations only, so that a seed means the same
/// data with every compiler. Put SCOPED_TRACE(random.seed()) where it is used.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_seed(seed), m_engine(seed) {}

    std::uint64_t seed() const { return m_seed; }

    /// Uniform in [low, high].
    unsigned int integer(unsigned int low, unsigned int high)
    {
        return low + static_cast<unsigned int>(m_engine() % (high - low + 1ull));
    }

    bool chance(double probability) { return unit() < probability; }

    /// Uniform in [0, 1).
    double unit() { return static_cast<double>(m_engine() >> 11) * 0x1p-53; }

    /// Uniform in [-1, 1).
    template <class T> T scalar() { return static_cast<T>(2 * unit() - 1); }

    /// Mostly scalar(), now and then a value that arithmetic finds hard: zeros of both signs,
    /// denormals, huge and tiny values, infinities, NaN.
    template <class T> T nastyScalar()
    {
        using Limits = std::numeric_limits<T>;
        static const T special[] = {T(0),
                                    -T(0),
                                    Limits::denorm_min(),
                                    -Limits::denorm_min(),
                                    Limits::min() / 2,
                                    Limits::min(),
                                    Limits::max(),
                                    -Limits::max(),
                                    Limits::infinity(),
                                    -Limits::infinity(),
                                    Limits::quiet_NaN(),
                                    Limits::epsilon(),
                                    T(1)};
        if (!chance(0.1))
            return scalar<T>();
        return special[integer(0, sizeof special / sizeof *special - 1)];
    }

    template <class T> std::vector<T> scalars(std::size_t n)
    {
        std::vector<T> v(n);
        for (T& x : v)
            x = scalar<T>();
        return v;
    }

    template <class T> std::vector<T> nastyScalars(std::size_t n)
    {
        std::vector<T> v(n);
        for (T& x : v)
            x = nastyScalar<T>();
        return v;
    }

private:
    std::uint64_t m_seed;
    std::mt19937_64 m_engine;
};

} // namespace support

#endif
