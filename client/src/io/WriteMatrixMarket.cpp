#include <kyrOrvelClient/MatrixFiles>

#include "../OutOfMemory.h"
#include "WholeFile.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

constexpr int kDigits = 17; ///< enough to tell any two doubles apart
constexpr unsigned int kSizesInALine = 16;
constexpr std::size_t kMaxDimension = 0x7FFFFFFE; ///< that the reader takes

Status cannotWrite(const std::string& path, const std::string& why, unsigned int block = kNone)
{
    return {StatusCode::InvalidInput, path + ": not written: " + why, block, kNone};
}

/// Blocks without any stored block in their row or column.
std::vector<unsigned char> emptyBlocks(const BlockMatrix<double>& A)
{
    std::vector<unsigned char> empty(A.numBlockRows(), 1);
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            empty[r] = empty[entry.column] = 0;
    return empty;
}

/// Collects the lines of entries, and counts them.
class EntryText {
public:
    void add(std::size_t row, std::size_t column, double value)
    {
        char number[32];
        const auto end = std::to_chars(number, number + sizeof number, value,
                                       std::chars_format::general, kDigits);
        m_text += std::to_string(row + 1) + ' ' + std::to_string(column + 1) + ' ';
        m_text.append(number, end.ptr) += '\n';
        ++m_count;
    }
    std::size_t count() const { return m_count; }
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
    std::size_t m_count = 0;
};

/// Block row r, scalar row by scalar row. False at a value that is not finite.
bool addRow(const BlockMatrix<double>& A, unsigned int r, EntryText& out)
{
    for (std::size_t i = 0; i < A.blockSize(r); ++i)
        for (const auto& entry : A.row(r)) {
            const unsigned int c = entry.column;
            const std::size_t n = c == r ? i + 1 : A.blockSize(c);
            for (std::size_t j = 0; j < n; ++j) {
                const double value = entry.values[i * A.blockSize(c) + j];
                if (!std::isfinite(value))
                    return false;
                out.add(A.blockOffset(r) + i, A.blockOffset(c) + j, value);
            }
        }
    return true;
}

Status matrixText(const std::string& path, const BlockMatrix<double>& A, std::string& text)
{
    if (A.dimension() == 0 || A.dimension() > kMaxDimension)
        return cannotWrite(path, "a matrix of " + std::to_string(A.dimension()) +
                                     " rows is outside the range of 1 to " +
                                     std::to_string(kMaxDimension));
    const std::vector<unsigned char> empty = emptyBlocks(A);
    EntryText entries;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        if (!addRow(A, r, entries))
            return cannotWrite(
                path,
                "block row " + std::to_string(r) +
                    " holds an infinity or NaN, which Matrix Market files have no words for",
                r);
        for (std::size_t i = 0; empty[r] && i < A.blockSize(r); ++i)
            entries.add(A.blockOffset(r) + i, A.blockOffset(r) + i, 0);
    }
    const std::string n = std::to_string(A.dimension());
    text = "%%MatrixMarket matrix coordinate real symmetric\n" + n + ' ' + n + ' ' +
           std::to_string(entries.count()) + '\n' + entries.text();
    return {};
}

std::string blocksText(const BlockMatrix<double>& A)
{
    std::string text = "blocks " + std::to_string(A.numBlockRows()) + " firstTrailing " +
                       std::to_string(A.firstTrailing()) + '\n';
    for (unsigned int b = 0; b < A.numBlockRows(); ++b) {
        const bool ends = (b + 1) % kSizesInALine == 0 || b + 1 == A.numBlockRows();
        text += std::to_string(A.blockSize(b)) + (ends ? '\n' : ' ');
    }
    return text;
}

} // namespace

Status writeMatrixMarket(const std::string& path, const BlockMatrix<double>& A)
{
    return guardMemory([&] {
        std::string text;
        Status status = matrixText(path, A, text);
        return status.ok() ? writeWholeFile(path, text) : status;
    });
}

Status writeBlocks(const std::string& path, const BlockMatrix<double>& A)
{
    return guardMemory([&] {
        if (A.numBlockRows() == 0)
            return cannotWrite(path, "the matrix has no blocks");
        return writeWholeFile(path, blocksText(A));
    });
}

} // namespace client
} // namespace kyrOrvel
