#include "Solver.h"

#include <kyrOrvelClient/BlockLDLT>

namespace bench {

namespace {

using namespace kyrOrvel::client;

class OwnSolver : public Solver {
public:
    OwnSolver(const Input& input, Ordering ordering) : m_input(input)
    {
        m_solver.setFactorization(Factorization::Serial);
        m_solver.setOrdering(ordering);
        m_solver.setCacheSize(1);
    }

    /// A pattern that was analysed before is found again: another one takes its place.
    void forget() override { m_solver.analyzePattern(m_other); }
    bool analyze() override { return m_solver.analyzePattern(m_input.matrix).ok(); }
    bool factorize() override { return m_solver.factorize(m_input.matrix).ok(); }
    bool solve(const std::vector<double>& b, std::vector<double>& x) override
    {
        return m_solver.solve(b.data(), x.data()).ok();
    }
    double factorScalars() const override { return double(m_solver.analysis().factorScalars); }
    double operations() const override { return double(m_solver.analysis().operations); }

private:
    const Input& m_input;
    const BlockMatrix<double> m_other{{1}};
    BlockLDLT<double> m_solver;
};

Contender contender(const char* name, Ordering ordering)
{
    return {name, false, [ordering](const Input& input) {
                return std::make_unique<OwnSolver>(input, ordering);
            }};
}

} // namespace

std::vector<Contender> ownContenders()
{
    std::vector<Contender> contenders = {contender("kyrOrvel", Ordering::Automatic)};
    if (hasNestedDissection())
        contenders.push_back(contender("kyrOrvel, METIS", Ordering::NestedDissection));
    return contenders;
}

} // namespace bench
