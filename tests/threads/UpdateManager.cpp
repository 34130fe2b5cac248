#include "UpdateModel.h"

#include "support/Scalars.h"

using support::Random;
using support::Rows;
using threads::addUpdate;
using threads::makeModel;
using threads::plainAddUpdate;
using threads::sameModel;
using threads::Update;
using threads::UpdateModel;

namespace {

using Owners = std::vector<unsigned char>;

/// A model of 1 × 1 blocks in which everything is 0.
template <class T> UpdateModel<T> zeroModel(const Rows& lower, const Owners& owners)
{
    Random random(1);
    UpdateModel<T> model = makeModel<T>(lower, support::Sizes(lower.size(), 1), owners, random);
    for (auto& front : model.fronts)
        for (auto& block : front)
            block = {T(0)};
    for (auto& list : model.lists)
        for (auto& update : list)
            update.values = {T(0)};
    return model;
}

/// Gives the entries of a list the values 1, 2, 4, ...: every sum tells what it is made of.
template <class T> void fillWithPowers(std::vector<Update<T>>& list)
{
    T value = 1;
    for (Update<T>& update : list) {
        update.values = {value};
        value = 2 * value;
    }
}

/// The values of a front of 1 × 1 blocks.
template <class T> std::vector<T> frontOf(const UpdateModel<T>& model, unsigned int k)
{
    std::vector<T> values;
    for (const auto& block : model.fronts[k])
        values.push_back(block.at(0));
    return values;
}

template <class T> std::vector<T> listOf(const UpdateModel<T>& model, unsigned int k)
{
    std::vector<T> values;
    for (const auto& update : model.lists[k])
        values.push_back(update.values.at(0));
    return values;
}

template <class T> using V = std::vector<T>;

template <class T> class AddUpdateToNode : public testing::Test {
};
TYPED_TEST_SUITE(AddUpdateToNode, support::Scalars);

// X
// . X    node 0 has nothing above it
TYPED_TEST(AddUpdateToNode, ChildWithoutAncestorsAddsNothing)
{
    Random random(2);
    const auto before =
        makeModel<TypeParam>(support::drawnRows({"X", ". X"}), {2, 3}, {0, 1}, random);
    auto model = before;

    addUpdate(model, 1, 0);

    EXPECT_TRUE(sameModel(model, before));
}

// X        0 goes to 1 only; 1 goes on to 2
// X X
// . X X
TYPED_TEST(AddUpdateToNode, SingleAncestorAddsToTheDiagonalFrontOfTheNodeOnly)
{
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X"}), {1, 0, 2});
    model.lists[0][0].values = {T(5)};
    model.fronts[1] = {{T(10)}, {T(20)}};

    addUpdate(model, 1, 0);

    EXPECT_EQ(frontOf(model, 1), (V<T>{15, 20}));
    EXPECT_EQ(listOf(model, 1), V<T>{0});
    EXPECT_EQ(frontOf(model, 2), V<T>{0});
}

// X              the column of 0 is 0 1 3 4,
// X X            that of 1 is 1 2 3 4
// . X X
// X X X X
// X X X X X
TYPED_TEST(AddUpdateToNode, AllAncestorsOfOneOwnerTakeTheRowsIntoTheirFronts)
{
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X", "X . . X", "X . . . X"}),
                              {1, 0, 0, 0, 0});
    fillWithPowers(model.lists[0]); // (1,1) (3,1) (4,1) (3,3) (4,3) (4,4)

    addUpdate(model, 1, 0);

    EXPECT_EQ(frontOf(model, 1), (V<T>{1, 0, 2, 4})); // entries 1 2 3 4
    EXPECT_EQ(frontOf(model, 2), (V<T>{0, 0, 0}));
    EXPECT_EQ(frontOf(model, 3), (V<T>{8, 16}));
    EXPECT_EQ(frontOf(model, 4), V<T>{32});
}

// The same tree; 3 and 4 are another's: the border is 2, which is not an ancestor entry of 0.
TYPED_TEST(AddUpdateToNode, RestGoesToTheListOfTheLastNodeBelowTheBorder)
{
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X", "X . . X", "X . . . X"}),
                              {1, 0, 0, 2, 2});
    fillWithPowers(model.lists[0]); // (1,1) (3,1) (4,1) (3,3) (4,3) (4,4)

    addUpdate(model, 1, 0);

    EXPECT_EQ(frontOf(model, 1), (V<T>{1, 0, 2, 4}));
    EXPECT_EQ(listOf(model, 2), (V<T>{8, 16, 32})); // (3,3) (4,3) (4,4)
    EXPECT_EQ(frontOf(model, 3), (V<T>{0, 0}));
    EXPECT_EQ(frontOf(model, 4), V<T>{0});
}

// The same tree; the way leaves the owner at 2, between two entries, and comes back above it.
TYPED_TEST(AddUpdateToNode, WayThatComesBackToTheOwnerHasLeftItAllTheSame)
{
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X", "X . . X", "X . . . X"}),
                              {1, 0, 2, 0, 0});
    fillWithPowers(model.lists[0]); // (1,1) (3,1) (4,1) (3,3) (4,3) (4,4)

    addUpdate(model, 1, 0);

    EXPECT_EQ(frontOf(model, 1), (V<T>{1, 0, 2, 4}));
    EXPECT_EQ(listOf(model, 1), (V<T>{0, 0, 0, 8, 16, 32})); // columns 2 2 2 3 3 4
    EXPECT_EQ(frontOf(model, 3), (V<T>{0, 0}));
    EXPECT_EQ(frontOf(model, 4), V<T>{0});
}

// The same tree; the last entry alone is beyond the border.
TYPED_TEST(AddUpdateToNode, LastEntryAloneGoesToTheList)
{
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X", "X . . X", "X . . . X"}),
                              {1, 0, 0, 0, 2});
    fillWithPowers(model.lists[0]); // (1,1) (3,1) (4,1) (3,3) (4,3) (4,4)

    addUpdate(model, 1, 0);

    EXPECT_EQ(frontOf(model, 1), (V<T>{1, 0, 2, 4}));
    EXPECT_EQ(frontOf(model, 3), (V<T>{8, 16}));
    EXPECT_EQ(listOf(model, 3), V<T>{32});
    EXPECT_EQ(frontOf(model, 4), V<T>{0});
}

// X          blocks of 1, 2 and 3 rows: a block's values go to the same places row by row
// X X
// X X X
TYPED_TEST(AddUpdateToNode, BlocksAreAddedElementByElement)
{
    using T = TypeParam;
    Random random(3);
    auto model =
        makeModel<T>(support::drawnRows({"X", "X X", "X X X"}), {1, 2, 3}, {1, 0, 0}, random);
    model.lists[0][1].values = {1, 2, 3, 4, 5, 6}; // (2,1), 3 × 2
    model.fronts[1][1] = {10, 20, 30, 40, 50, 60};

    addUpdate(model, 1, 0);

    EXPECT_EQ(model.fronts[1][1], (V<T>{11, 22, 33, 44, 55, 66}));
}

// X          0 and 1 are children of 2
// . X
// X X X
TYPED_TEST(AddUpdateToNode, EveryChildIsAddedToTheStoredSum)
{
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", ". X", "X X X"}), {1, 2, 0});
    const T huge = T(1e20);
    model.fronts[2] = {{T(1)}};
    model.lists[0][0].values = {huge};
    model.lists[1][0].values = {-huge};

    addUpdate(model, 2, 0);
    EXPECT_EQ(frontOf(model, 2), V<T>{huge});
    addUpdate(model, 2, 1);

    EXPECT_EQ(frontOf(model, 2), V<T>{0}); // (1 + h) - h, where 1 + (h - h) is 1
}

/// Drawings, each with a child 0 whose ancestors are all on the way up from its parent 1.
const std::initializer_list<const char*> kWays[] = {
    // dense: every node on the way is an entry of 0
    {"X", "X X", "X X X", "X X X X", "X X X X X", "X X X X X X"},
    // entries 1 3 5 of 0, nodes 2 and 4 in between
    {"X", "X X", ". X X", "X . X X", ". . . X X", "X . . . X X"},
    // entries 1 5: a long way in one step
    {"X", "X X", ". X X", ". . X X", ". . . X X", "X . . . . X"},
    // entries 1 4 5, the first step long
    {"X", "X X", ". X X", ". . X X", "X . . X X", "X . . . . X"},
};

TYPED_TEST(AddUpdateToNode, WayMayLeaveTheOwnerAtEveryNode)
{
    using T = TypeParam;
    for (const auto& drawing : kWays)
        for (unsigned int last = 1; last < 6; ++last)
            for (const bool comesBack : {false, true}) {
                SCOPED_TRACE(testing::Message() << "last node " << last << ", "
                                                << (comesBack ? "comes back" : "stays away"));
                Owners owners = {1, 0};
                for (unsigned int k = 2; k < 6; ++k)
                    owners.push_back(k <= last || (comesBack && k > last + 1) ? 0 : 2);
                Random random(100 + last);
                auto model =
                    makeModel<T>(support::drawnRows(drawing), {2, 3, 1, 4, 2, 3}, owners, random);
                auto expected = model;

                addUpdate(model, 1, 0);

                plainAddUpdate(expected, 1, 0);
                EXPECT_TRUE(sameModel(model, expected));
            }
}

// Receiving lists of other shapes than a complete triangle

/// The dense drawing with the border above node 1: it receives what concerns 2 to 5.
template <class T> UpdateModel<T> borderAboveNode1()
{
    Random random(4);
    return makeModel<T>(support::drawnRows(kWays[0]), {1, 2, 1, 3, 2, 1}, {1, 0, 2, 2, 2, 2},
                        random);
}

TYPED_TEST(AddUpdateToNode, ListMayHoldAdditionalPairs)
{
    using T = TypeParam;
    Random random(5);
    auto model = borderAboveNode1<T>();
    std::vector<Update<T>> wide;
    for (const Update<T>& update : model.lists[1]) {
        // another pair before each of its own
        wide.push_back({7, update.column, random.scalars<T>(3)});
        wide.push_back(update);
    }
    model.lists[1] = wide;
    auto expected = model;

    addUpdate(model, 1, 0);

    plainAddUpdate(expected, 1, 0);
    EXPECT_TRUE(sameModel(model, expected));
}

TYPED_TEST(AddUpdateToNode, ListOfTheSizeOfATriangleMayHoldOtherPairs)
{
    // Column 0: 0 1 3; column 1: 1 2 3. Node 1 receives (3,3) alone, and its list has three
    // entries as the triangle of 2 and 3 has, but in other places.
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X", "X . X X"}), {1, 0, 2, 2});
    fillWithPowers(model.lists[0]); // (1,1) (3,1) (3,3)
    model.lists[1] = {{9, 2, {T(0)}}, {3, 3, {T(0)}}, {9, 3, {T(0)}}};

    addUpdate(model, 1, 0);

    EXPECT_EQ(listOf(model, 1), (V<T>{0, 4, 0}));
    EXPECT_EQ(frontOf(model, 1), (V<T>{1, 0, 2}));
}

TYPED_TEST(AddUpdateToNode, ListMayHoldNothingButThePairsAskedFor)
{
    // As above: of node 1's pairs (2,2) (3,2) (3,3) only the last is asked for.
    using T = TypeParam;
    auto model = zeroModel<T>(support::drawnRows({"X", "X X", ". X X", "X . X X"}), {1, 0, 2, 2});
    fillWithPowers(model.lists[0]);
    model.lists[1] = {{3, 3, {T(0)}}};

    addUpdate(model, 1, 0);

    EXPECT_EQ(listOf(model, 1), V<T>{4});
}

TYPED_TEST(AddUpdateToNode, ListMayStartLikeATriangleAndGoOnDifferently)
{
    // As many entries as the triangle of 2 3 4 5 has, out of their places from column 3 on.
    using T = TypeParam;
    auto model = borderAboveNode1<T>();
    auto& list = model.lists[1];
    ASSERT_EQ(list.size(), 10u);
    // Neither the child nor the receiving list has the pair (5,2).
    auto& child = model.lists[0];
    ASSERT_EQ(child[8].row, 5u);
    ASSERT_EQ(child[8].column, 2u);
    child.erase(child.begin() + 8);
    list.erase(list.begin() + 3);                            // (5,2)
    list.insert(list.end() - 3, {9, 3, {T(1), T(2), T(3)}}); // before (4,4)
    auto expected = model;

    addUpdate(model, 1, 0);

    plainAddUpdate(expected, 1, 0);
    EXPECT_TRUE(sameModel(model, expected));
}

/// Owners by chance: mostly a node's parent has the same.
Owners randomOwners(Random& random, const std::vector<unsigned int>& parents)
{
    Owners owners(parents.size());
    for (std::size_t k = parents.size(); k-- > 0;)
        owners[k] = parents[k] != k && random.chance(0.7)
                        ? owners[parents[k]]
                        : static_cast<unsigned char>(random.integer(0, 2));
    return owners;
}

/// Puts additional pairs into a list, in the order of lists.
template <class T> void widen(UpdateModel<T>& model, unsigned int k, Random& random)
{
    std::vector<Update<T>> wide;
    const auto n = static_cast<unsigned int>(model.sizes.size());
    auto own = model.lists[k].begin();
    for (unsigned int c = k + 1; c < n; ++c)
        for (unsigned int r = c; r < n; ++r) {
            if (own != model.lists[k].end() && own->row == r && own->column == c)
                wide.push_back(*own++);
            else if (random.chance(0.3))
                wide.push_back({r, c, random.scalars<T>(model.blockSize(r, c))});
        }
    model.lists[k] = wide;
}

TYPED_TEST(AddUpdateToNode, RandomTreesGiveTheBitsOfThePlainSearch)
{
    using T = TypeParam;
    unsigned int tried = 0;
    for (unsigned int seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        const unsigned int n = random.integer(2, 16);
        const Rows lower = support::randomRows(random, n, random.unit() * 0.4);
        const Owners owners = randomOwners(random, support::parentsOf(support::eliminated(lower)));
        auto model = makeModel<T>(lower, support::randomSizes(random, n, 0, 4), owners, random);
        auto expected = model;
        for (unsigned int child = 0; child < n; ++child) {
            if (!model.isBorder(child))
                continue;
            const unsigned int node = model.parents[child];
            // The child's own list stays complete; the others may be wider.
            auto wide = model;
            for (unsigned int k = 0; k < n; ++k)
                if (k != child && wide.isBorder(k) && random.chance(0.5))
                    widen(wide, k, random);
            auto expectedWide = wide;

            addUpdate(model, node, child);
            addUpdate(wide, node, child);

            plainAddUpdate(expected, node, child);
            plainAddUpdate(expectedWide, node, child);
            ASSERT_TRUE(sameModel(model, expected)) << "child " << child;
            ASSERT_TRUE(sameModel(wide, expectedWide)) << "child " << child << ", wide lists";
            ++tried;
        }
    }
    EXPECT_GT(tried, 300u);
}

} // namespace
