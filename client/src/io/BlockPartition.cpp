#include <kyrOrvelClient/MatrixFiles>

#include "../CountedText.h"
#include "../OutOfMemory.h"
#include "ParseText.h"
#include "TextFile.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace kyrOrvel {
namespace client {

namespace {

constexpr unsigned int kLargestFoundBlock = 64;
constexpr unsigned long kMaxBlocks = 0x7FFFFFFE;

/// A keyword, then a number from `low` to `high`.
Status takeCountAfter(TextScanner& in, const std::string& keyword, const char* what,
                      unsigned long low, unsigned long high, unsigned long& value)
{
    in.skipToWord();
    if (in.takeWord() != keyword)
        return in.error("'" + keyword +
                        "' is missing: the file should begin with 'blocks N firstTrailing F'");
    in.skipToWord();
    return in.takeCount(what, low, high, value);
}

Status readBlockSizes(TextScanner& in, unsigned long count, unsigned int dimension,
                      std::vector<unsigned int>& sizes)
{
    unsigned long total = 0;
    for (unsigned long b = 0; b < count; ++b) {
        if (!in.skipToWord())
            return in.error("the file ends after " + std::to_string(b) + " of " +
                            countedText(count, "block size", "block sizes"));
        unsigned long size = 0;
        Status status = in.takeCount("block size", 0, dimension, size);
        if (!status.ok())
            return status;
        total += size;
        sizes.push_back(static_cast<unsigned int>(size));
    }
    if (in.skipToWord())
        return in.error("there is more after the " +
                        countedText(count, "block size", "block sizes"));
    if (total != dimension)
        return in.error("the block sizes add up to " + std::to_string(total) +
                        ", but the matrix has " + countedText(dimension, "row", "rows"));
    return {};
}

/// Neighbours of every row, the row itself left out, sorted.
std::vector<std::vector<unsigned int>> adjacency(const ScalarMatrix& matrix)
{
    std::vector<std::vector<unsigned int>> neighbours(matrix.dimension);
    for (const ScalarMatrix::Entry& e : matrix.entries) {
        if (e.row != e.column) {
            neighbours[e.row].push_back(e.column);
            neighbours[e.column].push_back(e.row);
        }
    }
    for (auto& list : neighbours)
        std::sort(list.begin(), list.end());
    return neighbours;
}

std::vector<unsigned char> rowsWithDiagonal(const ScalarMatrix& matrix)
{
    std::vector<unsigned char> result(matrix.dimension, 0);
    for (const ScalarMatrix::Entry& e : matrix.entries)
        if (e.row == e.column && e.value != 0)
            result[e.row] = 1;
    return result;
}

/// Whether two rows couple to the same rows, themselves left out.
bool sameNeighbours(const std::vector<unsigned int>& a, unsigned int rowA,
                    const std::vector<unsigned int>& b, unsigned int rowB)
{
    auto i = a.begin();
    auto j = b.begin();
    for (;;) {
        while (i != a.end() && *i == rowB)
            ++i;
        while (j != b.end() && *j == rowA)
            ++j;
        if (i == a.end() || j == b.end())
            return i == a.end() && j == b.end();
        if (*i++ != *j++)
            return false;
    }
}

} // namespace

Status parseBlocks(const std::string& path, std::string_view text, unsigned int dimension,
                   BlockPartition& partition)
{
    TextScanner in(path, text);
    unsigned long count = 0;
    unsigned long firstTrailing = 0;
    Status status = takeCountAfter(in, "blocks", "number of blocks", 1, kMaxBlocks, count);
    if (status.ok())
        status =
            takeCountAfter(in, "firstTrailing", "first trailing block", 0, count, firstTrailing);
    BlockPartition result;
    if (status.ok())
        status = readBlockSizes(in, count, dimension, result.sizes);
    if (!status.ok())
        return status;
    result.firstTrailing = static_cast<unsigned int>(firstTrailing);
    result.rows.resize(dimension);
    std::iota(result.rows.begin(), result.rows.end(), 0u);
    partition = std::move(result);
    return {};
}

Status readBlocks(const std::string& path, unsigned int dimension, BlockPartition& partition)
{
    return guardMemory([&] {
        std::string text;
        Status status = readTextFile(path, text);
        return status.ok() ? parseBlocks(path, text, dimension, partition) : status;
    });
}

BlockPartition findBlocks(const ScalarMatrix& matrix)
{
    const std::vector<unsigned char> hasDiagonal = rowsWithDiagonal(matrix);
    const auto neighbours = adjacency(matrix);
    BlockPartition result;
    for (const bool ordinary : {true, false})
        for (unsigned int r = 0; r < matrix.dimension; ++r)
            if ((hasDiagonal[r] != 0) == ordinary)
                result.rows.push_back(r);
    const auto numOrdinary =
        static_cast<std::size_t>(std::count(hasDiagonal.begin(), hasDiagonal.end(), 1));

    for (std::size_t i = 0; i < result.rows.size(); ++i) {
        const unsigned int r = result.rows[i];
        const bool ordinary = i < numOrdinary;
        bool joins = i > 0 && i != numOrdinary && result.sizes.back() < kLargestFoundBlock;
        if (joins) {
            const unsigned int head = result.rows[i - result.sizes.back()];
            const bool coupled =
                std::binary_search(neighbours[r].begin(), neighbours[r].end(), head);
            // Uncoupled ordinary rows stay apart: a block of them would be mostly zeros.
            joins = (coupled || (!ordinary && !neighbours[r].empty())) &&
                    sameNeighbours(neighbours[r], r, neighbours[head], head);
        }
        if (joins) {
            ++result.sizes.back();
        } else {
            if (i == numOrdinary)
                result.firstTrailing = static_cast<unsigned int>(result.sizes.size());
            result.sizes.push_back(1);
        }
    }
    if (numOrdinary == result.rows.size())
        result.firstTrailing = static_cast<unsigned int>(result.sizes.size());
    return result;
}

BlockMatrix<double> toBlockMatrix(const ScalarMatrix& matrix, const BlockPartition& partition)
{
    BlockMatrix<double> A(partition.sizes, partition.firstTrailing);
    std::vector<unsigned int> place(matrix.dimension); // file row -> row in block order
    std::vector<unsigned int> blockOf(matrix.dimension);
    for (unsigned int i = 0; i < matrix.dimension; ++i)
        place[partition.rows[i]] = i;
    for (unsigned int b = 0; b < A.numBlockRows(); ++b)
        std::fill_n(blockOf.begin() + static_cast<std::ptrdiff_t>(A.blockOffset(b)), A.blockSize(b),
                    b);
    // Zeros on the diagonal of a trailing block make no block, but keep their sign in one that is
    // there.
    for (const bool zeros : {false, true})
        for (const ScalarMatrix::Entry& e : matrix.entries) {
            const unsigned int i = std::max(place[e.row], place[e.column]);
            const unsigned int j = std::min(place[e.row], place[e.column]);
            const unsigned int r = blockOf[i];
            const unsigned int c = blockOf[j];
            const bool zero = e.value == 0 && r == c && r >= A.firstTrailing();
            if (zero != zeros || (zero && !A.find(r, c)))
                continue;
            A.block(r, c)[(i - A.blockOffset(r)) * A.blockSize(c) + (j - A.blockOffset(c))] =
                e.value;
        }
    return A;
}

} // namespace client
} // namespace kyrOrvel
