// A net on several threads. The bits are those of one thread, whatever their number.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <cstdio>
#include <cstring>
#include <vector>

int main()
{
    using namespace kyrOrvel::client;

    const Scene net = makeNet(20);
    std::vector<double> first;
    for (const unsigned int threads : {1u, 2u, 4u}) {
        BlockLDLT<double> solver;
        solver.setThreads(threads);
        solver.setFactorization(Factorization::Parallel); // Automatic asks whether it pays
        std::vector<double> x = net.rightHandSide;
        if (!solver.compute(net.matrix).ok() || !solver.solve(x.data(), x.data()).ok()) {
            std::printf("%s\n", solver.info().message.c_str());
            return 1;
        }
        if (first.empty())
            first = x;
        const bool same = std::memcmp(x.data(), first.data(), x.size() * sizeof(double)) == 0;
        std::printf("%u of %u threads: the bits of one thread: %s\n", solver.analysis().threads,
                    threads, same ? "yes" : "no");
    }
    return 0;
}
