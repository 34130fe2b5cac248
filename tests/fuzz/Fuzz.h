#ifndef KYRORVEL_TESTS_FUZZ_H
#define KYRORVEL_TESTS_FUZZ_H

#include <kyrOrvelClient/Status>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What libFuzzer calls with every input, and CorpusMain with every file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// The name that inputs go by in messages.
constexpr char kPath[] = "input";

/// Ends the program if something that holds for every input does not.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz: not so: %s\n", what);
    std::abort();
}

/// A refusal is InvalidInput, in one line that begins with the path.
inline void requireRefusal(const kyrOrvel::client::Status& status)
{
    require(status.code == kyrOrvel::client::StatusCode::InvalidInput, "refused as InvalidInput");
    require(status.message.compare(0, sizeof kPath - 1, kPath) == 0, "the message has the path");
    require(status.message.find('\n') == std::string::npos, "the message is one line");
}

} // namespace fuzz

#endif
