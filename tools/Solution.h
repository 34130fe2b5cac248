#ifndef ORVEL_SOLUTION_H
#define ORVEL_SOLUTION_H

#include "Commands.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/BlockMatrix>
#include <kyrOrvelClient/Status>

#include <cstddef>
#include <vector>

namespace orvel {

/// The solution of A·x = b, and what it took.
struct Solution {
    std::vector<double> x;
    kyrOrvel::client::Analysis analysis;
    int refinements = 0;
    bool corrected = false;                 ///< a factor in float was corrected in double
    std::size_t regularizedPivots = 0;      ///< that float could not use
    kyrOrvel::client::Status factorization; ///< Regularized says which
    Accuracy accuracy = {};
};

/// Factors, solves and refines as the options say. A failure is the solver's, or Inaccurate: a
/// solution that has lost half of its digits is none.
kyrOrvel::client::Status computeSolution(const kyrOrvel::client::BlockMatrix<double>& A,
                                         const std::vector<double>& b, const SolverOptions& options,
                                         Solution& solution);

/// The lines of a report that follow those of reportMatrix.
void reportSolution(Report& report, const Solution& solution);

} // namespace orvel

#endif
