// A net on several threads. The result depends on the number of threads asked for, and on nothing
// else: two runs agree to the bit on any machine.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

int main()
{
    using namespace kyrOrvel::client;

    const Scene net = makeNet(20);
    std::vector<double> x[3];
    const unsigned int threads[] = {1, 4, 4};
    for (int run = 0; run < 3; ++run) {
        BlockLDLT<double> solver;
        solver.setThreads(threads[run]);
        solver.setFactorization(Factorization::Multifrontal); // Automatic decides by the work
        x[run] = net.rightHandSide;
        if (!solver.compute(net.matrix).ok() || !solver.solve(x[run].data(), x[run].data()).ok()) {
            std::printf("%s\n", solver.info().message.c_str());
            return 1;
        }
        std::printf("%u thread%s: multifrontal %s\n", threads[run], threads[run] == 1 ? "" : "s",
                    solver.analysis().multifrontal ? "yes" : "no");
    }
    double difference = 0;
    for (std::size_t i = 0; i < x[0].size(); ++i)
        difference = std::fmax(difference, std::fabs(x[0][i] - x[1][i]));
    std::printf("1 and 4 threads agree to rounding: %s\n", difference < 1e-9 ? "yes" : "no");
    const bool same = std::memcmp(x[1].data(), x[2].data(), x[1].size() * sizeof(double)) == 0;
    std::printf("4 and 4 threads agree to the bit: %s\n", same ? "yes" : "no");
    return 0;
}
