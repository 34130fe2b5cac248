#include "OneThread.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace bench {

void useOneThread()
{
    if (std::getenv("OMP_THREAD_LIMIT"))
        return;
    for (const char* name : {"OMP_THREAD_LIMIT", "OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS"})
        setenv(name, "1", 1);
    std::vector<std::string> words;
    std::ifstream commandLine("/proc/self/cmdline");
    for (std::string word; std::getline(commandLine, word, '\0');)
        words.push_back(word);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (!words.empty())
        execv("/proc/self/exe", arguments.data());
}

} // namespace bench
