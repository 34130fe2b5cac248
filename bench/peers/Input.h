#ifndef KYRORVEL_BENCH_INPUT_H
#define KYRORVEL_BENCH_INPUT_H

#include <kyrOrvelClient/BlockMatrix>

#include <string>
#include <vector>

namespace bench {

/// A scalar matrix: the lower triangle by columns, rows ascending, diagonal entries all there.
struct Columns {
    std::vector<int> start;
    std::vector<int> rows;
    std::vector<double> values;

    int dimension() const { return static_cast<int>(start.size()) - 1; }
};

/// A system, as blocks and as scalars.
struct Input {
    std::string name;
    kyrOrvel::client::BlockMatrix<double> matrix;
    std::vector<double> rightHandSide;
    Columns scalars;
    bool definite = false; ///< no trailing blocks: solvers for positive definite systems may try
};

/// Which entries the scalar matrix has.
enum class Entries {
    Nonzero, ///< what a careful user of a scalar solver stores
    All      ///< of all stored blocks: where any of them may become nonzero in a later step
};

/// Sets the scalars of an input from its blocks. Zero diagonals of trailing blocks, which solvers
/// without pivoting in an order of their own do not survive, become -compliance in both.
void complete(Input& input, Entries entries, double compliance);

/// |b - A·x| / |b|, Euclidean.
double relativeResidual(const Input& input, const std::vector<double>& x);

} // namespace bench

#endif
