// Two bodies, hung on each other by a rod, solved for their accelerations and the rod's force.
//
//     | M  Gᵀ | · | a |  =  | f |
//     | G  0  |   | λ |     | 0 |

#include <kyrOrvelClient/BlockLDLT>

#include <cstdio>

int main()
{
    using namespace kyrOrvel::client;

    // Blocks 0 and 1 are bodies of two coordinates; block 2 is a constraint with a zero diagonal.
    BlockMatrix<double> A({2, 2, 1}, 2);
    const double mass[] = {4, 0, 0, 4};
    const double along[] = {1, 0}, against[] = {-1, 0};
    A.add(0, 0, mass);
    A.add(1, 1, mass);
    A.add(2, 0, along);
    A.add(2, 1, against);

    BlockLDLT<double> solver;
    double x[] = {8, 0, 0, 4, 0}; // forces on the bodies; replaced by the solution
    if (!solver.compute(A).ok() || !solver.solve(x, x).ok()) {
        std::printf("%s\n", solver.info().message.c_str());
        return 1;
    }
    std::printf("body 0: (%g, %g)  body 1: (%g, %g)  rod: %g\n", x[0], x[1], x[2], x[3], x[4]);
    return 0;
}
