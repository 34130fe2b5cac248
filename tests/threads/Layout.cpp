// The fields of the schedule and of the locks are their interface: names, order and widths.
// Nearly all of it is checked by the compiler.

#include <kyr/ThreadSynchronization>
#include <kyrOrvel/MultifrontManager>
#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kPointer = sizeof(void*);

template <class M, class Expected> constexpr bool same = std::is_same<M, Expected>::value;

static_assert(same<decltype(kyr::SyncMutex::spinning), unsigned int>);
static_assert(same<decltype(kyr::SyncMutex::spinWord), unsigned int>);
static_assert(same<decltype(kyr::SyncMutex::mutex), OpenThreads::Mutex>);
static_assert(sizeof(kyr::SyncMutex) == 8 + sizeof(OpenThreads::Mutex)); // and nothing else
static_assert(same<decltype(kyr::SyncCondition::condition), OpenThreads::Condition>);
static_assert(same<decltype(kyr::SyncCondition::waiters), unsigned int>);
static_assert(same<decltype(kyr::SyncCondition::spinning), unsigned int>);
static_assert(sizeof(kyr::SyncCondition) == sizeof(OpenThreads::Condition) + 8);
static_assert(same<decltype(kyr::NodeSync::mutex), kyr::SyncMutex>);
static_assert(same<decltype(kyr::NodeSync::condition), kyr::SyncCondition>);
static_assert(sizeof(kyr::NodeSync) == sizeof(kyr::SyncMutex) + sizeof(kyr::SyncCondition));

/// Where a member lies; offsetof does not take the classes of OpenThreads.
template <class Object, class Member>
std::ptrdiff_t offsetIn(const Object& object, const Member& member)
{
    return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&object);
}

TEST(SyncLayout, MutexHoldsTheModeTheSpinWordAndTheBlockingMutex)
{
    const kyr::SyncMutex mutex;

    EXPECT_EQ(offsetIn(mutex, mutex.spinning), 0);
    EXPECT_EQ(offsetIn(mutex, mutex.spinWord), 4);
    EXPECT_EQ(offsetIn(mutex, mutex.mutex), 8);
}

TEST(SyncLayout, ConditionHoldsTheBlockingConditionTheWaitersAndTheMode)
{
    const kyr::SyncCondition condition;
    const std::ptrdiff_t words = sizeof(OpenThreads::Condition);

    EXPECT_EQ(offsetIn(condition, condition.condition), 0);
    EXPECT_EQ(offsetIn(condition, condition.waiters), words);
    EXPECT_EQ(offsetIn(condition, condition.spinning), words + 4);
}

TEST(SyncLayout, NodeHoldsTheMutexBeforeTheCondition)
{
    const kyr::NodeSync sync;

    EXPECT_EQ(offsetIn(sync, sync.mutex), 0);
    EXPECT_EQ(offsetIn(sync, sync.condition), std::ptrdiff_t(sizeof(kyr::SyncMutex)));
}

// The same names serve in the solver's namespace.
static_assert(same<kyrOrvel::SyncMutex, kyr::SyncMutex>);
static_assert(same<kyrOrvel::SyncCondition, kyr::SyncCondition>);
static_assert(same<kyrOrvel::NodeSync, kyr::NodeSync>);

template <class T> struct ManagerLayout {
    using M = kyrOrvel::MultifrontManager<T>;
    using Assignment = std::vector<std::pair<unsigned int, unsigned int>>;
    static_assert(std::is_standard_layout<M>::value);
    static_assert(offsetof(M, frontStorage) == 0);
    static_assert(offsetof(M, updateStorage) == kPointer);
    static_assert(offsetof(M, nodes) == 2 * kPointer);
    static_assert(offsetof(M, assignment) == 3 * kPointer);
    static_assert(offsetof(M, numNodes) == 3 * kPointer + sizeof(Assignment));
    static_assert(offsetof(M, frontStorageSize) == 3 * kPointer + sizeof(Assignment) + 4);
    static_assert(offsetof(M, updateStorageSize) == 3 * kPointer + sizeof(Assignment) + 8);
    static_assert(same<decltype(M::frontStorage), T*>);
    static_assert(same<decltype(M::updateStorage), T*>);
    static_assert(same<decltype(M::nodes), typename M::Node*>);
    static_assert(same<decltype(M::assignment), Assignment>);
    static_assert(same<decltype(M::numNodes), unsigned int>);
    static_assert(same<decltype(M::frontStorageSize), unsigned int>);
    static_assert(same<decltype(M::updateStorageSize), unsigned int>);
    static_assert(same<decltype(kyrOrvel::OrvelData<T>::multifront), M>);
    static_assert(same<decltype(&M::addUpdateToNode), void (M::*)(const kyrOrvel::SkeletonMatrix&,
                                                                  const kyrOrvel::SparseMatrix<T>&,
                                                                  unsigned long, unsigned long)>);

    using N = typename M::Node;
    static_assert(std::is_standard_layout<N>::value);
    static_assert(offsetof(N, front) == 0);
    static_assert(offsetof(N, updates) == kPointer);
    static_assert(offsetof(N, sync) == 2 * kPointer);
    static_assert(offsetof(N, parent) == 3 * kPointer);
    static_assert(offsetof(N, reserved) == 3 * kPointer + 4);
    static_assert(offsetof(N, owner) == 3 * kPointer + 12);
    static_assert(offsetof(N, done) == 3 * kPointer + 13);
    static_assert(offsetof(N, gather) == 3 * kPointer + 14);
    static_assert(same<decltype(N::front), std::vector<T*>*>);
    static_assert(same<decltype(N::updates), std::vector<typename M::UpdateEntry>*>);
    static_assert(same<decltype(N::sync), kyr::NodeSync*>);
    static_assert(same<decltype(N::parent), unsigned int>);
    static_assert(same<decltype(N::reserved), unsigned int[2]>);
    static_assert(same<decltype(N::owner), unsigned char>);
    static_assert(same<decltype(N::done), unsigned char>);
    static_assert(same<decltype(N::gather), unsigned char>);

    using E = typename M::UpdateEntry;
    static_assert(std::is_standard_layout<E>::value);
    static_assert(offsetof(E, data) == 0);
    static_assert(offsetof(E, row) == kPointer);
    static_assert(offsetof(E, column) == kPointer + 4);
    static_assert(sizeof(E) == kPointer + 8);
    static_assert(same<decltype(E::data), T*>);
    static_assert(same<decltype(E::row), unsigned int>);
    static_assert(same<decltype(E::column), unsigned int>);

    using W = kyrOrvel::MfWrapper<T>;
    static_assert(sizeof(W) == kPointer);
    static_assert(same<decltype(W::data), kyrOrvel::OrvelData<T>*>);
    static_assert(same<decltype(&W::doThreadedFactor), void (W::*)()>);
};
template struct ManagerLayout<float>;
template struct ManagerLayout<double>;

} // namespace
