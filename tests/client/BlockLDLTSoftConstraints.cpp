#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using support::Random;

namespace {

constexpr unsigned int kContacts = 4; // of each box

/// What a point at (x, y, z) of a body moves by.
template <class T> void pointJacobian(T x, T y, T z, T sign, T* J)
{
    const T rows[18] = {1, 0, 0, 0, z, -y, 0, 1, 0, -z, 0, x, 0, 0, 1, y, -x, 0};
    for (int i = 0; i < 18; ++i)
        J[i] = sign * rows[i];
}

/// Boxes on one platform, in contact at their corners: three rows each, more than a box has
/// freedoms.
template <class T> BlockMatrix<T> boxesOnAPlatform(unsigned int boxes, T compliance)
{
    std::vector<unsigned int> sizes(boxes + 1, 6);
    sizes.resize(boxes + 1 + kContacts * boxes, 3);
    BlockMatrix<T> A(sizes, boxes + 1);
    Random random(1);
    const auto place = [&random] { return T(40 * random.unit() - 20); };
    for (unsigned int b = 0; b <= boxes; ++b)
        for (unsigned int i = 0; i < 6; ++i)
            A.block(b, b)[7 * i] = b == boxes ? T(1000) : i < 3 ? T(1) : T(0.1);
    for (unsigned int c = 0; c < kContacts * boxes; ++c) {
        const unsigned int contact = boxes + 1 + c;
        pointJacobian<T>(c & 1 ? T(0.5) : T(-0.5), c & 2 ? T(0.5) : T(-0.5), T(-0.5), T(1),
                         A.block(contact, c / kContacts));
        pointJacobian<T>(place(), place(), T(1), T(-1), A.block(contact, boxes));
        for (unsigned int i = 0; i < 3; ++i)
            A.block(contact, contact)[4 * i] = -compliance;
    }
    return A;
}

template <class T> class SoftConstraints : public testing::Test {
protected:
    static double operations(unsigned int boxes, T stored, T set)
    {
        BlockLDLT<T> solver;
        solver.setCompliance(set);
        EXPECT_TRUE(solver.compute(boxesOnAPlatform<T>(boxes, stored)).ok())
            << solver.info().message;
        return static_cast<double>(solver.analysis().operations);
    }
};
TYPED_TEST_SUITE(SoftConstraints, support::Scalars);

TYPED_TEST(SoftConstraints, TakeOperationsInProportionToTheirNumber)
{
    const double twenty = this->operations(20, TypeParam(0.1), TypeParam(0));
    const double forty = this->operations(40, TypeParam(0.1), TypeParam(0));

    EXPECT_LT(forty, 2.5 * twenty);
}

TYPED_TEST(SoftConstraints, ComplianceThatIsSetCountsAsWell)
{
    EXPECT_EQ(this->operations(20, TypeParam(0), TypeParam(0.1)),
              this->operations(20, TypeParam(0.1), TypeParam(0)));
}

TYPED_TEST(SoftConstraints, AreSolvedToMachinePrecision)
{
    for (const double compliance : {1.0, 0.1}) {
        const auto A = boxesOnAPlatform<TypeParam>(20, TypeParam(compliance));
        const std::vector<TypeParam> b(A.dimension(), TypeParam(1));
        std::vector<TypeParam> x(b);
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        ASSERT_TRUE(solver.analysis().free);

        ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
        ASSERT_TRUE(solver.refine(b.data(), x.data(), 3).ok());

        EXPECT_LT(support::backwardError(A, x, b),
                  16 * double(std::numeric_limits<TypeParam>::epsilon()));
    }
}

// A body whose only joint to the ground became hard would lose all of its own diagonal to it.
TYPED_TEST(SoftConstraints, OfWhichOneBecomesHardAreOrderedLater)
{
    constexpr unsigned int kBoxes = 12;
    const auto boxes = boxesOnAPlatform<TypeParam>(kBoxes, 0);
    std::vector<unsigned int> sizes = boxes.blockSizes();
    sizes.push_back(3);
    const auto joint = static_cast<unsigned int>(sizes.size() - 1);
    BlockMatrix<TypeParam> A(sizes, boxes.firstTrailing());
    for (unsigned int r = 0; r < joint; ++r)
        for (const auto& block : boxes.row(r))
            A.add(r, block.column, block.values);
    pointJacobian<TypeParam>(0, 0, 0, 1, A.block(joint, 0));
    BlockLDLT<TypeParam> solver;
    std::vector<TypeParam> compliances(4 * kBoxes + 1, TypeParam(0.1));
    ASSERT_TRUE(solver.setCompliance(compliances).ok());
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    ASSERT_TRUE(solver.analysis().free);
    const std::vector<TypeParam> b(A.dimension(), TypeParam(0.05));
    std::vector<TypeParam> x(b.size());

    compliances.back() = std::numeric_limits<TypeParam>::epsilon();
    ASSERT_TRUE(solver.setCompliance(compliances).ok());

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
    EXPECT_TRUE(solver.analysis().orderedAgain);
    for (std::size_t t = 0; t < compliances.size(); ++t)
        for (unsigned int i = 0; i < 3; ++i)
            A.block(boxes.firstTrailing() + static_cast<unsigned int>(t),
                    boxes.firstTrailing() + static_cast<unsigned int>(t))[4 * i] -= compliances[t];
    EXPECT_LT(support::backwardError(A, x, b),
              64 * double(std::numeric_limits<TypeParam>::epsilon()));
}

TEST(HardConstraints, ThatWereSoftAreOrderedLater)
{
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(boxesOnAPlatform<double>(20, 0.1)).ok());
    ASSERT_TRUE(solver.analysis().free);

    EXPECT_TRUE(solver.factorize(boxesOnAPlatform<double>(20, 1e-7)).ok()) << solver.info().message;

    EXPECT_TRUE(solver.analysis().orderedAgain);
    EXPECT_FALSE(solver.analysis().free);
}

} // namespace
