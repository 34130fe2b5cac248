#include "Input.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace bench {

namespace {

using kyrOrvel::client::BlockMatrix;

struct Entry {
    int column;
    int row;
    double value;
};

/// The same matrix with -compliance where a trailing block has zero on the diagonal.
BlockMatrix<double> withCompliance(const BlockMatrix<double>& A, double compliance)
{
    std::vector<unsigned int> sizes;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        sizes.push_back(A.blockSize(r));
    BlockMatrix<double> result(sizes, A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        const std::size_t m = sizes[r];
        if (r >= A.firstTrailing()) {
            double* const diagonal = result.block(r, r);
            for (std::size_t i = 0; i < m; ++i)
                diagonal[i * m + i] = -compliance;
        }
        for (const auto& entry : A.row(r)) {
            double* const to = result.block(r, entry.column);
            const std::size_t count = m * sizes[entry.column];
            for (std::size_t v = 0; v < count; ++v)
                if (entry.values[v] != 0)
                    to[v] = entry.values[v];
        }
    }
    return result;
}

} // namespace

void complete(Input& input, Entries entries, double compliance)
{
    if (input.matrix.firstTrailing() < input.matrix.numBlockRows())
        input.matrix = withCompliance(input.matrix, compliance);
    const BlockMatrix<double>& A = input.matrix;
    input.definite = A.firstTrailing() >= A.numBlockRows();
    std::vector<int> offset(std::size_t(A.numBlockRows()) + 1, 0);
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        offset[r + 1] = offset[r] + static_cast<int>(A.blockSize(r));

    std::vector<Entry> lower;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const auto m = static_cast<int>(A.blockSize(r));
            const auto n = static_cast<int>(A.blockSize(entry.column));
            for (int i = 0; i < m; ++i)
                for (int j = 0; j < (entry.column == r ? i + 1 : n); ++j) {
                    const double value = entry.values[i * n + j];
                    const int row = offset[r] + i;
                    const int column = offset[entry.column] + j;
                    if (value != 0 || row == column || entries == Entries::All)
                        lower.push_back({std::min(row, column), std::max(row, column), value});
                }
        }
    std::sort(lower.begin(), lower.end(), [](const Entry& a, const Entry& b) {
        return a.column != b.column ? a.column < b.column : a.row < b.row;
    });
    Columns& scalars = input.scalars;
    scalars = {};
    scalars.start.assign(std::size_t(offset.back()) + 1, 0);
    for (const Entry& entry : lower) {
        ++scalars.start[std::size_t(entry.column) + 1];
        scalars.rows.push_back(entry.row);
        scalars.values.push_back(entry.value);
    }
    std::partial_sum(scalars.start.begin(), scalars.start.end(), scalars.start.begin());
}

double relativeResidual(const Input& input, const std::vector<double>& x)
{
    std::vector<double> product(x.size());
    input.matrix.multiply(x.data(), product.data());
    double difference = 0;
    double size = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double d = input.rightHandSide[i] - product[i];
        difference += d * d;
        size += input.rightHandSide[i] * input.rightHandSide[i];
    }
    return std::sqrt(difference / (size > 0 ? size : 1));
}

} // namespace bench
