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
    if (options.threads > 1)
        solver.setFactorization(kyrOrvel::client::Factorization::Parallel);
}

} // namespace orvel

#endif
