#ifndef ORVEL_PLOT_SUBJECT_H
#define ORVEL_PLOT_SUBJECT_H

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/BlockMatrix>

#include <kyrOrvel/FactorTrace>

#include <string>

namespace orvel {

/// What is drawn: a matrix, and as much of its solution as there is.
struct PlotSubject {
    std::string name; ///< for titles
    const kyrOrvel::client::BlockMatrix<double>& matrix;
    const kyrOrvel::client::BlockLDLT<double>& solver;
    bool analysed = false; ///< there is an order, and the factor's structure
    bool factored = false; ///< there are pivots, usable or not
    kyrOrvel::FactorTrace trace;

    const kyrOrvel::client::Analysis& analysis() const { return solver.analysis(); }
    bool isTrailing(unsigned int block) const { return block >= matrix.firstTrailing(); }
};

} // namespace orvel

#endif
