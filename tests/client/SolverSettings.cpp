#include "support/BlockSystems.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Regularization;
using kyrOrvel::client::Signs;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::Waiting;

namespace {

template <class T> class SolverSettings : public testing::Test {
protected:
    using Settings = kyrOrvel::client::SolverSettings<T>;

    static bool same(const Settings& a, const Settings& b)
    {
        return a.threads == b.threads && a.factorization == b.factorization &&
               a.waiting == b.waiting && a.ordering == b.ordering && a.order == b.order &&
               a.signs == b.signs && a.compliance == b.compliance &&
               a.compliances == b.compliances && a.regularization == b.regularization &&
               a.share == b.share && a.corrections == b.corrections && a.cacheSize == b.cacheSize;
    }

    static Settings unusual()
    {
        Settings settings;
        settings.threads = 3;
        settings.factorization = Factorization::Multifrontal;
        settings.waiting = Waiting::Spinning;
        settings.ordering = Ordering::User;
        settings.order = {1, 0};
        settings.signs = Signs::Any;
        settings.compliances = {T(0.5)};
        settings.regularization = Regularization::Dynamic;
        settings.share = T(0.25);
        settings.corrections = 2;
        settings.cacheSize = 7;
        return settings;
    }
};
TYPED_TEST_SUITE(SolverSettings, support::Scalars);

TYPED_TEST(SolverSettings, OfANewSolverAreTheDefaults)
{
    EXPECT_TRUE(this->same(BlockLDLT<TypeParam>().settings(), {}));
}

TYPED_TEST(SolverSettings, AreThoseThatWereSetOneByOne)
{
    BlockLDLT<TypeParam> solver;
    solver.setThreads(3);
    solver.setFactorization(Factorization::Multifrontal);
    solver.setWaiting(Waiting::Spinning);
    solver.setOrder({1, 0});
    solver.setSigns(Signs::Any);
    solver.setCompliance(std::vector<TypeParam>{TypeParam(0.5)});
    solver.setRegularization(Regularization::Dynamic, TypeParam(0.25));
    solver.setCorrections(2);
    solver.setCacheSize(7);

    EXPECT_TRUE(this->same(solver.settings(), this->unusual()));
}

TYPED_TEST(SolverSettings, AreThoseThatWereSetTogether)
{
    BlockLDLT<TypeParam> solver;

    EXPECT_TRUE(solver.setSettings(this->unusual()).ok());

    EXPECT_TRUE(this->same(solver.settings(), this->unusual()));
}

TYPED_TEST(SolverSettings, PartThatIsRefusedChangesNothing)
{
    using Values = typename TestFixture::Settings;
    const std::vector<std::function<void(Values&)>> mistakes = {
        [](Values& s) { s.threads = 0; }, [](Values& s) { s.threads = 256; },
        [](Values& s) { s.compliance = -1; }, [](Values& s) { s.compliances = {-1}; },
        [](Values& s) { s.share = 1; }};
    for (const auto& mistake : mistakes) {
        BlockLDLT<TypeParam> solver;
        Values settings = this->unusual();
        mistake(settings);

        EXPECT_EQ(solver.setSettings(settings).code, StatusCode::InvalidInput);

        EXPECT_TRUE(this->same(solver.settings(), {}));
    }
}

TYPED_TEST(SolverSettings, TakeEffectWithTheNextAnalysis)
{
    const BlockMatrix<TypeParam> A = support::scalarMatrix<TypeParam>({{4}, {1, 4}});
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    EXPECT_TRUE(solver.isAnalyzed(A));
    EXPECT_TRUE(solver.isFactored());

    ASSERT_TRUE(solver.setSettings({}).ok());

    EXPECT_FALSE(solver.isAnalyzed(A));
    EXPECT_FALSE(solver.isFactored());
    EXPECT_EQ(solver.factorize(A).code, StatusCode::CallSequence);
}

TYPED_TEST(SolverSettings, OtherPatternIsNotTheOneAnalyzed)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.analyzePattern(support::scalarMatrix<TypeParam>({{4}, {1, 4}})).ok());

    EXPECT_FALSE(solver.isAnalyzed(support::scalarMatrix<TypeParam>({{4}, {0, 4}})));
    EXPECT_FALSE(solver.isFactored());
}

} // namespace
