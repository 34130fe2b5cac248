#include <kyrOrvelClient/Scenes>

#include "RandomNumbers.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

constexpr unsigned int kSize = 6;
/// Six couplings of entries up to 1 in absolute value leave every row diagonally dominant.
constexpr double kDiagonal = 6 * kSize + 1;

void fillCoupling(RandomNumbers& random, double* block)
{
    for (unsigned int e = 0; e < kSize * kSize; ++e)
        block[e] = random.next();
}

} // namespace

Scene makeLattice(unsigned int size)
{
    size = std::max(size, 1u);
    const unsigned int n = size * size * size;
    Scene scene{BlockMatrix<double>(std::vector<unsigned int>(n, kSize)), {}, {}, {}};
    RandomNumbers random;
    for (unsigned int r = 0; r < n; ++r) {
        double* const diagonal = scene.matrix.block(r, r);
        for (unsigned int i = 0; i < kSize; ++i)
            diagonal[i * kSize + i] = kDiagonal;
        if (r % size != 0)
            fillCoupling(random, scene.matrix.block(r, r - 1));
        if (r / size % size != 0)
            fillCoupling(random, scene.matrix.block(r, r - size));
        if (r / (size * size) != 0)
            fillCoupling(random, scene.matrix.block(r, r - size * size));
    }
    for (std::size_t i = 0; i < scene.matrix.dimension(); ++i)
        scene.rightHandSide.push_back(random.next());
    return scene;
}

} // namespace client
} // namespace kyrOrvel
