#ifndef ORVEL_PLOT_REPORT_H
#define ORVEL_PLOT_REPORT_H

#include "MatrixInput.h"
#include "Report.h"
#include "draw/PlotSubject.h"

#include <string>
#include <vector>

namespace orvel {

/// The figures of what was drawn, for JSON.
///
/// @param drawn  the kinds of pictures, in the order of their pages
void reportPlot(Report& report, const MatrixInput& input, const PlotSubject& subject,
                const SolverOptions& options, const std::vector<std::string>& drawn);

} // namespace orvel

#endif
