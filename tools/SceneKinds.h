#ifndef ORVEL_SCENE_KINDS_H
#define ORVEL_SCENE_KINDS_H

#include <kyrOrvelClient/Scenes>

#include <functional>
#include <string>
#include <vector>

namespace orvel {

/// A scene that can be made.
struct SceneKind {
    std::string name; ///< the kind and its sizes
    std::function<kyrOrvel::client::Scene()> make;
};

/// Finds a kind of scene by its name.
///
/// @param sizes  as many as given, in digits; the kind has its own for the rest
/// @return       what is wrong with the kind or the sizes, or nothing
std::string findScene(const std::string& kind, const std::vector<std::string>& sizes,
                      SceneKind& found);

} // namespace orvel

#endif
