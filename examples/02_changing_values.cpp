// A pendulum that swings: every frame has new values on the same pattern, so it is analysed once.
//
//     | M   Gᵀ | · | v |  =  | M·v + h·f |      G = the direction of the rod,
//     | G   0  |   | λ |     |    -e/h   |      e = how much too long it is

#include <kyrOrvelClient/BlockLDLT>

#include <cmath>
#include <cstdio>

int main()
{
    using namespace kyrOrvel::client;

    const double mass = 2, gravity = -10, step = 1.0 / 64, length = 1;
    double position[] = {1, 0}, velocity[] = {0, 0};

    BlockMatrix<double> A({2, 1}, 1);
    double* const M = A.block(0, 0); // pointers into the matrix stay valid
    double* const G = A.block(1, 0);
    M[0] = M[3] = mass;

    BlockLDLT<double> solver;
    solver.analyzePattern(A);

    for (int frame = 0; frame < 64; ++frame) {
        const double distance = std::hypot(position[0], position[1]);
        G[0] = position[0] / distance;
        G[1] = position[1] / distance;
        double x[] = {mass * velocity[0], mass * (velocity[1] + step * gravity),
                      (length - distance) / step};
        if (!solver.factorize(A).ok() || !solver.solve(x, x).ok()) {
            std::printf("%s\n", solver.info().message.c_str());
            return 1;
        }
        for (int i = 0; i < 2; ++i) {
            velocity[i] = x[i];
            position[i] += step * x[i];
        }
        if (frame % 16 == 15)
            std::printf("frame %2d: (%6.3f, %6.3f), pull of the rod %5.1f\n", frame + 1,
                        position[0], position[1], x[2] / step);
    }
    return 0;
}
