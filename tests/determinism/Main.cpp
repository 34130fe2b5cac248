#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr int kSkipped = 77; // ctest reports the test as skipped

/// Whether this machine runs code of the instruction set level; other names need nothing.
bool machineRuns(const char* level)
{
#if defined(__x86_64__)
    __builtin_cpu_init();
    const bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
    if (std::strcmp(level, "x86-64-v3") == 0)
        return v3;
    if (std::strcmp(level, "x86-64-v4") == 0)
        return v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512vl");
#endif
    static_cast<void>(level);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    constexpr char kNeeds[] = "--needs=";
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], kNeeds, sizeof kNeeds - 1) != 0)
            continue;
        const char* const level = argv[i] + sizeof kNeeds - 1;
        if (!machineRuns(level)) {
            std::printf("skipped: this machine does not run %s code\n", level);
            return kSkipped;
        }
    }
    return RUN_ALL_TESTS();
}
