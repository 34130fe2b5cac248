// A table on four legs, each held to the floor: one leg too many for a rigid table. The solver says
// which, and what would help.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <cstdio>
#include <vector>

int main()
{
    using namespace kyrOrvel::client;

    // One body that can rise and tilt about two axes; four supports, at its corners.
    BlockMatrix<double> A({3, 1, 1, 1, 1}, 1);
    const double inertia[] = {10, 0, 0, 0, 2, 0, 0, 0, 2};
    A.add(0, 0, inertia);
    const double corners[4][2] = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
    for (unsigned int leg = 0; leg < 4; ++leg) {
        const double support[] = {1, corners[leg][1], -corners[leg][0]};
        A.add(1 + leg, 0, support);
        A.setId(1 + leg, 101 + leg); // reports use the caller's own ids
    }
    A.setId(0, 7);

    BlockLDLT<double> solver;
    const Status failure = solver.compute(A);
    std::printf("%s: leg %llu depends on", statusName(failure.code),
                static_cast<unsigned long long>(failure.id));
    for (const Dependency& other : failure.dependsOn)
        std::printf(" %+g of leg %llu", other.coefficient,
                    static_cast<unsigned long long>(other.id));
    std::printf("\n");

    for (const Status& redundant : findRedundant(A))
        std::printf("to remove: leg %llu\n", static_cast<unsigned long long>(redundant.id));

    // Or let every leg give a little: then the weight is shared.
    solver.setCompliance(failure.compliance);
    double x[] = {-100, 0, 0, 0, 0, 0, 0};
    if (!solver.compute(A).ok() || !solver.solve(x, x).ok()) {
        std::printf("%s\n", solver.info().message.c_str());
        return 1;
    }
    std::printf("with a compliance the legs carry %.3f %.3f %.3f %.3f\n", -x[3], -x[4], -x[5],
                -x[6]);
    return 0;
}
