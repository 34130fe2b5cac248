#ifndef KYRORVEL_CLIENT_BLOCK_LDLT_IMPL_H
#define KYRORVEL_CLIENT_BLOCK_LDLT_IMPL_H

#include "../OutOfMemory.h"
#include "AnalyzedSystem.h"
#include "PivotCheck.h"

#include <kyrOrvelClient/BlockLDLT>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Adds the wall-clock time of a scope to a count of seconds that starts at 0.
class PhaseTimer {
public:
    explicit PhaseTimer(double& seconds) : m_seconds(seconds), m_start(Clock::now()) {}
    ~PhaseTimer() { m_seconds = std::chrono::duration<double>(Clock::now() - m_start).count(); }
    PhaseTimer(const PhaseTimer&) = delete;
    PhaseTimer& operator=(const PhaseTimer&) = delete;

private:
    using Clock = std::chrono::steady_clock;
    double& m_seconds;
    const Clock::time_point m_start;
};

/// The state of a BlockLDLT. Every step is a function that returns a Status; `guard` keeps it.
template <class T> struct KYRORVEL_HIDDEN BlockLDLT<T>::Impl {
    Status status;
    Statistics statistics;

    SolverSettings<T> settings;

    /// The patterns analysed last, latest first. The first one is the one to factor, if any is.
    std::vector<std::unique_ptr<AnalyzedSystem<T>>> systems;
    std::unique_ptr<AnalyzedSystem<T>> none = std::make_unique<AnalyzedSystem<T>>();
    const AnalyzedSystem<T>* prepared = nullptr; ///< the one that the vectors below are sized for
    bool analyzed = false;
    bool factorized = false;
    FactorTrace* trace = nullptr;
    std::string capturePath; ///< where a failing system goes, or empty
    Status captureStatus;

    PivotCheck<T> pivotCheck;
    std::vector<T> pivotBounds;
    std::vector<T> pivotScales;
    std::vector<std::uint64_t> ids; ///< of the matrix given last, or none
    std::vector<T> work;            ///< vectors in elimination order: the one being solved,
    std::vector<T> rightHandSide;   ///< and for refinement what to solve for,
    std::vector<T> solution;        ///< the best so far,
    std::vector<T> residual;        ///< and what is left of it
    std::vector<T> weight;          ///< |A|·|x|
    std::vector<T> unit;            ///< of an inverse block: the right-hand side in its block

    AnalyzedSystem<T>& system() { return systems.empty() ? *none : *systems.front(); }
    const AnalyzedSystem<T>& system() const { return systems.empty() ? *none : *systems.front(); }
    OrvelData<T>& data() { return system().data; }
    const OrvelData<T>& data() const { return system().data; }

    // Analysis and factorization.
    Status analyze(const BlockMatrix<T>& A, bool values);
    bool findInCache(const BlockMatrix<T>& A);
    AnalyzedSystem<T>& makeRoom();
    void prepareVectors();
    Status factor(const BlockMatrix<T>& A);
    Status load(const BlockMatrix<T>& A);
    Status applyCompliance(const BlockMatrix<T>& A);
    PivotFailure<T> factorOnce();
    PivotFailure<T> factorBounded();
    void runFactorization();
    PivotDemands demands() const;
    bool isUnusable(const PivotFailure<T>& failure) const;
    Status orderLater(const BlockMatrix<T>& A);
    Status report(const PivotFailure<T>& failure);
    void takeIds(const BlockMatrix<T>& A);

    // Solves.
    Status checkVectors(const T* b, const T* x) const;
    Status checkBlock(unsigned int block) const;
    Status solve(const T* b, T* x);
    Status solveForBlock(unsigned int block, const T* values);
    Status inverseBlock(unsigned int r, unsigned int c, T* out);
    Status constraintSpace(const std::vector<JacobianRow<T>>& J, T* out);
    Status checkJacobianRow(const JacobianRow<T>& row, std::size_t index) const;
    void loadJacobianRow(const JacobianRow<T>& row);
    T dotJacobianRow(const JacobianRow<T>& row) const;
    Status refine(const T* b, T* x, int maxSteps, int& steps);
    void refineSolution(int maxSteps, int& steps);
    void solveWork();
    Status gather(const T* from, const char* what, std::vector<T>& to) const;
    Status checkSolution(const std::vector<T>& x) const;
    struct Place {
        unsigned int block = kNone; ///< in the user's order
        unsigned int row = kNone;   ///< of the block
    };
    Place findNotFinite(const std::vector<T>& vector) const;
    void scatterTo(const std::vector<T>& from, T* to) const;
    T computeResidual(const std::vector<T>& x);
    void computeBackwardError(const std::vector<T>& x);

    void forgetAnalysis()
    {
        analyzed = false;
        factorized = false;
    }

    /// Runs a step, turning exhausted memory into a status, and puts the caller's ids into it.
    template <class Step> const Status& guard(Step step)
    {
        status = guardMemory([&] {
            Status result = step();
            addIds(result);
            return result;
        });
        return status;
    }

    void addIds(Status& s) const;
};

Status callSequence(const char* needed);

/// What a message says of a block that the caller has named.
std::string idRemark(unsigned int block, std::uint64_t id);

} // namespace client
} // namespace kyrOrvel

#endif
