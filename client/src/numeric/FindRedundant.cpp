#include "../OutOfMemory.h"
#include "MatrixPattern.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace kyrOrvel {
namespace client {

namespace {

/// A copy in which every trailing block that couples to an ordinary one has a diagonal block, so
/// that one can be given to it without another analysis. To the others it would seem to give pivots
/// of their own.
template <class T> BlockMatrix<T> copyWithDiagonals(const BlockMatrix<T>& A)
{
    BlockMatrix<T> copy(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        for (const auto& entry : A.row(r))
            std::copy_n(entry.values, std::size_t(A.blockSize(r)) * A.blockSize(entry.column),
                        copy.block(r, entry.column));
        if (r >= A.firstTrailing() && !A.row(r).empty() &&
            A.row(r).front().column < A.firstTrailing())
            copy.block(r, r);
        if (A.hasIds())
            copy.setId(r, A.id(r));
    }
    return copy;
}

/// Decouples a block from all others and gives it pivots of its own.
template <class T> void takeOut(BlockMatrix<T>& A, unsigned int block)
{
    const std::size_t m = A.blockSize(block);
    for (unsigned int r = block; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            if (r == block || entry.column == block)
                std::fill_n(entry.values, std::size_t(A.blockSize(r)) * A.blockSize(entry.column),
                            T(0));
    for (std::size_t i = 0; i < m; ++i)
        A.block(block, block)[i * m + i] = -1;
}

} // namespace

template <class T> std::vector<Status> findRedundant(const BlockMatrix<T>& A)
{
    std::vector<Status> found;
    found.reserve(1); // for the status that tells of memory running out
    Status last = guardMemory([&]() -> Status {
        BlockMatrix<T> rest = copyWithDiagonals(A);
        BlockLDLT<T> solver;
        if (!MatrixPattern(A).signsAreKnown()) // of the copy they might seem to be
            solver.setSigns(Signs::Any);
        while (solver.compute(rest).code == StatusCode::Singular &&
               solver.info().block >= A.firstTrailing() && solver.info().block < A.numBlockRows()) {
            found.reserve(found.size() + 2); // this one, and how it ends
            found.push_back(solver.info());
            takeOut(rest, solver.info().block);
        }
        return solver.info();
    });
    if (!last.ok())
        found.push_back(std::move(last));
    return found;
}

template std::vector<Status> findRedundant(const BlockMatrix<float>&);
template std::vector<Status> findRedundant(const BlockMatrix<double>&);

} // namespace client
} // namespace kyrOrvel
