#ifndef ORVEL_REPLAY_REPORT_H
#define ORVEL_REPLAY_REPORT_H

#include <kyrOrvelClient/Capture>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvel {

/// What was left of a failing system, and where it went.
struct Shrunk {
    std::string file;
    std::string blocksFile; ///< or empty
    std::vector<std::uint64_t> ids;
    std::size_t tried = 0; ///< systems solved
};

/// Prints a replay to standard output, as a table or as one JSON object.
///
/// @param shrunk  or null
void printReplay(const std::string& file, const kyrOrvel::client::Capture& capture,
                 const kyrOrvel::client::ReplayReport& report, const Shrunk* shrunk);
void printReplayJson(const std::string& file, const kyrOrvel::client::Capture& capture,
                     const kyrOrvel::client::ReplayReport& report, const Shrunk* shrunk);

} // namespace orvel

#endif
