#ifndef KYRORVEL_TESTS_SUPPORT_PATTERNS_H
#define KYRORVEL_TESTS_SUPPORT_PATTERNS_H

#include <kyrOrvel/SkeletonMatrix>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace support {

using Rows = std::vector<std::vector<unsigned int>>;

/// A pattern from the columns of each row, as they are given.
inline std::unique_ptr<kyrOrvel::SkeletonMatrix> makeSkeleton(const Rows& rows)
{
    auto pattern = std::make_unique<kyrOrvel::SkeletonMatrix>();
    unsigned int entries = 0;
    for (const auto& row : rows)
        entries += static_cast<unsigned int>(row.size());
    pattern->allocateMemory(static_cast<unsigned int>(rows.size()), entries);
    pattern->numBlockRows = static_cast<unsigned int>(rows.size());
    unsigned int e = 0;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (const unsigned int c : rows[r])
            pattern->columnIndices[e++] = c;
        pattern->rowStart[r + 1] = e;
    }
    return pattern;
}

/// The lower triangle of a drawing, one string per row: 'X' is an entry, anything else is none;
/// blanks are skipped. {"X", ". X", "X X X"} couples block 2 to blocks 0 and 1.
inline Rows drawnRows(std::initializer_list<const char*> drawing)
{
    Rows rows;
    for (const char* line : drawing) {
        rows.emplace_back();
        unsigned int column = 0;
        for (const char ch : std::string(line)) {
            if (ch == ' ')
                continue;
            if (ch == 'X')
                rows.back().push_back(column);
            ++column;
        }
    }
    return rows;
}

inline std::unique_ptr<kyrOrvel::SkeletonMatrix>
drawSkeleton(std::initializer_list<const char*> drawing)
{
    return makeSkeleton(drawnRows(drawing));
}

} // namespace support

#endif
