#include <kyrOrvelClient/Scenes>

#include "RandomNumbers.h"
#include "Vector3.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace kyrOrvel {
namespace client {

namespace {

constexpr unsigned int kSize = 6;
constexpr double kStep = 1; // m, of the walk at the sphere's equator
constexpr double kFullTurn = 6.283185307179586;

/// How well something is measured, as standard deviations.
struct Accuracy {
    double place; // m
    double turn;  // rad
};
constexpr Accuracy kOdometry = {0.05, 0.01};
constexpr Accuracy kLoopClosure = {0.1, 0.02};
constexpr Accuracy kAnchor = {0.01, 0.002};

/// Where the robot is, and the directions of its own axes.
struct Pose {
    Vector3 place;
    std::array<Vector3, 3> axes;
};

/// Poses in a lap: a power of two, 4 at least, for which laps lie about as far apart as poses do.
unsigned int lapOf(unsigned int poses)
{
    unsigned int lap = 4;
    while (double(lap) * lap < 2.0 * poses)
        lap *= 2;
    return lap;
}

/// A spiral on a sphere from pole to pole; the robot looks along it and stands upright.
std::vector<Pose> makeWalk(unsigned int poses, unsigned int lap)
{
    double cosine = 0; // of the turn between poses, by halving a quarter turn
    double sine = 1;
    for (unsigned int n = 4; n < lap; n *= 2) {
        cosine = std::sqrt((1 + cosine) / 2);
        sine = sine / (2 * cosine);
    }
    const double radius = kStep * lap / kFullTurn;
    std::vector<Pose> walk;
    double x = 1;
    double y = 0;
    for (unsigned int i = 0; i < poses; ++i) {
        if (i % lap == 0) { // rounding does not add up from lap to lap
            x = 1;
            y = 0;
        }
        const double z = (2.0 * i + 1) / poses - 1;
        const double around = std::sqrt(1 - z * z);
        const Vector3 up = {around * x, around * y, z};
        const Vector3 ahead = {-y, x, 0};
        walk.push_back({multiple(radius, up), {ahead, cross(up, ahead), up}});
        const double turned = cosine * x - sine * y;
        y = sine * x + cosine * y;
        x = turned;
    }
    return walk;
}

double dot(const Vector3& a, const Vector3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

using Matrix6 = std::array<std::array<double, kSize>, kSize>;

/// What a small motion of `from`, linear then angular in its own axes, is in the axes and at the
/// place of `to`: [R, p×R; 0, R].
Matrix6 motionSeenFrom(const Pose& to, const Pose& from)
{
    const Vector3 between = difference(from.place, to.place);
    Matrix6 result{};
    for (unsigned int j = 0; j < 3; ++j) {
        const Vector3 lever = cross(between, from.axes[j]);
        for (unsigned int i = 0; i < 3; ++i) {
            result[i][j] = result[3 + i][3 + j] = dot(to.axes[i], from.axes[j]);
            result[i][3 + j] = dot(to.axes[i], lever);
        }
    }
    return result;
}

/// Gathers the normal equations Σ Jᵀ·W·J·δ = -Σ Jᵀ·W·e of small corrections δ of the poses.
class NormalEquations {
public:
    explicit NormalEquations(std::vector<Pose> walk)
        : m_walk(std::move(walk)),
          m_scene{BlockMatrix<double>(
                      std::vector<unsigned int>(static_cast<unsigned int>(m_walk.size()), kSize)),
                  {},
                  {},
                  {}}
    {
        m_scene.rightHandSide.resize(m_scene.matrix.dimension());
    }

    /// Pose i as measured from outside.
    void anchor(unsigned int i, const Accuracy& accuracy)
    {
        addWeights(i, weightsOf(accuracy));
        subtract(weightedError(accuracy), i);
        m_scene.anchors.push_back(m_walk[i].place);
    }

    /// Pose j as measured from pose i, i < j. The error changes by δ(j) - S·δ(i), where S shows the
    /// motion of i as j sees it.
    void measure(unsigned int i, unsigned int j, const Accuracy& accuracy)
    {
        const std::array<double, kSize> weights = weightsOf(accuracy);
        const Matrix6 S = motionSeenFrom(m_walk[j], m_walk[i]);
        double* const diagonal = m_scene.matrix.block(i, i);
        double* const coupling = m_scene.matrix.block(j, i);
        for (unsigned int k = 0; k < kSize; ++k)
            for (unsigned int a = 0; a < kSize; ++a) {
                coupling[k * kSize + a] -= weights[k] * S[k][a];
                for (unsigned int b = 0; b < kSize; ++b)
                    diagonal[a * kSize + b] += weights[k] * (S[k][a] * S[k][b]);
            }
        addWeights(j, weights);
        const std::array<double, kSize> error = weightedError(accuracy);
        subtract(error, j);
        double* const bi = &m_scene.rightHandSide[m_scene.matrix.blockOffset(i)];
        for (unsigned int k = 0; k < kSize; ++k)
            for (unsigned int a = 0; a < kSize; ++a)
                bi[a] += S[k][a] * error[k];
    }

    Scene finish()
    {
        for (std::size_t i = 0; i + 1 < m_walk.size(); ++i)
            m_scene.bodies.push_back({m_walk[i].place, m_walk[i + 1].place});
        return std::move(m_scene);
    }

private:
    static std::array<double, kSize> weightsOf(const Accuracy& accuracy)
    {
        const double place = 1 / (accuracy.place * accuracy.place);
        const double turn = 1 / (accuracy.turn * accuracy.turn);
        return {place, place, place, turn, turn, turn};
    }

    void addWeights(unsigned int i, const std::array<double, kSize>& weights)
    {
        double* const diagonal = m_scene.matrix.block(i, i);
        for (unsigned int k = 0; k < kSize; ++k)
            diagonal[k * kSize + k] += weights[k];
    }

    /// W·e with an error of up to one standard deviation.
    std::array<double, kSize> weightedError(const Accuracy& accuracy)
    {
        std::array<double, kSize> error{};
        for (unsigned int k = 0; k < kSize; ++k)
            error[k] = m_random.next() / (k < 3 ? accuracy.place : accuracy.turn);
        return error;
    }

    void subtract(const std::array<double, kSize>& error, unsigned int i)
    {
        for (unsigned int k = 0; k < kSize; ++k)
            m_scene.rightHandSide[m_scene.matrix.blockOffset(i) + k] -= error[k];
    }

    std::vector<Pose> m_walk;
    Scene m_scene;
    RandomNumbers m_random;
};

} // namespace

Scene makePoseGraph(unsigned int poses)
{
    poses = std::max(poses, 1u);
    const unsigned int lap = lapOf(poses);
    NormalEquations equations(makeWalk(poses, lap));
    equations.anchor(0, kAnchor);
    RandomNumbers random;
    const auto oneInFour = [&random] { return random.next() < -0.5; };
    for (unsigned int j = 1; j < poses; ++j) {
        equations.measure(j - 1, j, kOdometry);
        if (j > lap && oneInFour())
            equations.measure(j - lap - 1, j, kLoopClosure);
        if (j >= lap)
            equations.measure(j - lap, j, kLoopClosure);
        if (j >= lap && oneInFour())
            equations.measure(j - lap + 1, j, kLoopClosure);
    }
    return equations.finish();
}

} // namespace client
} // namespace kyrOrvel
