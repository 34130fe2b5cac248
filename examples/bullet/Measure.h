#ifndef BULLET_MEASURE_H
#define BULLET_MEASURE_H

#include "Solver.h"
#include "World.h"

#include <functional>
#include <string>
#include <vector>

namespace bulletjoints {

/// Where a picture looks, in metres.
struct SceneView {
    double x; ///< in the middle
    double y;
    double width; ///< that have to be seen at least
    double height;
    bool ground = false; ///< at y = 0
};

/// A scene and how it is run.
struct Scene {
    std::string name;
    std::string title;
    std::function<void(World&)> build;
    int rate;            ///< steps per second
    double seconds;      ///< how long
    double frameSeconds; ///< when the picture is taken
    SceneView view;
};

/// Who solves.
struct Method {
    std::string name;
    bool direct;
    int iterations; ///< of Bullet's; a direct solver spends them on contacts and limits
    Turns turns = {};
};

/// The shape of a body for drawing: a line with round ends.
struct Bone {
    btVector3 from;
    btVector3 to;
    btScalar radius;
};

/// What is to be seen at one time.
struct Frame {
    std::vector<Bone> bones; ///< of bodies that move
    std::vector<Pin> pins;   ///< where a and b are null: inA and inB are places in the world
};

/// What one method did to one scene.
struct Run {
    std::vector<Drift> drift; ///< after each step
    double medianMilliseconds = 0;
    double deepest = 0;  ///< penetration of the worst contact over the run's second half, m
    std::string message; ///< of a solver that met a redundant joint
    Frame frame;

    double largestDrift() const;
    double settledDrift() const; ///< the largest of the last quarter of the steps
    double rmsDrift() const;     ///< over all joints and steps
    double medianDrift() const;  ///< half of the steps have an RMS drift below this
};

/// Runs a scene; times are the processor's for whole steps, collisions
/// included: other programs on the machine count less than in wall-clock times.
Run measure(const Scene& scene, const Method& method);

} // namespace bulletjoints

#endif
