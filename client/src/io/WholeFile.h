#ifndef KYRORVEL_CLIENT_WHOLE_FILE_H
#define KYRORVEL_CLIENT_WHOLE_FILE_H

#include <kyrOrvelClient/Status>

#include <string>

namespace kyrOrvel {
namespace client {

/// Writes a file that appears whole or not at all, and leaves nothing else behind, even if SIGINT,
/// SIGTERM or SIGHUP end the program meanwhile: it is made without a name where the file system
/// knows such files, and beside its place, with these signals held back from the calling thread,
/// where not. Symbolic links are followed; a device or a pipe is written to as it is.
Status writeWholeFile(const std::string& path, const std::string& content);

} // namespace client
} // namespace kyrOrvel

#endif
