#ifndef KYRORVEL_CLIENT_WHOLE_FILE_H
#define KYRORVEL_CLIENT_WHOLE_FILE_H

#include <kyrOrvelClient/Status>

#include <string>

namespace kyrOrvel {
namespace client {

/// Writes a file that appears whole or not at all: it is made beside its place, then moved there.
/// Symbolic links are followed; a device or a pipe is written to as it is.
Status writeWholeFile(const std::string& path, const std::string& content);

} // namespace client
} // namespace kyrOrvel

#endif
