#ifndef ORVEL_CONFIGURE_H
#define ORVEL_CONFIGURE_H

#include "Commands.h"
#include "Orderings.h"

#include <kyrOrvelClient/BlockLDLT>

namespace orvel {

/// Sets a solver up as the options say, for a matrix that comes from anywhere: any signs will do.
template <class T>
void configure(kyrOrvel::client::BlockLDLT<T>& solver, const SolverOptions& options)
{
    solver.setSigns(kyrOrvel::client::Signs::Any);
    solver.setOrdering(orderingOf(options.ordering));
    solver.setThreads(options.threads);
    solver.setCompliance(static_cast<T>(options.compliance)); // in range: see refusalOf
    if (options.threads > 1)
        solver.setFactorization(kyrOrvel::client::Factorization::Parallel);
}

/// Whether a solver has an order for the matrix that it was given: also one that met unusable
/// pivots, unless the analysis failed.
template <class T>
bool hasOrder(const kyrOrvel::client::BlockLDLT<T>& solver,
              const kyrOrvel::client::BlockMatrix<T>& A)
{
    return solver.analysis().order.size() == A.numBlockRows();
}

} // namespace orvel

#endif
