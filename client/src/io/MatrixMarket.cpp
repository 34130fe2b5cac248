#include <kyrOrvelClient/MatrixFiles>

#include "../CountedText.h"
#include "../OutOfMemory.h"
#include "ParseText.h"
#include "TextFile.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <tuple>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

constexpr unsigned long kMaxDimension = 0x7FFFFFFE;
constexpr std::size_t kShortestEntry = 5;      // "1 1 1"
constexpr unsigned long kEntriesATurn = 65536; // of telling how far the reading is

/// An entry that still knows its line, for the report of duplicates.
struct ReadEntry {
    ScalarMatrix::Entry entry;
    std::size_t line;
};

std::string lowerCase(std::string_view word)
{
    std::string text(word);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// The header "%%MatrixMarket matrix FORMAT FIELD SYMMETRY".
struct Header {
    std::string format;
    std::string field;
    std::string symmetry;
};

constexpr char kMatrixHeader[] = "coordinate real symmetric";
constexpr char kVectorHeader[] = "array real general";

/// @param usual  what the header should declare, for the message where there is none
Status readHeader(TextScanner& in, const char* usual, Header& header)
{
    const std::string banner = lowerCase(in.takeWord());
    const std::string object = lowerCase(in.takeWord());
    header.format = lowerCase(in.takeWord());
    header.field = lowerCase(in.takeWord());
    header.symmetry = lowerCase(in.takeWord());
    if (banner != "%%matrixmarket" || object != "matrix")
        return in.error("not a Matrix Market file: the first line should be "
                        "'%%MatrixMarket matrix " +
                        std::string(usual) + "'");
    return in.endLine();
}

Status checkMatrixHeader(const TextScanner& at, const Header& header)
{
    const std::string wanted = "; 'coordinate real symmetric' or 'coordinate integer symmetric' "
                               "is what can be solved";
    if (header.format != "coordinate")
        return at.error("the format is '" + header.format + "'" + wanted);
    if (header.field != "real" && header.field != "integer")
        return at.error("the field is '" + header.field + "'" + wanted);
    if (header.symmetry != "symmetric")
        return at.error("the matrix is declared '" + header.symmetry + "'" + wanted);
    return {};
}

struct Sizes {
    unsigned long dimension;
    unsigned long entries;
};

std::string describeTooFew(const Sizes& sizes)
{
    return countedText(sizes.entries, "entry leaves", "entries leave") +
           (sizes.dimension == 1 ? " the row"
                                 : " some of the " + std::to_string(sizes.dimension) + " rows") +
           " empty: the matrix is singular";
}

Status readSizes(TextScanner& in, Sizes& sizes)
{
    if (!in.skipToContent())
        return in.error("the file ends before the line with the sizes");
    unsigned long columns = 0;
    Status status = in.takeCount("number of rows", 1, kMaxDimension, sizes.dimension);
    if (status.ok())
        status = in.takeCount("number of columns", 1, kMaxDimension, columns);
    if (status.ok() && columns != sizes.dimension)
        status =
            in.error("the matrix is not square: " + countedText(sizes.dimension, "row", "rows") +
                     ", " + countedText(columns, "column", "columns"));
    const unsigned long most = sizes.dimension * (sizes.dimension + 1) / 2;
    if (status.ok())
        status = in.takeCount("number of entries", 0, most, sizes.entries);
    // A row or two per entry is the most that can be occupied: checked before anything is made in
    // the size that a file merely claims to have.
    if (status.ok() && sizes.entries < (sizes.dimension + 1) / 2)
        status = in.error(describeTooFew(sizes));
    return status.ok() ? in.endLine() : status;
}

Status readEntry(TextScanner& in, bool integer, unsigned long dimension, ReadEntry& read)
{
    unsigned long row = 0;
    unsigned long column = 0;
    read.line = in.line();
    Status status = in.takeCount("row", 1, dimension, row);
    if (status.ok())
        status = in.takeCount("column", 1, dimension, column);
    if (status.ok())
        status = in.takeScalar("value", integer, read.entry.value);
    if (!status.ok())
        return status;
    read.entry.row = static_cast<unsigned int>(std::max(row, column) - 1);
    read.entry.column = static_cast<unsigned int>(std::min(row, column) - 1);
    return in.endLine();
}

Status readEntries(TextScanner& in, bool integer, const Sizes& sizes, std::vector<ReadEntry>& read,
                   const ReadProgress& progress)
{
    const auto whole = static_cast<double>(in.remaining());
    read.reserve(std::min<std::size_t>(sizes.entries, in.remaining() / kShortestEntry + 1));
    for (unsigned long k = 0; k < sizes.entries; ++k) {
        if (progress && k % kEntriesATurn == 0 && k > 0)
            progress(1 - static_cast<double>(in.remaining()) / whole);
        if (!in.skipToContent())
            return in.error("the file ends after " + std::to_string(k) + " of " +
                            countedText(sizes.entries, "entry", "entries"));
        read.emplace_back();
        Status status = readEntry(in, integer, sizes.dimension, read.back());
        if (!status.ok())
            return status;
    }
    if (in.skipToContent())
        return in.error("there is more after the " +
                        countedText(sizes.entries, "entry", "entries") +
                        " that the header declares");
    return {};
}

/// Sorts the entries and reports a place that is given twice, by the line of the later one.
Status sortEntries(const std::string& path, std::vector<ReadEntry>& read)
{
    std::sort(read.begin(), read.end(), [](const ReadEntry& a, const ReadEntry& b) {
        return std::tie(a.entry.row, a.entry.column, a.line) <
               std::tie(b.entry.row, b.entry.column, b.line);
    });
    const auto twice =
        std::adjacent_find(read.begin(), read.end(), [](const ReadEntry& a, const ReadEntry& b) {
            return a.entry.row == b.entry.row && a.entry.column == b.entry.column;
        });
    if (twice == read.end())
        return {};
    return fileError(path, (twice + 1)->line,
                     "the entry (" + std::to_string(twice->entry.row + 1) + ", " +
                         std::to_string(twice->entry.column + 1) + ") was given before, in line " +
                         std::to_string(twice->line));
}

Status checkVectorHeader(const TextScanner& at, const Header& header)
{
    if (header.format != "array" || (header.field != "real" && header.field != "integer") ||
        header.symmetry != "general")
        return at.error("a vector should be 'array real general', not '" + header.format + " " +
                        header.field + " " + header.symmetry + "'");
    return {};
}

Status readArray(TextScanner& in, bool integer, unsigned int dimension, std::vector<double>& vector)
{
    if (!in.skipToContent())
        return in.error("the file ends before the line with the sizes");
    unsigned long rows = 0;
    unsigned long columns = 0;
    Status status = in.takeCount("number of rows", dimension, dimension, rows);
    if (status.ok())
        status = in.takeCount("number of columns", 1, 1, columns);
    if (status.ok())
        status = in.endLine();
    for (unsigned int i = 0; status.ok() && i < dimension; ++i) {
        if (!in.skipToContent())
            return in.error("the file ends after " + std::to_string(i) + " of " +
                            countedText(dimension, "value", "values"));
        status = in.takeScalar("value", integer, vector[i]);
        if (status.ok())
            status = in.endLine();
    }
    if (status.ok() && in.skipToContent())
        status = in.error("there is more after the " + countedText(dimension, "value", "values"));
    return status;
}

Status readPlainNumbers(TextScanner& in, unsigned int dimension, std::vector<double>& vector)
{
    for (unsigned int i = 0; i < dimension; ++i) {
        if (!in.skipToWord())
            return in.error("the file ends after " + std::to_string(i) + " of " +
                            countedText(dimension, "value", "values"));
        Status status = in.takeScalar("value", false, vector[i]);
        if (!status.ok())
            return status;
    }
    if (in.skipToWord())
        return in.error("there is more after the " + countedText(dimension, "value", "values"));
    return {};
}

} // namespace

Status parseMatrixMarket(const std::string& path, std::string_view text, ScalarMatrix& matrix,
                         const ReadProgress& progress)
{
    TextScanner in(path, text);
    const TextScanner start = in; // errors about the header belong to line 1
    Header header;
    Status status = readHeader(in, kMatrixHeader, header);
    if (status.ok())
        status = checkMatrixHeader(start, header);
    Sizes sizes{};
    if (status.ok())
        status = readSizes(in, sizes);
    std::vector<ReadEntry> read;
    if (status.ok())
        status = readEntries(in, header.field == "integer", sizes, read, progress);
    if (status.ok())
        status = sortEntries(path, read);
    if (!status.ok())
        return status;
    ScalarMatrix result;
    result.dimension = static_cast<unsigned int>(sizes.dimension);
    result.entries.reserve(read.size());
    for (const ReadEntry& r : read)
        result.entries.push_back(r.entry);
    matrix = std::move(result);
    return {};
}

Status parseVector(const std::string& path, std::string_view text, unsigned int dimension,
                   std::vector<double>& vector)
{
    TextScanner in(path, text);
    Status status;
    std::vector<double> values(dimension);
    if (text.compare(0, 2, "%%") == 0) {
        const TextScanner start = in;
        Header header;
        status = readHeader(in, kVectorHeader, header);
        if (status.ok())
            status = checkVectorHeader(start, header);
        if (status.ok())
            status = readArray(in, header.field == "integer", dimension, values);
    } else {
        status = readPlainNumbers(in, dimension, values);
    }
    if (status.ok())
        vector = std::move(values);
    return status;
}

Status readMatrixMarket(const std::string& path, ScalarMatrix& matrix, const ReadProgress& progress)
{
    return guardMemory([&] {
        std::string text;
        Status status = readTextFile(path, text);
        return status.ok() ? parseMatrixMarket(path, text, matrix, progress) : status;
    });
}

Status readVector(const std::string& path, unsigned int dimension, std::vector<double>& vector)
{
    return guardMemory([&] {
        std::string text;
        Status status = readTextFile(path, text);
        return status.ok() ? parseVector(path, text, dimension, vector) : status;
    });
}

} // namespace client
} // namespace kyrOrvel
