#include "Solver.h"

#include <cholmod.h>

#include <algorithm>

namespace bench {

namespace {

class CholmodSolver : public Solver {
public:
    CholmodSolver(const Input& input, int supernodal, int ordering) : m_input(input)
    {
        cholmod_start(&m_common);
        m_common.print = 0;
        m_common.supernodal = supernodal;
        m_common.final_ll = supernodal == CHOLMOD_SUPERNODAL;
        m_common.nmethods = 1;
        m_common.method[0].ordering = ordering;
        m_common.postorder = 1;
        const Columns& scalars = input.scalars;
        m_matrix.nrow = m_matrix.ncol = static_cast<std::size_t>(scalars.dimension());
        m_matrix.nzmax = scalars.rows.size();
        m_matrix.p = const_cast<int*>(scalars.start.data());
        m_matrix.i = const_cast<int*>(scalars.rows.data());
        m_matrix.x = const_cast<double*>(scalars.values.data());
        m_matrix.stype = -1;
        m_matrix.itype = CHOLMOD_INT;
        m_matrix.xtype = CHOLMOD_REAL;
        m_matrix.dtype = CHOLMOD_DOUBLE;
        m_matrix.sorted = 1;
        m_matrix.packed = 1;
    }
    ~CholmodSolver() override
    {
        cholmod_free_factor(&m_factor, &m_common);
        cholmod_finish(&m_common);
    }
    CholmodSolver(const CholmodSolver&) = delete;
    CholmodSolver& operator=(const CholmodSolver&) = delete;

    bool analyze() override
    {
        cholmod_free_factor(&m_factor, &m_common);
        m_factor = cholmod_analyze(&m_matrix, &m_common);
        return m_factor && m_common.status == CHOLMOD_OK;
    }
    bool factorize() override
    {
        return cholmod_factorize(&m_matrix, m_factor, &m_common) && m_common.status == CHOLMOD_OK;
    }
    bool solve(const std::vector<double>& b, std::vector<double>& x) override
    {
        cholmod_dense right = {};
        right.nrow = right.nzmax = right.d = b.size();
        right.ncol = 1;
        right.x = const_cast<double*>(b.data());
        right.xtype = CHOLMOD_REAL;
        right.dtype = CHOLMOD_DOUBLE;
        cholmod_dense* solution = cholmod_solve(CHOLMOD_A, m_factor, &right, &m_common);
        if (!solution)
            return false;
        std::copy_n(static_cast<const double*>(solution->x), x.size(), x.begin());
        cholmod_free_dense(&solution, &m_common);
        return true;
    }
    double factorScalars() const override { return m_common.lnz; }
    double operations() const override { return m_common.fl / 2; }

private:
    const Input& m_input;
    cholmod_common m_common = {};
    cholmod_sparse m_matrix = {};
    cholmod_factor* m_factor = nullptr;
};

Contender contender(const char* name, int supernodal, int ordering)
{
    return {name, supernodal == CHOLMOD_SUPERNODAL, [supernodal, ordering](const Input& input) {
                return std::make_unique<CholmodSolver>(input, supernodal, ordering);
            }};
}

} // namespace

std::vector<Contender> cholmodContenders()
{
    return {contender("CHOLMOD LDL, AMD", CHOLMOD_SIMPLICIAL, CHOLMOD_AMD),
            contender("CHOLMOD LDL, METIS", CHOLMOD_SIMPLICIAL, CHOLMOD_METIS),
            contender("CHOLMOD supernodal, AMD", CHOLMOD_SUPERNODAL, CHOLMOD_AMD),
            contender("CHOLMOD supernodal, METIS", CHOLMOD_SUPERNODAL, CHOLMOD_METIS)};
}

} // namespace bench
