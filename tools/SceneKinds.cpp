#include "SceneKinds.h"

#include "Commands.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <system_error>

namespace orvel {

using kyrOrvel::client::Scene;

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

/// The kinds' names: "rope, chain, ...".
std::string namesOfKinds()
{
    std::string names;
    for (const Kind& kind : kinds())
        names += std::string(names.empty() ? "" : ", ") + kind.name;
    return names;
}

/// Whether this is a size, and no more than that.
bool readSize(const std::string& given, const Size& size, unsigned int& value)
{
    const char* const end = given.data() + given.size();
    const auto read = std::from_chars(given.data(), end, value);
    return read.ec == std::errc() && read.ptr == end && value >= size.smallest &&
           value <= size.largest;
}

/// Reads the sizes that are given, and adds the usual ones for the rest.
///
/// @return  what is wrong with them, or nothing
std::string readSizes(const Kind& kind, const std::vector<std::string>& given, Sizes& sizes)
{
    if (given.size() > kind.sizes.size())
        return fmt::format("SIZE: a scene of kind {} has {} size{}, not {}", kind.name,
                           kind.sizes.size(), kind.sizes.size() == 1 ? "" : "s", given.size());
    for (std::size_t i = 0; i < kind.sizes.size(); ++i) {
        const Size& size = kind.sizes[i];
        sizes.push_back(size.usual);
        if (i < given.size() && !readSize(given[i], size, sizes[i]))
            return fmt::format("{}: '{}' is not a whole number from {} to {}", size.name, given[i],
                               size.smallest, size.largest);
    }
    return "";
}

constexpr char kUsage[] = "; 'orvel scene --help' lists the kinds and their sizes";

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

std::string findScene(const std::string& kind, const std::vector<std::string>& sizes,
                      SceneKind& found)
{
    const auto at = std::find_if(kinds().begin(), kinds().end(),
                                 [&](const Kind& known) { return kind == known.name; });
    if (at == kinds().end())
        return fmt::format("KIND: '{}' is none of {}{}", kind, namesOfKinds(), kUsage);
    Sizes all;
    const std::string wrong = readSizes(*at, sizes, all);
    if (!wrong.empty())
        return wrong + kUsage;
    std::string name = at->name;
    for (const unsigned int size : all)
        name += fmt::format(" {}", size);
    found = {name, [make = at->make, all] { return make(all); }};
    return "";
}

} // namespace orvel
