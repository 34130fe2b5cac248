// Contacts come and go. Every set of contacts is a pattern of its own; the solver remembers the
// last few, so that going back to one costs a comparison.

#include <kyrOrvelClient/BlockLDLT>

#include <cstdio>
#include <vector>

namespace {

using namespace kyrOrvel::client;

/// Three balls above each other; `touching` lists the gaps that are closed (0: ball 0 on the
/// ground).
BlockMatrix<double> pile(const std::vector<unsigned int>& touching)
{
    const double mass[] = {1}, up[] = {1}, down[] = {-1};
    std::vector<unsigned int> sizes(3, 1);
    sizes.insert(sizes.end(), touching.size(), 1);
    BlockMatrix<double> A(sizes, 3);
    for (unsigned int ball = 0; ball < 3; ++ball)
        A.add(ball, ball, mass);
    for (unsigned int c = 0; c < touching.size(); ++c) {
        A.add(3 + c, touching[c], up);
        if (touching[c] > 0)
            A.add(3 + c, touching[c] - 1, down);
    }
    return A;
}

} // namespace

int main()
{
    BlockLDLT<double> solver;
    const std::vector<unsigned int> frames[] = {{0}, {0, 1}, {0, 1, 2}, {0, 1}, {0, 1, 2}};
    for (const auto& touching : frames) {
        const BlockMatrix<double> A = pile(touching);
        std::vector<double> x(A.dimension(), 0.0);
        x[0] = x[1] = x[2] = -10; // weights
        if (!solver.compute(A).ok() || !solver.solve(x.data(), x.data()).ok()) {
            std::printf("%s\n", solver.info().message.c_str());
            return 1;
        }
        std::printf("%zu contacts, %-8s:", touching.size(),
                    solver.statistics().analysisReused ? "known" : "analysed");
        for (std::size_t c = 3; c < x.size(); ++c)
            std::printf(" %g", -x[c]);
        std::printf("\n");
    }
    return 0;
}
