// Joint drift and time per step of Bullet's own solver and of one that solves joints directly.

#include "Results.h"
#include "Scenes.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

using namespace bulletjoints;

const char* precision()
{
    return sizeof(btScalar) == sizeof(float) ? "float32" : "float64";
}

std::vector<Scene> scenes()
{
    return {
        {"chain",
         "Chain, 200 links, 1000:1",
         [](World& world) { buildChain(world, 200, 1000); },
         240,
         5,
         4,
         {62, -122, 270, 270}},
        {"bridge",
         "Rope bridge, 60 planks, load",
         [](World& world) { buildBridge(world, 60); },
         240,
         5,
         0.75,
         {0, -3.9, 8, 4}},
        {"ragdolls",
         "Pile of 30 ragdolls",
         [](World& world) { buildRagdolls(world, 30); },
         60,
         5,
         1.5,
         {0, 0.45, 5.4, 4, true}},
    };
}

std::vector<Method> methods()
{
    return {{"Bullet (10 iterations)", false, 10},
            {"Bullet (50 iterations)", false, 50},
            {"Bullet (250 iterations)", false, 250},
            {"direct joints", true, 10}};
}

/// Ways for joints and contacts to take turns, to be compared on the ragdolls.
std::vector<Method> turns()
{
    return {{"joints after every iteration", true, 10, {1, true}},
            {"after every iteration but the last", true, 10, {1, false}},
            {"after every 2nd", true, 10, {2, true}},
            {"after every 5th", true, 10, {5, true}},
            {"first and last", true, 10, {10, true}},
            {"first only", true, 10, {10, false}}};
}

void report(const Scene& scene, const Method& method, const Run& run)
{
    std::printf("%-9s %-34s drift max %8s  median %8s  settled %8s  depth %7s  %6.2f ms per step\n",
                scene.name.c_str(), method.name.c_str(), lengthText(run.largestDrift()).c_str(),
                lengthText(run.medianDrift()).c_str(), lengthText(run.settledDrift()).c_str(),
                lengthText(run.deepest).c_str(), run.medianMilliseconds);
    if (!run.message.empty())
        std::printf("          redundant, so solved a little softer: %s\n", run.message.c_str());
    std::fflush(stdout);
}

Results measureAll(std::vector<Scene> which, std::vector<Method> how)
{
    Results results = {precision(), std::move(how), {}};
    for (Scene& scene : which) {
        Result result = {std::move(scene), {}};
        for (const Method& method : results.methods) {
            result.runs.push_back(measure(result.scene, method));
            report(result.scene, method, result.runs.back());
        }
        results.scenes.push_back(std::move(result));
    }
    return results;
}

int fail(const std::string& path)
{
    std::fprintf(stderr, "cannot write %s*: does the folder exist?\n", path.c_str());
    return 1;
}

int usage(const char* program)
{
    std::fprintf(stderr,
                 "usage: %s [--turns] [FOLDER]\n"
                 "  FOLDER   where CSV files and pictures go; the current one by default\n"
                 "  --turns  compare ways for joints and contacts to take turns instead\n",
                 program);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    bool compareTurns = false;
    std::string folder = ".";
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--turns") == 0)
            compareTurns = true;
        else if (argv[i][0] != '-')
            folder = argv[i];
        else
            return usage(argv[0]);
    }
    const std::string prefix = folder + "/bullet-" + precision();
    if (compareTurns) {
        const Results results = measureAll({scenes().back()}, turns());
        return writeSummary(results, prefix + "-turns.csv") ? 0 : fail(prefix);
    }
    const Results results = measureAll(scenes(), methods());
    const bool written = writeSummary(results, prefix + "-summary.csv") &&
                         writeDrift(results, prefix + "-drift.csv") &&
                         drawCurves(results, prefix + "-curves.png") &&
                         drawFrames(results, prefix + "-frames.png");
    return written ? 0 : fail(prefix);
}
