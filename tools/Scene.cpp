#include "Commands.h"
#include "Report.h"
#include "Solution.h"

#include <kyrOrvelClient/MatrixFiles>
#include <kyrOrvelClient/Scenes>

#include <fmt/core.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace orvel {

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;

namespace {

using Sizes = std::vector<unsigned int>;

/// A size that a kind of scene has.
struct Size {
    const char* name;
    unsigned int smallest;
    unsigned int largest; ///< for which a scene needs no more than a few gigabytes
    unsigned int usual;
};

struct Kind {
    const char* name;
    const char* what;
    std::vector<Size> sizes;
    Scene (*make)(const Sizes& sizes);
};

template <Scene (*Make)(unsigned int)> Scene makeOf(const Sizes& sizes)
{
    return Make(sizes[0]);
}

Scene makeWallOf(const Sizes& sizes)
{
    return kyrOrvel::client::makeWall(sizes[0], sizes[1]);
}

const std::vector<Kind>& kinds()
{
    using namespace kyrOrvel::client;
    static const std::vector<Kind> all = {
        {"rope", "a hanging rope of ball joints", {{"SEGMENTS", 1, 100000, 60}}, makeOf<makeRope>},
        {"chain",
         "a hanging chain of ball joints and hinges",
         {{"LINKS", 1, 100000, 60}},
         makeOf<makeChain>},
        {"bridge",
         "a rope bridge with planks",
         {{"SEGMENTS", 2, 100000, 60}},
         makeOf<makeRopeBridge>},
        {"ragdolls", "a heap of ragdolls", {{"RAGDOLLS", 1, 5000, 20}}, makeOf<makeRagdollPile>},
        {"net", "a square net", {{"KNOTS", 2, 300, 20}}, makeOf<makeNet>},
        {"wall",
         "a brick wall with friction",
         {{"WIDTH", 1, 300, 20}, {"HEIGHT", 1, 300, 10}},
         makeWallOf},
        {"tracks", "a tank on its two tracks", {{"SHOES", 20, 50000, 80}}, makeOf<makeTracks>},
        {"lattice", "an elastic lattice, definite", {{"NODES", 1, 50, 8}}, makeOf<makeLattice>},
        {"posegraph",
         "a robot's pose graph, definite",
         {{"POSES", 1, 100000, 2500}},
         makeOf<makePoseGraph>},
        {"elasticity",
         "an elastic cube of hexahedra, definite",
         {{"NODES", 2, 50, 10}},
         makeOf<makeElasticity>},
    };
    return all;
}

/// A scene with its name: the kind and the sizes.
struct NamedScene {
    std::string name;
    Scene scene;
};

/// What is wrong with the kind or the sizes, or nothing.
std::string checkSizes(const SceneOptions& options, const Kind*& kind)
{
    std::string names;
    for (const Kind& k : kinds()) {
        if (options.kind == k.name)
            kind = &k;
        names += std::string(names.empty() ? "" : ", ") + k.name;
    }
    if (!kind)
        return fmt::format("KIND: '{}' is none of {}", options.kind, names);
    if (options.sizes.size() > kind->sizes.size())
        return fmt::format("SIZE: a scene of kind {} has {}, not {}", kind->name,
                           kind->sizes.size(), options.sizes.size());
    for (std::size_t i = 0; i < options.sizes.size(); ++i) {
        const Size& size = kind->sizes[i];
        if (options.sizes[i] < size.smallest || options.sizes[i] > size.largest)
            return fmt::format("{}: Value {} not in range {} to {}", size.name, options.sizes[i],
                               size.smallest, size.largest);
    }
    return "";
}

NamedScene makeScene(const Kind& kind, Sizes sizes)
{
    std::string name = kind.name;
    for (std::size_t i = 0; i < kind.sizes.size(); ++i) {
        if (i == sizes.size())
            sizes.push_back(kind.sizes[i].usual);
        name += fmt::format(" {}", sizes[i]);
    }
    return {name, kind.make(sizes)};
}

/// The files that a scene is written to; those beside the matrix may be left out.
struct Files {
    std::string matrix;
    std::string blocks;
    std::string rightHandSide;
};

/// Files have others beside them, devices and pipes have not.
Files filesOf(const std::string& output)
{
    const std::filesystem::path matrix = output;
    std::error_code ignored;
    if (output.empty() || std::filesystem::is_other(matrix, ignored))
        return {output, "", ""};
    return {output, std::filesystem::path(matrix).replace_extension(".blocks").string(),
            std::filesystem::path(matrix).replace_extension(".rhs").string()};
}

/// The matrix comes last: where it is, the files beside it are there, too.
Status writeFiles(const Files& files, const Scene& scene)
{
    Status status;
    if (!files.blocks.empty())
        status = kyrOrvel::client::writeBlocks(files.blocks, scene.matrix);
    if (status.ok() && !files.rightHandSide.empty())
        status = kyrOrvel::client::writeVector(files.rightHandSide, scene.rightHandSide);
    if (status.ok() && !files.matrix.empty())
        status = kyrOrvel::client::writeMatrixMarket(files.matrix, scene.matrix);
    return status;
}

int printMatrixMarket(const BlockMatrix<double>& A)
{
    std::string text;
    const Status status = kyrOrvel::client::matrixMarketText(A, text);
    if (!status.ok())
        return refuse(status.message);
    std::fwrite(text.data(), 1, text.size(), stdout); // failures are seen at the end
    return kDone;
}

void reportFiles(Report& report, const Files& files)
{
    if (!files.matrix.empty())
        report.file("matrix", "Matrix", files.matrix);
    if (!files.blocks.empty())
        report.file("blockFile", "Blocks", files.blocks);
    if (!files.rightHandSide.empty())
        report.file("rightHandSide", "Right-hand side", files.rightHandSide);
}

} // namespace

std::string describeScenes()
{
    std::string text;
    for (const Kind& kind : kinds()) {
        std::string usage = kind.name;
        std::string ranges;
        for (const Size& size : kind.sizes) {
            usage += fmt::format(" {}={}", size.name, size.usual);
            ranges +=
                fmt::format("{}{} to {}", ranges.empty() ? "" : ", ", size.smallest, size.largest);
        }
        text += fmt::format("  {:<28}{}; {}\n", usage, kind.what, ranges);
    }
    return text;
}

int runScene(const SceneOptions& options)
{
    const Kind* kind = nullptr;
    const std::string wrong = checkSizes(options, kind);
    if (!wrong.empty())
        return refuse(wrong + "; 'orvel scene --help' shows the usage");
    if (options.output == "-" && options.solve)
        return refuse("--output - leaves no room on standard output for the report of --solve");
    const Files files = filesOf(options.output == "-" ? "" : options.output);
    if (!files.matrix.empty() &&
        (files.matrix == files.blocks || files.matrix == files.rightHandSide))
        return refuse(files.matrix +
                      ": a file beside the matrix has that ending; choose another, as .mtx");

    const auto [name, scene] = makeScene(*kind, options.sizes);
    if (options.output == "-")
        return printMatrixMarket(scene.matrix);
    Status status = writeFiles(files, scene);
    if (!status.ok())
        return refuse(status.message);
    Solution solution;
    if (options.solve)
        status = computeSolution(scene.matrix, scene.rightHandSide, options.solver, solution);
    if (!status.ok()) {
        printError(name + ": " + status.message);
        return kNumericalFailure;
    }
    Report report(options.json);
    report.heading(name);

    reportMatrix(report, scene.matrix);
    if (options.solve)
        reportSolution(report, solution);
    reportFiles(report, files);
    report.finish();
    return kDone;
}

} // namespace orvel
