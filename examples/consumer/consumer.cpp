#include <kyrOrvel/DenseMatrix>
#include <kyrOrvelClient/BlockLDLT>

#include <cstdio>

int main()
{
    kyrOrvel::DenseMatrix<float> small(1);
    small.values[0] = 4;
    float y = 8;
    small.solve(&y);

    kyrOrvel::client::BlockMatrix<double> A({1, 1}, 1);
    *A.block(0, 0) = 2;
    *A.block(1, 0) = 1;
    kyrOrvel::client::BlockLDLT<double> solver;
    double x[] = {5, 1};
    const bool solved = solver.compute(A).ok() && solver.solve(x, x).ok();
    std::printf("%g %g %g\n", double(y), x[0], x[1]);
    return solved ? 0 : 1;
}
