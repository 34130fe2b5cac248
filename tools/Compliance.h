#ifndef ORVEL_COMPLIANCE_H
#define ORVEL_COMPLIANCE_H

#include "Commands.h"
#include "Report.h"

#include <kyrOrvelClient/BlockMatrix>

#include <string>

namespace orvel {

/// Why the compliance asked for cannot be had in the precision asked for, or empty.
std::string refusalOf(const SolverOptions& options);

/// The matrix that a solver works with: A, or if there is a compliance a copy that has it on its
/// trailing blocks.
class CompliantMatrix {
public:
    /// @param A  has to live as long as this
    CompliantMatrix(const kyrOrvel::client::BlockMatrix<double>& A, const SolverOptions& options);
    CompliantMatrix(const CompliantMatrix&) = delete;
    CompliantMatrix& operator=(const CompliantMatrix&) = delete;

    const kyrOrvel::client::BlockMatrix<double>& get() const
    {
        return m_changed ? m_copy : m_given;
    }

private:
    const kyrOrvel::client::BlockMatrix<double>& m_given;
    const bool m_changed;
    kyrOrvel::client::BlockMatrix<double> m_copy;
};

/// The line of a report; for people only if there is a compliance.
void reportCompliance(Report& report, const kyrOrvel::client::BlockMatrix<double>& A,
                      const SolverOptions& options);

} // namespace orvel

#endif
