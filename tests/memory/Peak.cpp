// How much more memory a process holds at the most, beside what statistics() reports. Each scene is
// measured in a process of its own: what others had freed would be used again, and not be seen.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace kyrOrvel::client;

/// The most that the process has held since `forgetPeak`, bytes; 0 if the system does not say.
double peakBytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0)
            return 1024 * std::strtod(line.c_str() + 6, nullptr); // given in KiB
    return 0;
}

bool forgetPeak()
{
    std::ofstream clear("/proc/self/clear_refs");
    clear << 5 << std::flush; // the peak of resident memory
    return clear.good();
}

/// Ends the process: with 0 if analysis, factorization and solve raise the peak by what is
/// reported, give or take a tenth. Scenes of 10 MB and more: pages and the heap's own needs are
/// little beside.
[[noreturn]] void endWithVerdict(const Scene& scene)
{
    std::vector<double> x(scene.rightHandSide.size());
    forgetPeak();
    const double before = peakBytes();
    BlockLDLT<double> solver;
    solver.setFactorization(Factorization::Serial);
    const bool solved = solver.analyzePattern(scene.matrix).ok() &&
                        solver.factorize(scene.matrix).ok() &&
                        solver.solve(scene.rightHandSide.data(), x.data()).ok();
    const double grown = peakBytes() - before;
    const auto reported = double(solver.statistics().bytes);
    std::fprintf(stderr, "grown by %.0f, reported are %.0f bytes\n", grown, reported);
    std::exit(solved && reported > 1e7 && std::abs(grown - reported) < 0.1 * reported ? 0 : 1);
}

class PeakMemory : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!forgetPeak() || peakBytes() == 0)
            GTEST_SKIP() << "the system does not tell the peak of resident memory";
        GTEST_FLAG_SET(death_test_style, "threadsafe"); // starts the program anew
    }

    static void expectAsReported(const std::function<Scene()>& make)
    {
        EXPECT_EXIT(endWithVerdict(make()), ::testing::ExitedWithCode(0), "");
    }
};

TEST_F(PeakMemory, OfAChainIsAsReported)
{
    expectAsReported([] { return makeChain(20000); });
}

TEST_F(PeakMemory, OfABridgeIsAsReported)
{
    expectAsReported([] { return makeRopeBridge(2000); });
}

TEST_F(PeakMemory, OfARagdollPileIsAsReported)
{
    expectAsReported([] { return makeRagdollPile(400); });
}

TEST_F(PeakMemory, OfANetIsAsReported)
{
    expectAsReported([] { return makeNet(60); });
}

TEST_F(PeakMemory, OfALatticeIsAsReported)
{
    expectAsReported([] { return makeLattice(12); });
}

TEST_F(PeakMemory, OfAnElasticCubeIsAsReported)
{
    expectAsReported([] { return makeElasticity(12); });
}

} // namespace
