#ifndef KYRORVEL_CLIENT_OUTCOME_H
#define KYRORVEL_CLIENT_OUTCOME_H

#include <kyrOrvelClient/Capture>

#include <vector>

namespace kyrOrvel {
namespace client {

/// What a solver has made of A.
///
/// @param solved  whether the last step was a solve
/// @param x       where it put the solution, A.dimension() scalars
template <class T>
CapturedOutcome outcomeOf(const BlockLDLT<T>& solver, const BlockMatrix<T>& A, bool solved,
                          const T* x);

/// Whether a capture went on to a solve, which it has in its outcome or which failed.
template <class T>
bool endsWithSolve(const CapturedSystem<T>& system, const CapturedOutcome& outcome)
{
    return system.hasRightHandSide &&
           (outcome.solved || (outcome.factored && !outcome.status.ok()));
}

/// Analyses, factors and, if `andSolve`, solves a system with a solver of its own.
template <class T> CapturedOutcome run(const CapturedSystem<T>& system, bool andSolve);

/// The same in a given order.
template <class T>
CapturedOutcome runInOrder(const CapturedSystem<T>& system, const std::vector<unsigned int>& order,
                           bool andSolve);

} // namespace client
} // namespace kyrOrvel

#endif
