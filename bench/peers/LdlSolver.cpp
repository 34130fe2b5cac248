#include "Solver.h"

#include <amd.h>

extern "C" { // its header leaves that to those who include it
#include <ldl.h>
}

#include <cstddef>

namespace bench {

namespace {

/// LDL wants the upper triangle by columns: ours by rows, permuted while it reads.
class LdlSolver : public Solver {
public:
    explicit LdlSolver(const Input& input) : m_n(input.scalars.dimension())
    {
        const Columns& lower = input.scalars;
        const auto n = static_cast<std::size_t>(m_n);
        std::vector<std::vector<std::pair<int, double>>> columns(n);
        for (std::size_t c = 0; c < n; ++c)
            for (int e = lower.start[c]; e < lower.start[c + 1]; ++e) {
                const auto at = static_cast<std::size_t>(e);
                const int r = lower.rows[at];
                columns[static_cast<std::size_t>(r)].emplace_back(int(c), lower.values[at]);
                if (r != int(c))
                    columns[c].emplace_back(r, lower.values[at]);
            }
        m_start.push_back(0);
        for (auto& column : columns) {
            for (const auto& [row, value] : column) {
                m_rows.push_back(row);
                m_values.push_back(value);
            }
            m_start.push_back(static_cast<int>(m_rows.size()));
        }
        for (auto* words : {&m_order, &m_inverse, &m_parent, &m_counts, &m_flag, &m_pattern})
            words->resize(n);
        m_factorStart.resize(n + 1);
        m_work.resize(n);
        m_pivots.resize(n);
    }

    bool analyze() override
    {
        if (amd_order(m_n, m_start.data(), m_rows.data(), m_order.data(), nullptr, nullptr) < 0)
            return false;
        ldl_symbolic(m_n, m_start.data(), m_rows.data(), m_factorStart.data(), m_parent.data(),
                     m_counts.data(), m_flag.data(), m_order.data(), m_inverse.data());
        const auto size = static_cast<std::size_t>(m_factorStart.back());
        m_factorRows.resize(size);
        m_factorValues.resize(size);
        return true;
    }
    bool factorize() override
    {
        return ldl_numeric(m_n, m_start.data(), m_rows.data(), m_values.data(),
                           m_factorStart.data(), m_parent.data(), m_counts.data(),
                           m_factorRows.data(), m_factorValues.data(), m_pivots.data(),
                           m_work.data(), m_pattern.data(), m_flag.data(), m_order.data(),
                           m_inverse.data()) == m_n;
    }
    bool solve(const std::vector<double>& b, std::vector<double>& x) override
    {
        ldl_perm(m_n, m_work.data(), const_cast<double*>(b.data()), m_order.data());
        ldl_lsolve(m_n, m_work.data(), m_factorStart.data(), m_factorRows.data(),
                   m_factorValues.data());
        ldl_dsolve(m_n, m_work.data(), m_pivots.data());
        ldl_ltsolve(m_n, m_work.data(), m_factorStart.data(), m_factorRows.data(),
                    m_factorValues.data());
        ldl_permt(m_n, x.data(), m_work.data(), m_order.data());
        return true;
    }
    double factorScalars() const override { return double(m_factorRows.size()) + m_n; }

private:
    int m_n;
    std::vector<int> m_start, m_rows, m_order, m_inverse, m_parent, m_counts, m_flag, m_pattern;
    std::vector<int> m_factorStart, m_factorRows;
    std::vector<double> m_values, m_factorValues, m_work, m_pivots;
};

} // namespace

std::vector<Contender> ldlContenders()
{
    return {
        {"LDL, AMD", false, [](const Input& input) { return std::make_unique<LdlSolver>(input); }}};
}

} // namespace bench
