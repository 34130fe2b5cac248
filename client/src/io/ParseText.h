#ifndef KYRORVEL_CLIENT_PARSE_TEXT_H
#define KYRORVEL_CLIENT_PARSE_TEXT_H

#include <kyrOrvelClient/MatrixFiles>

#include <string>
#include <string_view>
#include <vector>

namespace kyrOrvel {
namespace client {

// The readers of MatrixFiles, on a text in memory; `path` is for their messages.

Status parseMatrixMarket(const std::string& path, std::string_view text, ScalarMatrix& matrix,
                         const ReadProgress& progress = {});

Status parseBlocks(const std::string& path, std::string_view text, unsigned int dimension,
                   BlockPartition& partition);

Status parseVector(const std::string& path, std::string_view text, unsigned int dimension,
                   std::vector<double>& vector);

} // namespace client
} // namespace kyrOrvel

#endif
