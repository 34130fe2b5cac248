// Runs the readers once over every file of the corpus, and over beginnings and small changes of it.

#include "Readers.h"

#include "support/Files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using Reader = void (*)(const std::uint8_t*, std::size_t);

void read(Reader reader, const std::string& text)
{
    reader(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

void replay(const char* folder, Reader reader)
{
    unsigned int files = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(FUZZ_CORPUS "/") + folder)) {
        const std::string text = support::contentOf(entry.path().string());
        SCOPED_TRACE(entry.path().filename().string());
        read(reader, text);
        for (std::size_t end = 0; end < text.size(); end += 1 + text.size() / 64)
            read(reader, text.substr(0, end));
        for (std::size_t at = 0; at < text.size(); at += 1 + text.size() / 64)
            for (const char c : {'\0', '9', '-', '\n', '\xFF'}) {
                std::string changed = text;
                changed[at] = c;
                read(reader, changed);
            }
        ++files;
    }
    EXPECT_GT(files, 0u);
}

} // namespace

TEST(FuzzCorpus, OfMatricesIsReadOrRefused)
{
    replay("matrix", fuzz::readMatrix);
}

TEST(FuzzCorpus, OfBlocksIsReadOrRefused)
{
    replay("blocks", fuzz::readBlocks);
}

TEST(FuzzCorpus, OfVectorsIsReadOrRefused)
{
    replay("vector", fuzz::readVector);
}

TEST(FuzzCorpus, OfCapturesIsReadOrRefused)
{
    replay("capture", fuzz::readCapture);
}
