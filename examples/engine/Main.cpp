// Solves a net on two threads, and shows that the solver ran on the engine's core library.
#include <kyr/ByteAllocator>
#include <kyr/ThreadTask>

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <cstdio>

int main()
{
    using namespace kyrOrvel::client;
    const auto yesOrNo = [](bool yes) { return yes ? "yes" : "no"; };

    bool solved = false;
    {
        const Scene net = makeNet(12);
        std::vector<double> x = net.rightHandSide;
        BlockLDLT<double> solver;
        solver.setThreads(2);
        solver.setFactorization(Factorization::Multifrontal);
        solved = solver.compute(net.matrix).ok() && solver.solve(x.data(), x.data()).ok();
    }
    std::printf("solved: %s\n", yesOrNo(solved));
    std::printf("tasks of the engine: %u\n", kyr::ThreadTask::s_executed.load());
    std::printf("memory of the engine: %s\n", yesOrNo(kyr::ByteAllocator::s_allocations > 0));
    std::printf("bytes held at the end: %zu\n", kyr::ByteAllocator::s_bytesHeld.load());
    return solved ? 0 : 1;
}
