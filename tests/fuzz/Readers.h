#ifndef KYRORVEL_TESTS_FUZZ_READERS_H
#define KYRORVEL_TESTS_FUZZ_READERS_H

#include <cstddef>
#include <cstdint>

namespace fuzz {

// Each reads a text of any content, as from a file, and uses what comes out of it. A result that
// makes no sense ends the program.
void readMatrix(const std::uint8_t* data, std::size_t size);
void readBlocks(const std::uint8_t* data, std::size_t size);
void readVector(const std::uint8_t* data, std::size_t size);

} // namespace fuzz

#endif
