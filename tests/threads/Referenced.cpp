#include <kyr/Referenced>

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

using kyr::Referenced;

namespace {

/// Says when it is deleted.
class Watched : public Referenced {
public:
    explicit Watched(int& deletions) : m_deletions(deletions) {}
    ~Watched() override { ++m_deletions; }

private:
    int& m_deletions;
};

static_assert(std::has_virtual_destructor<Referenced>::value);
static_assert(!std::is_copy_constructible<Referenced>::value);
static_assert(!std::is_copy_assignable<Referenced>::value);

TEST(Referenced, FreshObjectHasNoReference)
{
    const Referenced object;

    EXPECT_EQ(object.referenceCount(), 0);
}

TEST(Referenced, EveryReferenceCounts)
{
    Referenced object;

    EXPECT_EQ(object.ref(), 1);
    EXPECT_EQ(object.ref(), 2);
    EXPECT_EQ(object.ref(), 3);
    EXPECT_EQ(object.referenceCount(), 3);
    EXPECT_EQ(object.unref(), 2);
    EXPECT_EQ(object.referenceCount(), 2);
}

TEST(Referenced, LastReferenceDeletesTheObject)
{
    int deletions = 0;
    auto* const object = new Watched(deletions);
    object->ref();
    object->ref();

    object->unref();
    EXPECT_EQ(deletions, 0);
    EXPECT_EQ(object->unref(), 0);

    EXPECT_EQ(deletions, 1);
}

TEST(Referenced, DestructorOfTheDerivedClassRunsThroughTheBase)
{
    int deletions = 0;
    Referenced* const object = new Watched(deletions);

    delete object;

    EXPECT_EQ(deletions, 1);
}

TEST(Referenced, ReferencesOfManyThreadsAreAllCounted)
{
    Referenced object;
    const int kRounds = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&object] {
            for (int i = 0; i < kRounds; ++i)
                object.ref();
            for (int i = 1; i < kRounds; ++i)
                object.unref();
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(object.referenceCount(), 4);
}

TEST(Referenced, WhicheverThreadDropsTheLastReferenceTheObjectEndsOnce)
{
    for (int round = 0; round < 200; ++round) {
        int deletions = 0;
        auto* const object = new Watched(deletions);
        object->ref();
        object->ref();

        std::thread one([object] { object->unref(); });
        std::thread two([object] { object->unref(); });
        one.join();
        two.join();

        ASSERT_EQ(deletions, 1) << "round " << round;
    }
}

// With a delete handler

std::vector<Referenced*> s_handedOver;

void keep(Referenced* object)
{
    s_handedOver.push_back(object);
}

class ReferencedWithDeleteHandler : public testing::Test {
protected:
    ReferencedWithDeleteHandler()
    {
        s_handedOver.clear();
        Referenced::setDeleteHandler(keep);
    }
    ~ReferencedWithDeleteHandler() override { Referenced::setDeleteHandler(nullptr); }
};

TEST_F(ReferencedWithDeleteHandler, LastReferenceHandsTheObjectOver)
{
    int deletions = 0;
    auto* const object = new Watched(deletions);
    object->ref();
    object->ref();

    object->unref();
    EXPECT_TRUE(s_handedOver.empty());
    EXPECT_EQ(object->unref(), 0);

    EXPECT_EQ(s_handedOver, std::vector<Referenced*>{object});
    EXPECT_EQ(deletions, 0);
    delete s_handedOver.front();
    EXPECT_EQ(deletions, 1);
}

TEST_F(ReferencedWithDeleteHandler, WithoutItObjectsAreDeletedAgain)
{
    int deletions = 0;
    auto* const object = new Watched(deletions);
    object->ref();
    Referenced::setDeleteHandler(nullptr);

    object->unref();

    EXPECT_TRUE(s_handedOver.empty());
    EXPECT_EQ(deletions, 1);
}

} // namespace
