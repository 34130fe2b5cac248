#ifndef KYRORVEL_CLIENT_SCHEDULE_H
#define KYRORVEL_CLIENT_SCHEDULE_H

#include "TreeMapping.h"

#include <kyrOrvelClient/Status>

#include <kyr/ThreadSynchronization>
#include <kyrOrvel/Orvel>

#include <deque>
#include <memory>
#include <vector>

namespace kyrOrvel {
namespace client {

/// How the threads of a multifrontal factorization wait for each other.
enum class SyncMode { Blocking, Spinning };

/// Owns all that a MultifrontManager points to.
template <class T> class Schedule {
public:
    /// Builds the schedule of `mapping` into data.multifront. data holds the column pattern, the
    /// elimination tree and `blockSizes` in elimination order; this object has to outlive its use.
    ///
    /// Storage is counted in 64 bits before anything is made; TooLarge if it does not fit the
    /// manager's 32-bit counts.
    Status build(const TreeMapping& mapping, const std::vector<unsigned int>& blockSizes,
                 SyncMode mode, OrvelData<T>& data);

    /// Releases everything: no schedule.
    void clear();

    /// What the arrays take.
    std::uint64_t bytes() const;

private:
    using Node = typename MultifrontManager<T>::Node;
    using UpdateEntry = typename MultifrontManager<T>::UpdateEntry;

    void countStorage(const TreeMapping& mapping, const std::vector<unsigned int>& blockSizes,
                      const OrvelData<T>& data);
    void makeNodes(const TreeMapping& mapping, SyncMode mode, const OrvelData<T>& data);
    void placeBlocks(const std::vector<unsigned int>& blockSizes, const OrvelData<T>& data);

    std::uint64_t m_frontSize = 0;
    std::uint64_t m_updateSize = 0;
    std::unique_ptr<T[]> m_frontStorage;
    std::unique_ptr<T[]> m_updateStorage;
    std::vector<Node> m_nodes;
    std::vector<std::vector<T*>> m_fronts;
    std::deque<std::vector<UpdateEntry>> m_updates; ///< of the nodes whose parent has another owner
    std::deque<kyr::NodeSync> m_syncs;              ///< of the same nodes
};

/// Operations of each block column of a factor: to factor it and to form its updates.
std::vector<std::uint64_t> workPerNode(const SkeletonMatrix& columnPattern,
                                       const std::vector<unsigned int>& blockSizes);

} // namespace client
} // namespace kyrOrvel

#endif
