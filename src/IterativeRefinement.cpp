#include <kyrOrvel/Orvel>

#include "detail/ExactArithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

namespace kyrOrvel {

namespace {

/// r = b - r; returns the Euclidean norm of the result.
double subtractFrom(const double* b, double* r, std::size_t N)
{
    double sum = 0;
    for (std::size_t i = 0; i < N; ++i) {
        r[i] = b[i] - r[i];
        sum += r[i] * r[i];
    }
    return std::sqrt(sum);
}

} // namespace

void Orvel::iterativeRefinement(OrvelData<double>& data, const double* b, double* x,
                                int maxIterations)
{
    SparseMatrix<double>& A = data.matrix;
    const std::size_t N = A.numBlockRows == 0 ? 0 : A.blockSizes[A.numBlockRows];
    const std::unique_ptr<double[]> residual(new double[N]);
    const std::unique_ptr<double[]> saved(new double[N]);
    std::copy_n(x, N, saved.get());

    double previous = 1e9;
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        A.multiply(x, residual.get());
        const double current = subtractFrom(b, residual.get(), N);
        if (current > previous) {
            std::copy_n(saved.get(), N, x);
            return;
        }
        solve(data, residual.get());
        for (std::size_t i = 0; i < N; ++i)
            x[i] += residual[i];
        previous = current;
    }
}

} // namespace kyrOrvel
