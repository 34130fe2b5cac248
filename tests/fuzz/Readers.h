#ifndef KYRORVEL_TESTS_FUZZ_READERS_H
#define KYRORVEL_TESTS_FUZZ_READERS_H

#include <kyrOrvelClient/Status>

#include <cstddef>
#include <cstdint>

namespace fuzz {

// Each reads a text of any content, as from a file, and uses what comes out of it. A result that
// makes no sense ends the program.
void readMatrix(const std::uint8_t* data, std::size_t size);
void readBlocks(const std::uint8_t* data, std::size_t size);
void readVector(const std::uint8_t* data, std::size_t size);
void readCapture(const std::uint8_t* data, std::size_t size);

/// The path that texts go by in messages.
constexpr char kPath[] = "input";

/// Ends the program, saying what, if something does not hold that holds for every text.
void require(bool holds, const char* what);

/// A failure is InvalidInput and says why in one line that begins with the path; a success says
/// nothing.
void requireExplained(const kyrOrvel::client::Status& status);

} // namespace fuzz

#endif
