#ifndef BULLET_RESULTS_H
#define BULLET_RESULTS_H

#include "Measure.h"

#include <string>
#include <vector>

namespace bulletjoints {

/// A scene and what each method did to it, in the order of the methods.
struct Result {
    Scene scene;
    std::vector<Run> runs;
};

struct Results {
    std::string precision; ///< of Bullet's scalar, as "float32"
    std::vector<Method> methods;
    std::vector<Result> scenes;
};

// Each writes a file and returns whether it could.

/// One line per scene and method.
bool writeSummary(const Results& results, const std::string& path);

/// One line per scene, method and step.
bool writeDrift(const Results& results, const std::string& path);

/// Per scene the drift over time, and the drift against the time per step.
bool drawCurves(const Results& results, const std::string& path);

/// Per scene what the first and the last method made of it.
bool drawFrames(const Results& results, const std::string& path);

/// As "0.53 m", "28 mm", "9.7 µm".
std::string lengthText(double metres);

} // namespace bulletjoints

#endif
