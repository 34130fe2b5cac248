#include "Readers.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::KYRORVEL_FUZZED(data, size);
    return 0;
}
