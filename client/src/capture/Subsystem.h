#ifndef KYRORVEL_CLIENT_SUBSYSTEM_H
#define KYRORVEL_CLIENT_SUBSYSTEM_H

#include <kyrOrvelClient/Capture>

#include <vector>

namespace kyrOrvel {
namespace client {

/// The rows and columns of some blocks, with what belongs to them of right-hand side, compliances
/// and order. Blocks have the ids that they have in the whole.
///
/// @param kept  numbers of the blocks, ascending
template <class T>
CapturedSystem<T> subsystem(const CapturedSystem<T>& whole, const std::vector<unsigned int>& kept);

} // namespace client
} // namespace kyrOrvel

#endif
