#include "Solver.h"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

namespace bench {

namespace {

class EigenSolver : public Solver {
public:
    using Matrix = Eigen::SparseMatrix<double>;

    explicit EigenSolver(const Input& input)
        : m_matrix(Eigen::Map<const Matrix>(input.scalars.dimension(), input.scalars.dimension(),
                                            static_cast<Eigen::Index>(input.scalars.rows.size()),
                                            input.scalars.start.data(), input.scalars.rows.data(),
                                            input.scalars.values.data()))
    {
    }

    bool analyze() override
    {
        m_solver.analyzePattern(m_matrix);
        return true;
    }
    bool factorize() override
    {
        m_solver.factorize(m_matrix);
        return m_solver.info() == Eigen::Success;
    }
    bool solve(const std::vector<double>& b, std::vector<double>& x) override
    {
        const auto n = static_cast<Eigen::Index>(b.size());
        Eigen::Map<Eigen::VectorXd>(x.data(), n) =
            m_solver.solve(Eigen::Map<const Eigen::VectorXd>(b.data(), n));
        return m_solver.info() == Eigen::Success;
    }
    double factorScalars() const override
    {
        return double(m_solver.matrixL().nestedExpression().nonZeros() + m_matrix.rows());
    }

private:
    Matrix m_matrix;
    Eigen::SimplicialLDLT<Matrix, Eigen::Lower> m_solver;
};

} // namespace

std::vector<Contender> eigenContenders()
{
    return {{"Eigen SimplicialLDLT", false,
             [](const Input& input) { return std::make_unique<EigenSolver>(input); }}};
}

} // namespace bench
