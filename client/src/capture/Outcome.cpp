#include "Outcome.h"

#include "../OutOfMemory.h"
#include "Fnv.h"

#include <kyrOrvel/Orvel>

#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

template <class T> std::uint64_t hashOfPattern(const SparseMatrix<T>& L)
{
    Fnv hash;
    hash.add(L.numBlockRows);
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        hash.add(L.blockSizes[r]);
        hash.add(L.rowStart[r + 1] - L.rowStart[r]);
        for (unsigned int slot = L.rowStart[r]; slot < L.rowStart[r + 1]; ++slot)
            hash.add(L.blockColumns[slot]);
    }
    return hash.value();
}

template <class T> std::uint64_t hashOfValues(const SparseMatrix<T>& L)
{
    Fnv hash;
    for (unsigned int r = 0; r < L.numBlockRows; ++r)
        for (unsigned int slot = L.rowStart[r]; slot < L.rowStart[r + 1]; ++slot) {
            const unsigned int c = L.blockColumns[slot];
            const std::size_t n = L.blockSizes[c];
            for (std::size_t i = 0; i < L.blockSizes[r]; ++i)
                for (std::size_t j = 0; j < (r == c ? i + 1 : n); ++j)
                    hash.add(L.blockData[slot][i * n + j]);
        }
    return hash.value();
}

template <class T> std::uint64_t hashOfVector(const T* values, std::size_t n)
{
    Fnv hash;
    for (std::size_t i = 0; i < n; ++i)
        hash.add(values[i]);
    return hash.value();
}

/// Up to the step that fails.
template <class T>
void solve(BlockLDLT<T>& solver, const CapturedSystem<T>& system, const SolverSettings<T>& settings,
           bool andSolve, std::vector<T>& x)
{
    if (!solver.setSettings(settings).ok())
        return;
    if (system.byValues)
        solver.compute(system.matrix);
    else if (solver.analyzePattern(system.matrix).ok())
        solver.factorize(system.matrix);
    if (!solver.info().ok() || !andSolve)
        return;
    x.resize(system.matrix.dimension());
    solver.solve(system.rightHandSide.data(), x.data());
}

template <class T>
CapturedOutcome runWith(const CapturedSystem<T>& system, const SolverSettings<T>& settings,
                        bool andSolve)
{
    CapturedOutcome outcome;
    outcome.status = guardMemory([&] {
        BlockLDLT<T> solver;
        std::vector<T> x;
        solve(solver, system, settings, andSolve, x);
        outcome = outcomeOf(solver, system.matrix, andSolve, x.data());
        return outcome.status;
    });
    return outcome;
}

} // namespace

template <class T>
CapturedOutcome outcomeOf(const BlockLDLT<T>& solver, const BlockMatrix<T>& A, bool solved,
                          const T* x)
{
    CapturedOutcome outcome;
    outcome.status = solver.info();
    if (!solver.isAnalyzed(A))
        return outcome;
    outcome.order = solver.analysis().order;
    outcome.factored = solver.isFactored();
    if (!outcome.factored)
        return outcome;
    const OrvelData<T>& data = solver.data();
    outcome.pattern = hashOfPattern(data.factor);
    outcome.L = hashOfValues(data.factor);
    outcome.D = hashOfVector(data.pivots.data, data.pivots.size);
    outcome.solved = solved && outcome.status.ok();
    if (outcome.solved)
        outcome.x = hashOfVector(x, A.dimension());
    return outcome;
}

template <class T> CapturedOutcome run(const CapturedSystem<T>& system, bool andSolve)
{
    return runWith(system, system.settings, andSolve);
}

template <class T>
CapturedOutcome runInOrder(const CapturedSystem<T>& system, const std::vector<unsigned int>& order,
                           bool andSolve)
{
    SolverSettings<T> settings = system.settings;
    settings.ordering = Ordering::User;
    settings.order = order;
    return runWith(system, settings, andSolve);
}

#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template CapturedOutcome outcomeOf(const BlockLDLT<T>&, const BlockMatrix<T>&, bool,           \
                                       const T*);                                                  \
    template CapturedOutcome run(const CapturedSystem<T>&, bool);                                  \
    template CapturedOutcome runInOrder(const CapturedSystem<T>&,                                  \
                                        const std::vector<unsigned int>&, bool);
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
