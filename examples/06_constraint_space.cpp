// What contact solvers iterate on: W = J·A⁻¹·Jᵀ, how contact forces move contact points while the
// joints hold exactly.

#include <kyrOrvelClient/BlockLDLT>

#include <cstdio>
#include <vector>

int main()
{
    using namespace kyrOrvel::client;

    // Two bodies in the plane (x, y), joined by a bar along x.
    BlockMatrix<double> A({2, 2, 1}, 2);
    const double light[] = {1, 0, 0, 1}, heavy[] = {4, 0, 0, 4};
    const double along[] = {1, 0}, against[] = {-1, 0};
    A.add(0, 0, light);
    A.add(1, 1, heavy);
    A.add(2, 0, along);
    A.add(2, 1, against);

    BlockLDLT<double> solver;
    if (!solver.compute(A).ok()) {
        std::printf("%s\n", solver.info().message.c_str());
        return 1;
    }

    // Contacts: the light body against a wall in x, either body on the floor in y.
    const double x[] = {1, 0}, y[] = {0, 1};
    const std::vector<JacobianRow<double>> J = {{{{0, x}}}, {{{0, y}}}, {{{1, y}}}};
    std::vector<double> W(J.size() * J.size());
    solver.constraintSpace(J, W.data());
    for (std::size_t i = 0; i < J.size(); ++i)
        std::printf("%5.2f %5.2f %5.2f\n", W[3 * i], W[3 * i + 1], W[3 * i + 2]);
    return 0;
}
