#include <kyrOrvelClient/MixedLDLT>

#include "../NumberText.h"
#include "../OutOfMemory.h"
#include "BlockLDLTImpl.h"
#include "Compliance.h"
#include "KrylovCorrection.h"
#include "Residual.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

namespace {

/// Corrections at the most. Each gains the digits that the float factor is good for: seven at best,
/// one or two on matrices that float can hardly tell from singular ones.
constexpr int kMaxSteps = 60;

/// The share of the residual that a correction may leave.
constexpr double kProgress = 0.9;

constexpr double kAccurate = 1e-12;

/// Directions of a Krylov search, and searches at the most, where plain corrections do not
/// converge.
constexpr std::size_t kDirections = 20;
constexpr int kSearches = 5;

/// Smaller than a factorization in float alone would want: the residuals are double's.
constexpr float kPivotShare = 1e-6f;

/// Calls f(row, column, m, n, block) for every block of a matrix as assembled.
template <class F> void forEachBlock(const BlockMatrix<double>& A, F f)
{
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            f(A.blockOffset(r), A.blockOffset(entry.column), A.blockSize(r),
              A.blockSize(entry.column), entry.values);
}

Status beyondFloat(const BlockMatrix<double>& A, unsigned int r, unsigned int c, std::size_t i,
                   double value)
{
    Status status;
    status.code = StatusCode::NotFinite;
    status.message = "block (" + std::to_string(r) + ", " + std::to_string(c) + ") holds " +
                     numberText(value) + " in its row " + std::to_string(i) +
                     ", beyond float's range: scale the matrix or factor it in double" +
                     (A.hasIds() ? " (" + idRemark(r, A.id(r)) + ")" : "");
    status.block = r;
    status.row = static_cast<unsigned int>(i);
    status.id = A.id(r);
    return status;
}

/// The status of a matrix that is not finite once it is rounded; of one that is not even before,
/// Ok.
Status checkRange(const BlockMatrix<double>& A)
{
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const std::size_t n = A.blockSize(entry.column);
            for (std::size_t i = 0; i < A.blockSize(r); ++i)
                for (std::size_t j = 0; j < (entry.column == r ? i + 1 : n); ++j) {
                    const double v = entry.values[i * n + j];
                    if (!std::isfinite(v))
                        return {};
                    if (!std::isfinite(static_cast<float>(v)))
                        return beyondFloat(A, r, entry.column, i, v);
                }
        }
    return {};
}

} // namespace

struct KYRORVEL_HIDDEN MixedLDLT::Impl {
    Status status;
    BlockLDLT<float> solver;
    BlockMatrix<float> rounded;
    BlockMatrix<double> matrix;
    MatrixPattern pattern;
    bool analyzed = false;
    bool factorized = false;
    bool compliant = false; ///< whether `matrix` holds compliances
    double residualNorm = 0;
    double backwardError = 0;
    int steps = 0;
    std::vector<double> rightHandSide;
    std::vector<double> solution;
    std::vector<double> next;
    std::vector<double> residual;
    std::vector<double> weight;
    std::vector<float> correction;
    KrylovCorrection krylov;

    Impl() { takeSettings(); }

    /// Whatever the user has set: regularisation and corrections are set here.
    void takeSettings()
    {
        solver.setRegularization(Regularization::Dynamic, kPivotShare);
        solver.setCorrections(0); // corrections are made here, in double
    }

    template <class T> static void layOut(const BlockMatrix<double>& A, BlockMatrix<T>& copy)
    {
        copy = BlockMatrix<T>(A.blockSizes(), A.firstTrailing());
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (const auto& entry : A.row(r))
                copy.block(r, entry.column);
    }

    /// For what the factor's statuses say.
    void takeIds(const BlockMatrix<double>& A)
    {
        if (rounded.hasIds() && !A.hasIds())
            layOut(A, rounded);
        for (unsigned int r = 0; A.hasIds() && r < A.numBlockRows(); ++r)
            rounded.setId(r, A.id(r));
    }

    /// Lays out both copies on A's pattern.
    void takePattern(const BlockMatrix<double>& A)
    {
        pattern = MatrixPattern(A);
        compliant = false;
        layOut(A, rounded);
        layOut(A, matrix);
        takeIds(A);
        for (auto* vector : {&rightHandSide, &solution, &next, &residual, &weight})
            vector->resize(A.dimension());
        correction.resize(A.dimension());
    }

    Status analyze(const BlockMatrix<double>& A)
    {
        analyzed = factorized = false;
        takePattern(A);
        Status result = solver.analyzePattern(rounded);
        analyzed = result.ok();
        return result;
    }

    Status factor(const BlockMatrix<double>& A)
    {
        factorized = false;
        if (!analyzed)
            return callSequence("analyzePattern");
        Status result = pattern.compare(A);
        if (!result.ok())
            return result;
        takeIds(A);
        copyValues(A);
        takeSettings();
        result = solver.factorize(rounded);
        if (result.ok())
            applyCompliance(A);
        factorized = result.ok();
        if (result.code == StatusCode::NotFinite) {
            const Status range = checkRange(A);
            return range.ok() ? result : range;
        }
        return result;
    }

    /// To both copies; the diagonal, where there is one, is last in its row.
    void copyValues(const BlockMatrix<double>& A)
    {
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (std::size_t e = 0; e < A.row(r).size(); ++e) {
                const auto& from = A.row(r)[e];
                const std::size_t n = std::size_t(A.blockSize(r)) * A.blockSize(from.column);
                std::copy_n(from.values, n, matrix.row(r)[e].values);
                std::transform(from.values, from.values + n, rounded.row(r)[e].values,
                               [](double v) { return static_cast<float>(v); });
            }
    }

    /// The residuals are those of the matrix with the compliances. Blocks for them are added once.
    void applyCompliance(const BlockMatrix<double>& A)
    {
        const bool wanted = isCompliant(solver.settings());
        if (!wanted && !compliant)
            return;
        compliant = true; // as far as there is memory
        writeCompliantDiagonals(solver.settings(), A,
                                [&](unsigned int t) { return matrix.block(t, t); });
        compliant = wanted;
    }

    Status solve(const double* b, double* x)
    {
        if (!factorized)
            return callSequence("factorize");
        if (!solution.empty() && (!b || !x))
            return {StatusCode::InvalidInput,
                    "a right-hand side and room for the solution are needed", kNone, kNone};
        std::copy_n(b, rightHandSide.size(), rightHandSide.begin());
        std::fill(solution.begin(), solution.end(), 0.0);
        residual = rightHandSide;
        const double start = normOf(residual);
        if (!std::isfinite(start))
            return {StatusCode::NotFinite, "the right-hand side holds an infinity or NaN", kNone,
                    kNone};
        residualNorm = start;
        Status result = correct();
        if (result.ok() && !isAccurate(start))
            result = search();
        if (!result.ok())
            return result;
        if (!isAccurate(start))
            return {StatusCode::Inaccurate,
                    "with a factor in float the residual falls to " +
                        numberText(residualNorm / start) + " of the right-hand side, and the " +
                        "backward error to " + numberText(backwardError) +
                        ": the matrix is singular or close to it; factor it in double",
                    kNone, kNone};
        std::copy(solution.begin(), solution.end(), x);
        return {};
    }

    bool isAccurate(double start)
    {
        multiplyMagnitudes([&](auto f) { forEachBlock(matrix, f); }, solution, weight);
        backwardError = backwardErrorOf(residual, weight, rightHandSide);
        return residualNorm <= kAccurate * start || backwardError <= kAccurate;
    }

    /// Corrects `solution` until the residual no longer falls.
    Status correct()
    {
        for (steps = 0; steps < kMaxSteps && residualNorm > 0; ++steps) {
            Status result = invert(residual, next);
            if (!result.ok())
                return result;
            for (std::size_t i = 0; i < next.size(); ++i)
                next[i] += solution[i];
            const double before = residualNorm;
            if (!takeIfBetter() || residualNorm > kProgress * before)
                break;
        }
        return {};
    }

    /// The same where plain corrections grow in a few directions.
    Status search()
    {
        krylov.reserve(solution.size(), kDirections);
        Status result;
        for (int s = 0; s < kSearches && residualNorm > 0 && result.ok(); ++s) {
            next = solution;
            const double before = residualNorm;
            krylov.run(
                residual, residualNorm, 1e-3 * kAccurate * residualNorm,
                [&](const std::vector<double>& v, std::vector<double>& z) {
                    result = invert(v, z);
                    ++steps;
                    return result.ok();
                },
                [&](const std::vector<double>& z, std::vector<double>& w) {
                    matrix.multiply(z.data(), w.data());
                },
                next);
            if (!takeIfBetter() || residualNorm > kProgress * before)
                break;
        }
        return result;
    }

    /// Takes `next` for the solution if its residual is smaller.
    bool takeIfBetter()
    {
        matrix.multiply(next.data(), weight.data());
        for (std::size_t i = 0; i < weight.size(); ++i)
            weight[i] = rightHandSide[i] - weight[i];
        const double reached = normOf(weight);
        if (!(reached < residualNorm))
            return false;
        residualNorm = reached;
        residual.swap(weight);
        solution.swap(next);
        return true;
    }

    /// z = A⁻¹·v by the float factor; v is scaled into float's range by a power of two.
    Status invert(const std::vector<double>& v, std::vector<double>& z)
    {
        double largest = 0;
        for (const double x : v)
            largest = std::max(largest, std::abs(x));
        const int exponent = largest > 0 ? std::ilogb(largest) : 0;
        for (std::size_t i = 0; i < v.size(); ++i)
            correction[i] = static_cast<float>(std::ldexp(v[i], -exponent));
        const Status& result = solver.solve(correction.data(), correction.data());
        for (std::size_t i = 0; i < v.size(); ++i)
            z[i] = std::ldexp(double(correction[i]), exponent);
        return result;
    }

    template <class Step> const Status& guard(Step step)
    {
        status = guardMemory(step);
        return status;
    }
};

MixedLDLT::MixedLDLT() : m_impl(std::make_unique<Impl>())
{
}
MixedLDLT::~MixedLDLT() = default;
MixedLDLT::MixedLDLT(MixedLDLT&&) noexcept = default;
MixedLDLT& MixedLDLT::operator=(MixedLDLT&&) noexcept = default;

BlockLDLT<float>& MixedLDLT::factorSolver()
{
    return m_impl->solver;
}

const Status& MixedLDLT::analyzePattern(const BlockMatrix<double>& A)
{
    return m_impl->guard([&] { return m_impl->analyze(A); });
}

const Status& MixedLDLT::factorize(const BlockMatrix<double>& A)
{
    return m_impl->guard([&] { return m_impl->factor(A); });
}

const Status& MixedLDLT::compute(const BlockMatrix<double>& A)
{
    return analyzePattern(A).ok() ? factorize(A) : info();
}

const Status& MixedLDLT::solve(const double* b, double* x)
{
    return m_impl->guard([&] { return m_impl->solve(b, x); });
}

const Status& MixedLDLT::info() const
{
    return m_impl->status;
}

Statistics MixedLDLT::statistics() const
{
    Statistics result = m_impl->solver.statistics();
    result.refinementSteps = m_impl->steps;
    result.residualNorm = m_impl->residualNorm;
    result.backwardError = m_impl->backwardError;
    return result;
}

} // namespace client
} // namespace kyrOrvel
