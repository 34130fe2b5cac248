#include <kyrOrvelClient/Scenes>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kEdge = 1;          // m
constexpr double kModulus = 1e6;     // Pa, Young's, of rubber
constexpr double kPoisson = 0.3;     // its lateral contraction
constexpr double kDensity = 1000;    // kg/m³
constexpr double kGravity = 9.81;    // m/s²
constexpr unsigned int kCorners = 8; // of a hexahedron; bits 0, 1 and 2 say where along x, y and z

/// The 3 × 3 blocks of an element's stiffness.
using Stiffness = std::array<std::array<std::array<double, 9>, kCorners>, kCorners>;

/// Gradients of the trilinear shape functions, each 1 at its corner, at a point of [-1, 1]³.
std::array<std::array<double, 3>, kCorners> shapeGradients(const std::array<double, 3>& point)
{
    std::array<std::array<double, 3>, kCorners> gradients{};
    for (unsigned int a = 0; a < kCorners; ++a) {
        double sign[3];
        double factor[3];
        for (unsigned int i = 0; i < 3; ++i) {
            sign[i] = (a >> i & 1) != 0 ? 1 : -1;
            factor[i] = (1 + sign[i] * point[i]) / 2;
        }
        for (unsigned int i = 0; i < 3; ++i)
            gradients[a][i] = sign[i] / 2 * factor[(i + 1) % 3] * factor[(i + 2) % 3];
    }
    return gradients;
}

/// The stiffness of a cube: block (a, b) is the integral of
/// λ·∇N(a)·∇N(b)ᵀ + μ·∇N(b)·∇N(a)ᵀ + μ·(∇N(a)ᵀ·∇N(b))·1, by 2 × 2 × 2 Gauss points.
Stiffness cubeStiffness(double edge)
{
    const double lambda = kModulus * kPoisson / ((1 + kPoisson) * (1 - 2 * kPoisson));
    const double mu = kModulus / (2 * (1 + kPoisson));
    const double weight = edge / 2; // (edge/2)³ of volume, (2/edge)² of the gradients
    const double place = 1 / std::sqrt(3.0);
    Stiffness K{};
    for (unsigned int g = 0; g < kCorners; ++g) {
        std::array<double, 3> point{};
        for (unsigned int i = 0; i < 3; ++i)
            point[i] = (g >> i & 1) != 0 ? place : -place;
        const auto d = shapeGradients(point);
        for (unsigned int a = 0; a < kCorners; ++a)
            for (unsigned int b = 0; b < kCorners; ++b) {
                const double product = d[a][0] * d[b][0] + d[a][1] * d[b][1] + d[a][2] * d[b][2];
                for (unsigned int i = 0; i < 3; ++i)
                    for (unsigned int j = 0; j < 3; ++j)
                        K[a][b][3 * i + j] +=
                            weight * (lambda * (d[a][i] * d[b][j]) + mu * (d[a][j] * d[b][i]) +
                                      (i == j ? mu * product : 0));
            }
    }
    return K;
}

/// Adds one element, given its corners' nodes; a corner on the wall has none.
void addElement(Scene& scene, const std::array<unsigned int, kCorners>& nodes, const Stiffness& K,
                double load)
{
    for (unsigned int a = 0; a < kCorners; ++a) {
        if (nodes[a] == kNone)
            continue;
        scene.rightHandSide[scene.matrix.blockOffset(nodes[a]) + 1] -= load;
        // Nodes ascend with the corners.
        for (unsigned int b = 0; b <= a; ++b) {
            if (nodes[b] == kNone)
                continue;
            double* const block = scene.matrix.block(nodes[a], nodes[b]);
            for (unsigned int e = 0; e < 9; ++e)
                block[e] += K[a][b][e];
        }
    }
}

} // namespace

/// Element (x, y, z) lies between the layers x - 1 and x of nodes, the first one between the wall
/// and layer 0.
Scene makeElasticity(unsigned int size)
{
    size = std::max(size, 2u);
    const unsigned int n = size * size * size;
    const double edge = kEdge / size;
    const Stiffness K = cubeStiffness(edge);
    const double load = kDensity * (edge * edge * edge) * kGravity / kCorners;
    Scene scene{BlockMatrix<double>(std::vector<unsigned int>(n, 3)), {}, {}, {}};
    scene.rightHandSide.resize(scene.matrix.dimension());
    for (unsigned int z = 0; z + 1 < size; ++z)
        for (unsigned int y = 0; y + 1 < size; ++y)
            for (unsigned int x = 0; x < size; ++x) {
                std::array<unsigned int, kCorners> nodes{};
                for (unsigned int a = 0; a < kCorners; ++a) {
                    const unsigned int right = x + (a & 1); // 0 on the wall, else layer + 1
                    const unsigned int line = (z + (a >> 2)) * size + y + (a >> 1 & 1);
                    nodes[a] = right == 0 ? kNone : line * size + right - 1;
                }
                addElement(scene, nodes, K, load);
            }
    return scene;
}

} // namespace client
} // namespace kyrOrvel
