#include "BlockLDLTImpl.h"

#include "../CountedText.h"
#include "../NoiseShare.h"
#include "Compliance.h"
#include "MatrixWalk.h"
#include "PivotBounds.h"
#include "PivotReport.h"

#include <algorithm>
#include <limits>

namespace kyrOrvel {
namespace client {

namespace {

// By how much bounds of pivots are raised where they are too small a share of what is expected, and
// up to which share.
constexpr float kShareSteps = 32;
constexpr float kLargestShare = 0.25F;

} // namespace

Status callSequence(const char* needed)
{
    return {StatusCode::CallSequence, std::string(needed) + " has to succeed first", kNone, kNone};
}

std::string idRemark(unsigned int block, std::uint64_t id)
{
    return "block " + std::to_string(block) + " is " + std::to_string(id);
}

template <class T> Status BlockLDLT<T>::Impl::analyze(const BlockMatrix<T>& A, bool values)
{
    const PhaseTimer timer(statistics.analysisSeconds);
    forgetAnalysis();
    takeIds(A);
    statistics.analysisReused = findInCache(A);
    if (!statistics.analysisReused) {
        AnalyzedSystem<T>& next = makeRoom();
        next.settings = Settings::of(settings);
        Status result = next.analyze(A, compliancesOf(settings, A), values);
        if (!result.ok()) {
            systems.erase(systems.begin());
            return result;
        }
        prepareVectors();
    }
    analyzed = true;
    return {};
}

/// Brings the system analysed for A's pattern under the present settings to the front, if there is
/// one.
template <class T> bool BlockLDLT<T>::Impl::findInCache(const BlockMatrix<T>& A)
{
    const std::uint64_t hash = MatrixPattern::hashOf(A);
    const auto found = std::find_if(systems.begin(), systems.end(), [&](const auto& s) {
        return s->analyzed && s->pattern.hash() == hash && s->settings.areOf(settings) &&
               (!s->needsCompliance || isCompliant(settings)) && s->pattern.compare(A).ok();
    });
    if (found == systems.end())
        return false;
    std::rotate(systems.begin(), found, found + 1);
    if (prepared != systems.front().get())
        prepareVectors();
    return true;
}

/// A system at the front to analyse a new pattern in: the oldest one's storage once the cache is
/// full.
template <class T> AnalyzedSystem<T>& BlockLDLT<T>::Impl::makeRoom()
{
    if (systems.size() < settings.cacheSize)
        systems.insert(systems.begin(), std::make_unique<AnalyzedSystem<T>>());
    else
        std::rotate(systems.begin(), systems.end() - 1, systems.end());
    return *systems.front();
}

template <class T> void BlockLDLT<T>::Impl::prepareVectors()
{
    prepared = nullptr;
    const SparseMatrix<T>& A = data().matrix;
    const unsigned int n = A.numBlockRows;
    const std::size_t dimension = n == 0 ? 0 : A.blockSizes[n];
    for (std::vector<T>* vector :
         {&pivotBounds, &pivotScales, &work, &rightHandSide, &solution, &residual, &weight})
        vector->resize(dimension);
    unit.resize(system().largestBlock);
    pivotCheck.prepare(data(), system().analysis.order, system().pattern.firstTrailing(),
                       system().canOrderLater() ? &system().early : nullptr);
    prepared = &system();
}

template <class T> Status BlockLDLT<T>::Impl::factor(const BlockMatrix<T>& A)
{
    const PhaseTimer timer(statistics.factorizationSeconds);
    factorized = false;
    if (!analyzed)
        return callSequence("analyzePattern");
    takeIds(A);
    Status result = load(A);
    if (!result.ok())
        return result;
    PivotFailure<T> failure = factorOnce();
    while (isUnusable(failure) && system().canOrderLater()) {
        result = orderLater(A);
        if (!result.ok())
            return result;
        failure = factorOnce();
    }
    result = report(failure);
    factorized = result.ok();
    return result;
}

template <class T> bool BlockLDLT<T>::Impl::isUnusable(const PivotFailure<T>& failure) const
{
    return failure.kind != PivotFailure<T>::Kind::None || pivotCheck.counts().bounded > 0;
}

/// Analyses anew with trailing blocks that met unusable pivots further back, at most twice: the
/// second time all of them.
template <class T> Status BlockLDLT<T>::Impl::orderLater(const BlockMatrix<T>& A)
{
    std::vector<unsigned char> unusable;
    pivotCheck.findUnusable(data(), system().analysis.order, system().pattern.firstTrailing(),
                            demands(), unusable);
    analyzed = false;
    Status result = system().analyzeLater(A, unusable);
    if (result.ok())
        result = load(A);
    analyzed = result.ok();
    if (analyzed)
        prepareVectors();
    return result;
}

/// Copies the values of A, if it has the pattern analysed, to where the solver wants them, and adds
/// the compliances.
template <class T> Status BlockLDLT<T>::Impl::load(const BlockMatrix<T>& A)
{
    Status result = system().recognize(A);
    if (result.ok())
        result = system().scatter.run(A);
    return result.ok() ? applyCompliance(A) : result;
}

template <class T> Status BlockLDLT<T>::Impl::applyCompliance(const BlockMatrix<T>& A)
{
    const std::vector<T>& compliances = settings.compliances;
    const std::size_t trailing = A.numBlockRows() - A.firstTrailing();
    if (!compliances.empty() && compliances.size() != trailing)
        return {StatusCode::InvalidInput,
                (compliances.size() == 1 ? "there is " : "there are ") +
                    countedText(compliances.size(), "compliance", "compliances") + " for " +
                    countedText(trailing, "trailing block", "trailing blocks"),
                kNone, kNone};
    const bool compliant = isCompliant(settings);
    if (compliant || system().compliant)
        writeCompliantDiagonals(settings, A, [&](unsigned int t) {
            return diagonalBlock(data().matrix, data().useMultifrontal != 0,
                                 system().analysis.position[t]);
        });
    system().compliant = compliant;
    return {};
}

template <class T> PivotFailure<T> BlockLDLT<T>::Impl::factorOnce()
{
    if (settings.regularization == Regularization::Dynamic)
        return factorBounded();
    OrvelData<T>& d = data();
    d.pivotBounds = nullptr;
    d.pivotScales = pivotScales.data();
    runFactorization();
    const PivotFailure<T> failure =
        pivotCheck.run(d, system().analysis.order, system().pattern.firstTrailing(), demands());
    d.pivotScales = nullptr; // who factors this data again may have other room for them, or none
    d.hasPivotScales = 0;
    return failure;
}

/// With pivots kept to bounds. Where many constraints are redundant, noise may be larger than the
/// bounds, in place of which it makes the factor grow from pivot to pivot without end: larger ones
/// hold it. Grown it has where nothing would be left of a pivot as it is expected among its terms.
template <class T> PivotFailure<T> BlockLDLT<T>::Impl::factorBounded()
{
    OrvelData<T>& d = data();
    d.pivotScales = nullptr;
    d.pivotsKeepSigns = !(settings.signs == Signs::Expected && system().signsAreKnown);
    for (T share = settings.share;; share = std::min(kShareSteps * share, T(kLargestShare))) {
        computePivotBounds(d, system().analysis.order, system().pattern.firstTrailing(), share,
                           pivotBounds);
        d.pivotBounds = pivotBounds.data();
        runFactorization();
        const bool last = share >= T(kLargestShare);
        const T most = last ? std::numeric_limits<T>::infinity()
                            : 1 / (std::numeric_limits<T>::epsilon() * share);
        const PivotFailure<T> failure = pivotCheck.runBounded(d, most);
        if (failure.kind == PivotFailure<T>::Kind::None || last)
            return failure;
    }
}

template <class T> void BlockLDLT<T>::Impl::runFactorization()
{
    OrvelData<T>& d = data();
    d.factored = 0;
    d.trace = trace;
    if (system().analysis.multifrontal) {
        if (trace)
            trace->threads.assign(system().analysis.threads, {});
        Orvel::factorMF(d);
    } else {
        Orvel::factorParallel(d, system().analysis.threads);
        d.onlyValuesChanged = 1; // next time, unless the pattern is analysed anew
    }
}

template <class T> PivotDemands BlockLDLT<T>::Impl::demands() const
{
    PivotDemands result;
    result.signs = settings.signs == Signs::Expected && system().signsAreKnown;
    if (system().canOrderLater()) {
        result.early = &system().early;
        const auto soft = double(softShare<T>());
        if (system().analysis.free) {
            // What contacts add up to on bodies did no harm that was seen. That none has become
            // hard since the order was chosen is told with some room.
            result.earlyShare = soft;
            result.jointShare = soft / 16;
        } else
            // In double half of the digits may be lost, in float three. A thousandth in double
            // would order a tenth of random mechanisms again that are solved to machine precision.
            result.diagonalShare = std::min(soft, kEarlyShare);
    }
    return result;
}

template <class T> Status BlockLDLT<T>::Impl::report(const PivotFailure<T>& failure)
{
    const PivotCounts& counts = pivotCheck.counts();
    statistics.positivePivots = counts.positive;
    statistics.negativePivots = counts.negative;
    statistics.regularizedPivots = counts.bounded;
    statistics.smallestPivot = counts.smallest;
    statistics.largestPivot = counts.largest;
    const std::vector<unsigned int>& order = system().analysis.order;
    if (failure.kind != PivotFailure<T>::Kind::None)
        return reportPivot(failure, data(), order, system().pattern.firstTrailing(), pivotCheck);
    return data().pivotBounds ? reportBounded(pivotCheck, order) : Status();
}

template <class T> void BlockLDLT<T>::Impl::takeIds(const BlockMatrix<T>& A)
{
    ids.resize(A.hasIds() ? A.numBlockRows() : 0);
    for (unsigned int b = 0; b < ids.size(); ++b)
        ids[b] = A.id(b);
}

template <class T> void BlockLDLT<T>::Impl::addIds(Status& s) const
{
    const auto idOf = [&](unsigned int block) {
        return block < ids.size() ? ids[block] : std::uint64_t(block);
    };
    for (Dependency& dependency : s.dependsOn)
        dependency.id = idOf(dependency.block);
    if (s.block == kNone)
        return;
    s.id = idOf(s.block);
    if (ids.empty())
        return;
    std::vector<unsigned int> named = blocksOf(s.dependsOn, s.block);
    named.resize(std::min(named.size(), kNamedDependencies));
    s.message += " (" + idRemark(s.block, s.id);
    for (const unsigned int block : named)
        s.message += ", " + idRemark(block, idOf(block));
    s.message += ")";
}

template <class T> BlockLDLT<T>::BlockLDLT() : m_impl(std::make_unique<Impl>())
{
}
template <class T> BlockLDLT<T>::~BlockLDLT() = default;
template <class T> BlockLDLT<T>::BlockLDLT(BlockLDLT&&) noexcept = default;
template <class T> BlockLDLT<T>& BlockLDLT<T>::operator=(BlockLDLT&&) noexcept = default;

template <class T> void BlockLDLT<T>::setTrace(FactorTrace* trace)
{
    m_impl->trace = trace;
}

template <class T> const Status& BlockLDLT<T>::analyzePattern(const BlockMatrix<T>& A)
{
    m_impl->guard([&] { return m_impl->analyze(A, false); });
    return captureFailure(A);
}

template <class T> const Status& BlockLDLT<T>::factorize(const BlockMatrix<T>& A)
{
    m_impl->guard([&] { return m_impl->factor(A); });
    return captureFailure(A);
}

template <class T> const Status& BlockLDLT<T>::compute(const BlockMatrix<T>& A)
{
    if (!m_impl->guard([&] { return m_impl->analyze(A, true); }).ok())
        return captureFailure(A);
    return factorize(A);
}

template <class T> const Status& BlockLDLT<T>::info() const
{
    return m_impl->status;
}

template <class T> const Analysis& BlockLDLT<T>::analysis() const
{
    return m_impl->system().analysis;
}

template <class T> Statistics BlockLDLT<T>::statistics() const
{
    Statistics result = m_impl->statistics;
    const Analysis& found = analysis();
    result.fillBlocks = found.factorBlocks - found.matrixBlocks;
    result.operations = found.operations;
    result.bytes = found.bytes;
    return result;
}

template <class T> const OrvelData<T>& BlockLDLT<T>::data() const
{
    return m_impl->data();
}

// Member by member, as in the other files that define some: an instance of the whole class refers
// to those weakly under link-time optimisation, and linkers take nothing from archives for that.
#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template const T BlockLDLT<T>::kDefaultShare;                                                  \
    template BlockLDLT<T>::BlockLDLT();                                                            \
    template BlockLDLT<T>::~BlockLDLT();                                                           \
    template BlockLDLT<T>::BlockLDLT(BlockLDLT&&) noexcept;                                        \
    template BlockLDLT<T>& BlockLDLT<T>::operator=(BlockLDLT&&) noexcept;                          \
    template void BlockLDLT<T>::setTrace(FactorTrace*);                                            \
    template const Status& BlockLDLT<T>::analyzePattern(const BlockMatrix<T>&);                    \
    template const Status& BlockLDLT<T>::factorize(const BlockMatrix<T>&);                         \
    template const Status& BlockLDLT<T>::compute(const BlockMatrix<T>&);                           \
    template const Status& BlockLDLT<T>::info() const;                                             \
    template const Analysis& BlockLDLT<T>::analysis() const;                                       \
    template Statistics BlockLDLT<T>::statistics() const;                                          \
    template const OrvelData<T>& BlockLDLT<T>::data() const;
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
