#include "Compliance.h"

#include "ConvertMatrix.h"

#include <fmt/core.h>

#include <cstddef>
#include <limits>

namespace orvel {

using kyrOrvel::client::BlockMatrix;

std::string refusalOf(const SolverOptions& options)
{
    const bool fits = !options.singlePrecision ||
                      options.compliance <= static_cast<double>(std::numeric_limits<float>::max());
    return fits ? ""
                : fmt::format("--compliance: {} is beyond single precision", options.compliance);
}

CompliantMatrix::CompliantMatrix(const BlockMatrix<double>& A, const SolverOptions& options)
    : m_given(A), m_changed(options.compliance != 0)
{
    if (!m_changed)
        return;
    const double compliance =
        options.singlePrecision ? static_cast<float>(options.compliance) : options.compliance;
    m_copy = convert<double>(A);
    for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t) {
        const std::size_t m = A.blockSize(t);
        double* const block = m_copy.block(t, t);
        for (std::size_t i = 0; i < m; ++i)
            block[i * m + i] -= compliance;
    }
}

void reportCompliance(Report& report, const BlockMatrix<double>& A, const SolverOptions& options)
{
    report.detail("compliance", options.compliance);
    if (options.compliance == 0)
        return;
    const bool used = A.firstTrailing() < A.numBlockRows();
    report.line("compliance", options.compliance, "compliance",
                fmt::format("{}", options.compliance),
                used ? "of every trailing block" : "of no block: none is trailing");
}

} // namespace orvel
