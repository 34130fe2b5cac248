// A system that a program already has as one of Eigen's sparse matrices: a hanging chain of point
// masses, solved frame after frame in the place of Eigen::SimplicialLDLT. The rods have no
// compliance, so their rows have a zero diagonal; they are recognised, wherever they stand.

#include <kyrOrvelClient/EigenSupport>

#include <Eigen/SparseCore>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kMasses = 6;
constexpr double kStep = 1.0 / 64, kLength = 0.5, kGravity = -10;

// Mass i has rows 3i and 3i + 1, the rod above it row 3i + 2. Only the lower triangle is stored.
Eigen::SparseMatrix<double> assemble(const Eigen::Matrix2Xd& direction)
{
    std::vector<Eigen::Triplet<double>> entries;
    for (int i = 0; i < kMasses; ++i) {
        const int row = 3 * i;
        const double mass = 1 + i;
        entries.emplace_back(row, row, mass);
        entries.emplace_back(row + 1, row + 1, mass);
        for (int k = 0; k < 2; ++k) {
            entries.emplace_back(row + 2, row + k, direction(k, i));
            if (i > 0)
                entries.emplace_back(row + 2, row - 3 + k, -direction(k, i));
        }
    }
    Eigen::SparseMatrix<double> A(3 * kMasses, 3 * kMasses);
    A.setFromTriplets(entries.begin(), entries.end());
    return A;
}

} // namespace

int main()
{
    Eigen::Matrix2Xd position(2, kMasses), velocity(2, kMasses), direction(2, kMasses);
    for (int i = 0; i < kMasses; ++i)
        position.col(i) << kLength * (i + 1), 0;
    velocity.setZero();

    kyrOrvel::client::EigenLDLT<Eigen::SparseMatrix<double>> solver;
    for (int frame = 0; frame < 64; ++frame) {
        Eigen::VectorXd b(3 * kMasses);
        for (int i = 0; i < kMasses; ++i) {
            const Eigen::Vector2d above =
                i > 0 ? position.col(i - 1).eval() : Eigen::Vector2d(0, 0);
            const Eigen::Vector2d rod = position.col(i) - above;
            direction.col(i) = rod / rod.norm();
            const Eigen::Vector2d free = velocity.col(i) + kStep * Eigen::Vector2d(0, kGravity);
            b.segment<2>(3 * i) = (1 + i) * free;
            b[3 * i + 2] = (kLength - rod.norm()) / kStep;
        }

        const Eigen::SparseMatrix<double> A = assemble(direction);
        if (frame == 0)
            solver.analyzePattern(A);
        solver.factorize(A);
        if (solver.info() != Eigen::Success) {
            std::printf("%s\n", solver.lastErrorMessage().c_str());
            return 1;
        }
        const Eigen::VectorXd x = solver.solve(b);

        for (int i = 0; i < kMasses; ++i)
            velocity.col(i) = x.segment<2>(3 * i);
        position += kStep * velocity;
        if (frame % 16 == 15)
            std::printf("frame %2d: the end is at (%6.3f, %6.3f), the first rod pulls with %6.1f\n",
                        frame + 1, position(0, kMasses - 1), position(1, kMasses - 1),
                        x[2] / kStep);
    }

    // What is behind it: blocks found by structure, and an order of elimination that minds the
    // rods.
    const auto& blocks = solver.blocks();
    std::printf("%u blocks, %u of them rods\n", blocks.numBlockRows(),
                blocks.numBlockRows() - blocks.firstTrailing());

    // A rod of length zero says nothing: its row is named.
    direction.col(3).setZero();
    solver.compute(assemble(direction));
    std::printf("%s\n", solver.lastErrorMessage().c_str());
    return solver.info() == Eigen::NumericalIssue ? 0 : 1;
}
