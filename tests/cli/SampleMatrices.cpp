#include "cli/Orvel.h"

#include <cmath>
#include <fstream>
#include <sstream>

namespace cli {

namespace {

/// The files of the folder that can be factored without pivoting.
const char* const kSamples[] = {"bullet_hingechain20", "bullet_ragdolls4", "pg_pose3grid",
                                "qp0_CVXQP1_S", "ss_tumorAntiAngiogenesis_2"};

/// |A·x - A·1| / |A·1| from the two files alone, in extended precision.
double residualOf(const std::string& matrixPath, const std::string& solutionPath)
{
    std::ifstream matrix(matrixPath);
    std::ifstream solution(solutionPath);
    std::string line;
    while (matrix.peek() == '%')
        std::getline(matrix, line);
    std::getline(solution, line);
    std::size_t n = 0;
    std::size_t columns = 0;
    std::size_t entries = 0;
    matrix >> n >> columns >> entries;
    solution >> n >> columns;
    std::vector<double> x(n);
    for (double& v : x)
        solution >> v;
    std::vector<long double> product(n);
    std::vector<long double> b(n);
    for (std::size_t k = 0; k < entries; ++k) {
        std::size_t r = 0;
        std::size_t c = 0;
        double value = 0;
        matrix >> r >> c >> value;
        product[r - 1] += static_cast<long double>(value) * x[c - 1];
        b[r - 1] += value;
        if (r != c) {
            product[c - 1] += static_cast<long double>(value) * x[r - 1];
            b[c - 1] += value;
        }
    }
    EXPECT_TRUE(matrix) << matrixPath;
    EXPECT_TRUE(solution) << solutionPath;
    long double residual = 0;
    long double norm = 0;
    for (std::size_t i = 0; i < n; ++i) {
        residual += (product[i] - b[i]) * (product[i] - b[i]);
        norm += b[i] * b[i];
    }
    return static_cast<double>(std::sqrt(residual / norm));
}

class SampleMatrices : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (!std::filesystem::is_directory(SAMPLE_MATRICES))
            GTEST_SKIP() << "there is no folder " SAMPLE_MATRICES;
    }

    std::string path(const std::string& ending) const
    {
        return std::string(SAMPLE_MATRICES "/") + GetParam() + ending;
    }

    /// Solves and checks what is reported and what was written.
    void expectSolved(std::vector<std::string> arguments) const
    {
        const support::Folder folder;
        const std::string out = folder.path("x.mtx");
        arguments.insert(arguments.begin(), {"solve", path(".mtx"), "--out", out});
        const std::string report = expectDone(arguments);
        EXPECT_LT(numberAfter(report, "  relative residual"), 1e-14);
        EXPECT_LT(numberAfter(report, "  backward error"), 1e-14);
        EXPECT_LT(residualOf(path(".mtx"), out), 1e-14);
    }
};

} // namespace

TEST_P(SampleMatrices, ResidualIsNearMachinePrecision)
{
    expectSolved({});
}

TEST_P(SampleMatrices, ResidualIsNearMachinePrecisionWithFoundBlocks)
{
    expectSolved({"--find-blocks"});
}

TEST_P(SampleMatrices, InfoAgreesWithTheFiles)
{
    std::ifstream blocks(path(".blocks"));
    std::string word;
    std::size_t numBlocks = 0;
    std::size_t firstTrailing = 0;
    blocks >> word >> numBlocks >> word >> firstTrailing;
    ASSERT_TRUE(blocks) << path(".blocks");
    const std::string report = expectDone({"info", path(".mtx")});
    std::ostringstream division;
    division << firstTrailing << " ordinary, " << numBlocks - firstTrailing << " trailing, ";
    EXPECT_NE(report.find(division.str()), std::string::npos) << report;
    EXPECT_NE(report.find("blocks from " + path(".blocks") + "\n"), std::string::npos) << report;
}

INSTANTIATE_TEST_SUITE_P(Shared, SampleMatrices, testing::ValuesIn(kSamples),
                         [](const auto& name) { return std::string(name.param); });

} // namespace cli
