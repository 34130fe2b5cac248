// Files that look unusual and are read nevertheless, by every subcommand.

#include "cli/Orvel.h"

namespace cli {

namespace {

/// What a subcommand says of a matrix file from its second line on; times left out.
std::string reportOf(const std::string& subcommand, const std::string& content)
{
    const support::Folder folder;
    const std::string file = folder.write("m.mtx", content);
    std::vector<std::string> arguments = {subcommand, file};
    if (subcommand == "bench")
        arguments.insert(arguments.end(), {"--seconds", "0.001"});
    const std::string out = expectDone(arguments);
    const std::size_t end = subcommand == "bench" ? out.find("\n  analyse") : out.size();
    return subcommand == "plot" ? out : out.substr(file.size(), end - file.size());
}

/// [4 1; 1 3], written in another way.
void expectReadAsSmallMatrix(const std::string& content)
{
    for (const char* const subcommand : {"solve", "info", "check", "bench", "plot"}) {
        SCOPED_TRACE(subcommand);
        EXPECT_EQ(reportOf(subcommand, content), reportOf(subcommand, kSmallMatrix));
    }
}

} // namespace

TEST(OddMatrixFile, WithCarriageReturns)
{
    expectReadAsSmallMatrix("%%MatrixMarket matrix coordinate real symmetric\r\n"
                            "2 2 3\r\n1 1 4\r\n2 1 1\r\n2 2 3\r\n");
}

TEST(OddMatrixFile, WithCommentsAndBlankLines)
{
    expectReadAsSmallMatrix(std::string(kHeader) +
                            "% one\n\n2 2 3\n% two\n1 1 4\n\n2 1 1\n%\n2 2 3\n% the end\n");
}

TEST(OddMatrixFile, OfIntegers)
{
    expectReadAsSmallMatrix("%%MatrixMarket matrix coordinate integer symmetric\n"
                            "2 2 3\n1 1 4\n2 1 1\n2 2 3\n");
}

TEST(OddMatrixFile, OfTheUpperTriangle)
{
    expectReadAsSmallMatrix(std::string(kHeader) + "2 2 3\n1 1 4\n1 2 1\n2 2 3\n");
}

TEST(OddMatrixFile, InAnotherOrder)
{
    expectReadAsSmallMatrix(std::string(kHeader) + "2 2 3\n2 2 3\n2 1 1\n1 1 4\n");
}

TEST(OddMatrixFile, WithoutALineFeedAtTheEnd)
{
    expectReadAsSmallMatrix(std::string(kHeader) + "2 2 3\n1 1 4\n2 1 1\n2 2 3");
}

TEST(OddMatrixFile, InCapitalsAndWithTabs)
{
    expectReadAsSmallMatrix("%%MATRIXMARKET\tMatrix Coordinate REAL Symmetric\n"
                            "\t2 2\t3\n 1 1 +4.0e0\n2\t1 1.\n2 2 3\n");
}

} // namespace cli
