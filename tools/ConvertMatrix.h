#ifndef ORVEL_CONVERT_MATRIX_H
#define ORVEL_CONVERT_MATRIX_H

#include <kyrOrvelClient/BlockMatrix>

#include <cstddef>

namespace orvel {

/// A copy of a matrix, with values of type T.
template <class T>
kyrOrvel::client::BlockMatrix<T> convert(const kyrOrvel::client::BlockMatrix<double>& A)
{
    kyrOrvel::client::BlockMatrix<T> result(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            T* const to = result.block(r, entry.column);
            const std::size_t count = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            for (std::size_t v = 0; v < count; ++v)
                to[v] = static_cast<T>(entry.values[v]);
        }
    return result;
}

} // namespace orvel

#endif
