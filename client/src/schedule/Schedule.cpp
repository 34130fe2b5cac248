#include "Schedule.h"

#include <cstddef>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

constexpr std::uint64_t kMaxCount = 0xFFFFFFFEu;

// Work is counted in multiply-subtracts of an update, about a third of a nanosecond each. What else
// a node takes, in that unit: fitted to the times of bridges, ropes, nets, ragdoll piles and
// lattices, which it explains to about 20 % per node. Operation counts alone are off by up to a
// factor of four between scenes of small blocks and of large fronts.
constexpr std::uint64_t kPerNode = 100;
constexpr std::uint64_t kPerBlock = 10;  ///< below the diagonal
constexpr std::uint64_t kPerUpdate = 28; ///< a pair of blocks, however small
constexpr std::uint64_t kPerSubstitution =
    3; ///< a step of a substitution, which waits for the last

/// The entries of a node's column pattern below the node itself.
struct Ancestors {
    const unsigned int* begin;
    const unsigned int* end;
};

Ancestors ancestorsOf(const SkeletonMatrix& pattern, unsigned int node)
{
    return {pattern.columnIndices + pattern.rowStart[node] + 1,
            pattern.columnIndices + pattern.rowStart[node + 1]};
}

/// Whether the node's updates cross to another thread.
bool isBorder(const TreeMapping& mapping, const EliminationTree& tree, unsigned int node)
{
    return mapping.owner[tree.parent[node]] != mapping.owner[node];
}

} // namespace

std::vector<std::uint64_t> workPerNode(const SkeletonMatrix& columnPattern,
                                       const std::vector<unsigned int>& blockSizes)
{
    std::vector<std::uint64_t> work(columnPattern.numBlockRows);
    for (unsigned int k = 0; k < columnPattern.numBlockRows; ++k) {
        const std::uint64_t width = blockSizes[k];
        std::uint64_t height = 0;
        std::uint64_t squares = 0;
        const Ancestors ancestors = ancestorsOf(columnPattern, k);
        for (const unsigned int* r = ancestors.begin; r != ancestors.end; ++r) {
            height += blockSizes[*r];
            squares += std::uint64_t(blockSizes[*r]) * blockSizes[*r];
        }
        const auto blocks = static_cast<std::uint64_t>(ancestors.end - ancestors.begin);
        work[k] = kPerNode + kPerBlock * blocks + kPerUpdate * (blocks * (blocks + 1) / 2) +
                  width * ((height * height + squares) / 2) +
                  kPerSubstitution * width * width * (width + height);
    }
    return work;
}

template <class T>
Status Schedule<T>::build(const TreeMapping& mapping, const std::vector<unsigned int>& blockSizes,
                          SyncMode mode, OrvelData<T>& data)
{
    countStorage(mapping, blockSizes, data);
    if (m_frontSize > kMaxCount || m_updateSize > kMaxCount)
        return {StatusCode::TooLarge,
                "the fronts need " + std::to_string(m_frontSize) + " scalars and the updates " +
                    std::to_string(m_updateSize) +
                    ", more than the solver can count to; factor "
                    "serially or with fewer threads",
                kNone, kNone};
    m_frontStorage.reset(new T[m_frontSize]);
    m_updateStorage.reset(new T[m_updateSize]);
    makeNodes(mapping, mode, data);
    placeBlocks(blockSizes, data);

    MultifrontManager<T>& manager = data.multifront;
    manager.frontStorage = m_frontStorage.get();
    manager.updateStorage = m_updateStorage.get();
    manager.nodes = m_nodes.data();
    manager.assignment = mapping.assignment;
    manager.numNodes = static_cast<unsigned int>(m_nodes.size());
    manager.frontStorageSize = static_cast<unsigned int>(m_frontSize);
    manager.updateStorageSize = static_cast<unsigned int>(m_updateSize);
    return {};
}

template <class T> void Schedule<T>::clear()
{
    *this = Schedule();
}

template <class T> std::uint64_t Schedule<T>::bytes() const
{
    std::uint64_t entries = 0;
    for (const auto& updates : m_updates)
        entries += updates.size();
    std::uint64_t blocks = 0;
    for (const auto& fronts : m_fronts)
        blocks += fronts.size();
    return (m_frontSize + m_updateSize) * sizeof(T) + entries * sizeof(UpdateEntry) +
           blocks * sizeof(T*) + m_nodes.size() * (sizeof(Node) + sizeof(m_fronts[0])) +
           m_syncs.size() * sizeof(kyr::NodeSync);
}

template <class T>
void Schedule<T>::countStorage(const TreeMapping& mapping,
                               const std::vector<unsigned int>& blockSizes,
                               const OrvelData<T>& data)
{
    m_frontSize = 0;
    m_updateSize = 0;
    const SkeletonMatrix& pattern = data.columnPattern;
    for (unsigned int k = 0; k < pattern.numBlockRows; ++k) {
        const std::uint64_t width = blockSizes[k];
        std::uint64_t height = 0;
        std::uint64_t squares = 0;
        const Ancestors ancestors = ancestorsOf(pattern, k);
        for (const unsigned int* r = ancestors.begin; r != ancestors.end; ++r) {
            height += blockSizes[*r];
            squares += std::uint64_t(blockSizes[*r]) * blockSizes[*r];
        }
        m_frontSize += width * (width + height);
        if (isBorder(mapping, data.eliminationTree, k))
            m_updateSize += (height * height + squares) / 2; // blocks (c, r), c >= r
    }
}

template <class T>
void Schedule<T>::makeNodes(const TreeMapping& mapping, SyncMode mode, const OrvelData<T>& data)
{
    const unsigned int n = data.columnPattern.numBlockRows;
    const EliminationTree& tree = data.eliminationTree;
    m_nodes.assign(n, Node{});
    m_fronts.assign(n, {});
    m_updates.clear();
    m_syncs.clear();
    for (unsigned int k = 0; k < n; ++k) {
        Node& node = m_nodes[k];
        node.front = &m_fronts[k];
        node.parent = tree.parent[k];
        node.owner = mapping.owner[k];
        if (!isBorder(mapping, tree, k))
            continue;
        node.updates = &m_updates.emplace_back();
        node.sync = &m_syncs.emplace_back();
        node.sync->mutex.spinning = mode == SyncMode::Spinning;
        node.sync->condition.spinning = mode == SyncMode::Spinning;
        m_nodes[tree.parent[k]].gather = 1;
    }
}

template <class T>
void Schedule<T>::placeBlocks(const std::vector<unsigned int>& blockSizes, const OrvelData<T>& data)
{
    const SkeletonMatrix& pattern = data.columnPattern;
    T* nextFront = m_frontStorage.get();
    T* nextUpdate = m_updateStorage.get();
    for (unsigned int k = 0; k < pattern.numBlockRows; ++k) {
        const Ancestors ancestors = ancestorsOf(pattern, k);
        m_fronts[k].reserve(static_cast<std::size_t>(ancestors.end - ancestors.begin) + 1);
        for (const unsigned int* r = ancestors.begin - 1; r != ancestors.end; ++r) {
            m_fronts[k].push_back(nextFront);
            nextFront += std::size_t(blockSizes[*r]) * blockSizes[k];
        }
        if (!m_nodes[k].updates)
            continue;
        for (const unsigned int* r = ancestors.begin; r != ancestors.end; ++r)
            for (const unsigned int* c = r; c != ancestors.end; ++c) {
                m_nodes[k].updates->push_back({nextUpdate, *c, *r});
                nextUpdate += std::size_t(blockSizes[*c]) * blockSizes[*r];
            }
    }
}

template class Schedule<float>;
template class Schedule<double>;

} // namespace client
} // namespace kyrOrvel
