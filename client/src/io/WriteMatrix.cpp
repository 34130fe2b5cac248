#include <kyrOrvelClient/MatrixFiles>

#include "../OutOfMemory.h"
#include "ExactNumber.h"
#include "WholeFile.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace kyrOrvel {
namespace client {

namespace {

// As many as can be read back.
constexpr std::size_t kMaxDimension = 0x7FFFFFFE;
constexpr unsigned int kSizesInALine = 30;

void appendCount(std::string& text, std::size_t n, char after)
{
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, n).ptr) += after;
}

Status checkSize(const BlockMatrix<double>& A)
{
    if (A.dimension() == 0)
        return {StatusCode::InvalidInput, "a matrix without rows has no file", kNone, kNone};
    if (A.dimension() > kMaxDimension || A.numBlockRows() > kMaxDimension)
        return {StatusCode::TooLarge,
                "a file holds at most " + std::to_string(kMaxDimension) + " rows and blocks", kNone,
                kNone};
    return {};
}

/// The first value of the lower triangle that is not finite.
Status checkValues(const BlockMatrix<double>& A)
{
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const std::size_t n = A.blockSize(entry.column);
            for (unsigned int i = 0; i < A.blockSize(r); ++i)
                for (std::size_t j = 0; j < (entry.column == r ? i + 1 : n); ++j)
                    if (!std::isfinite(entry.values[i * n + j]))
                        return {StatusCode::NotFinite,
                                "block (" + std::to_string(r) + ", " +
                                    std::to_string(entry.column) +
                                    ") holds an infinity or NaN in row " + std::to_string(i) +
                                    ", which no file can hold",
                                r, i, A.id(r)};
        }
    return {};
}

/// Blocks with no scalar stored in their rows and columns.
std::vector<unsigned char> emptyBlocks(const BlockMatrix<double>& A)
{
    std::vector<unsigned char> empty(A.numBlockRows(), 1);
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            if (A.blockSize(r) > 0 && A.blockSize(entry.column) > 0)
                empty[r] = empty[entry.column] = 0;
    return empty;
}

std::size_t countScalars(const BlockMatrix<double>& A, const std::vector<unsigned char>& empty)
{
    std::size_t count = 0;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        const std::size_t m = A.blockSize(r);
        if (empty[r])
            count += m;
        for (const auto& entry : A.row(r))
            count += entry.column == r ? m * (m + 1) / 2 : m * A.blockSize(entry.column);
    }
    return count;
}

void appendEntry(std::string& text, std::size_t row, std::size_t column, double value)
{
    appendCount(text, row + 1, ' ');
    appendCount(text, column + 1, ' ');
    appendExact(text, value);
    text += '\n';
}

/// @param empty  whether a zero stands for the row, which the reader would miss
void appendRow(std::string& text, const BlockMatrix<double>& A, unsigned int r, unsigned int i,
               bool empty)
{
    const std::size_t row = A.blockOffset(r) + i;
    if (empty)
        appendEntry(text, row, row, 0);
    for (const auto& entry : A.row(r)) {
        const std::size_t n = A.blockSize(entry.column);
        for (std::size_t j = 0; j < (entry.column == r ? i + 1 : n); ++j)
            appendEntry(text, row, A.blockOffset(entry.column) + j, entry.values[i * n + j]);
    }
}

Status formatMatrix(const BlockMatrix<double>& A, std::string& text)
{
    Status status = checkSize(A);
    if (status.ok())
        status = checkValues(A);
    if (!status.ok())
        return status;
    const std::vector<unsigned char> empty = emptyBlocks(A);
    std::string result = "%%MatrixMarket matrix coordinate real symmetric\n";
    appendCount(result, A.dimension(), ' ');
    appendCount(result, A.dimension(), ' ');
    appendCount(result, countScalars(A, empty), '\n');
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (unsigned int i = 0; i < A.blockSize(r); ++i)
            appendRow(result, A, r, i, empty[r] != 0);
    text = std::move(result);
    return {};
}

Status formatBlocks(const BlockMatrix<double>& A, std::string& text)
{
    Status status = checkSize(A);
    if (!status.ok())
        return status;
    text = "blocks ";
    appendCount(text, A.numBlockRows(), ' ');
    text += "firstTrailing ";
    appendCount(text, A.firstTrailing(), '\n');
    for (unsigned int b = 0; b < A.numBlockRows(); ++b) {
        const bool last = b + 1 == A.numBlockRows() || (b + 1) % kSizesInALine == 0;
        appendCount(text, A.blockSize(b), last ? '\n' : ' ');
    }
    return {};
}

using Format = Status (*)(const BlockMatrix<double>&, std::string&);

Status writeFormatted(const std::string& path, const BlockMatrix<double>& A, Format format)
{
    return guardMemory([&] {
        std::string text;
        Status status = format(A, text);
        if (status.ok())
            return writeWholeFile(path, text);
        status.message.insert(0, path + ": ");
        return status;
    });
}

} // namespace

Status matrixMarketText(const BlockMatrix<double>& matrix, std::string& text)
{
    return guardMemory([&] { return formatMatrix(matrix, text); });
}

Status writeMatrixMarket(const std::string& path, const BlockMatrix<double>& matrix)
{
    return writeFormatted(path, matrix, &formatMatrix);
}

Status writeBlocks(const std::string& path, const BlockMatrix<double>& matrix)
{
    return writeFormatted(path, matrix, &formatBlocks);
}

} // namespace client
} // namespace kyrOrvel
