#include "Solver.h"

#include <dmumps_c.h>

#include <cstddef>

namespace bench {

namespace {

class MumpsSolver : public Solver {
public:
    explicit MumpsSolver(const Input& input) : m_values(input.scalars.values)
    {
        const Columns& scalars = input.scalars;
        for (std::size_t c = 0; c + 1 < scalars.start.size(); ++c)
            for (int e = scalars.start[c]; e < scalars.start[c + 1]; ++e) {
                m_rows.push_back(scalars.rows[static_cast<std::size_t>(e)] + 1);
                m_columns.push_back(int(c) + 1);
            }
        m_mumps.comm_fortran = -987654; // the whole world
        m_mumps.par = 1;
        m_mumps.sym = 2; // symmetric, indefinite
        call(-1);
        for (const int output : {0, 1, 2, 3})
            m_mumps.icntl[output] = output == 3 ? 0 : -1;
        m_mumps.n = scalars.dimension();
        m_mumps.nnz = static_cast<MUMPS_INT8>(m_rows.size());
        m_mumps.irn = m_rows.data();
        m_mumps.jcn = m_columns.data();
        m_mumps.a = m_values.data();
    }
    ~MumpsSolver() override { call(-2); }
    MumpsSolver(const MumpsSolver&) = delete;
    MumpsSolver& operator=(const MumpsSolver&) = delete;

    bool analyze() override { return call(1); }
    bool factorize() override { return call(2); }
    bool solve(const std::vector<double>& b, std::vector<double>& x) override
    {
        x = b;
        m_mumps.rhs = x.data();
        m_mumps.nrhs = 1;
        return call(3);
    }
    double factorScalars() const override
    {
        const int entries = m_mumps.infog[19]; // negative: in millions
        return entries < 0 ? -1e6 * entries : double(entries);
    }
    double operations() const override { return m_mumps.rinfog[0] / 2; }

private:
    bool call(int job)
    {
        m_mumps.job = job;
        dmumps_c(&m_mumps);
        return m_mumps.infog[0] >= 0;
    }

    DMUMPS_STRUC_C m_mumps = {};
    std::vector<int> m_rows, m_columns;
    std::vector<double> m_values;
};

} // namespace

std::vector<Contender> mumpsContenders()
{
    return {
        {"MUMPS", false, [](const Input& input) { return std::make_unique<MumpsSolver>(input); }}};
}

} // namespace bench
