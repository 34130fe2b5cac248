#include "JointSystem.h"

#include <algorithm>

namespace bulletjoints {

namespace {

using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

bool samePattern(const std::vector<Joint>& a, const std::vector<Joint>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Joint& x, const Joint& y) {
        return x.bodyA == y.bodyA && x.bodyB == y.bodyB && x.numRows == y.numRows;
    });
}

void fillMass(const Body& body, double* block)
{
    for (int i = 0; i < 3; ++i) {
        block[i * 6 + i] = body.mass;
        for (int j = 0; j < 3; ++j)
            block[(3 + i) * 6 + 3 + j] = body.inertia[i * 3 + j];
    }
}

/// g·M⁻¹·gᵀ, with the diagonal of the inertia for the inertia: a scale, not a result.
double mobility(const double* g, const Body& body)
{
    double sum = 0;
    for (int i = 0; i < 3; ++i)
        sum += g[i] * g[i] / body.mass + g[3 + i] * g[3 + i] / body.inertia[i * 4];
    return sum;
}

double mobility(const JointProblem& problem, const Joint& joint, unsigned int row)
{
    double sum = 0;
    if (joint.bodyA != kStatic)
        sum += mobility(problem.rows[row].a, problem.bodies[joint.bodyA]);
    if (joint.bodyB != kStatic)
        sum += mobility(problem.rows[row].b, problem.bodies[joint.bodyB]);
    return sum;
}

} // namespace

void JointSystem::prepare(const JointProblem& problem)
{
    if (m_numBodies == problem.bodies.size() && samePattern(m_pattern, problem.joints)) {
        m_matrix.setZero();
        return;
    }
    const auto numBodies = static_cast<unsigned int>(problem.bodies.size());
    std::vector<unsigned int> sizes(numBodies, 6);
    for (const Joint& joint : problem.joints)
        sizes.push_back(joint.numRows);
    m_matrix = kyrOrvel::client::BlockMatrix<double>(std::move(sizes), numBodies);
    m_numBodies = numBodies;
    m_pattern = problem.joints;
    m_softening.clear();
    m_solver.setCompliance(0);
}

void JointSystem::assemble(const JointProblem& problem)
{
    for (unsigned int b = 0; b < problem.bodies.size(); ++b) {
        fillMass(problem.bodies[b], m_matrix.block(b, b));
        m_matrix.setId(b, problem.bodies[b].id);
    }
    auto block = static_cast<unsigned int>(problem.bodies.size());
    for (const Joint& joint : problem.joints) {
        for (unsigned int i = 0; i < joint.numRows; ++i) {
            const Row& row = problem.rows[joint.firstRow + i];
            if (joint.bodyA != kStatic)
                std::copy(row.a, row.a + 6, m_matrix.block(block, joint.bodyA) + i * 6);
            if (joint.bodyB != kStatic)
                std::copy(row.b, row.b + 6, m_matrix.block(block, joint.bodyB) + i * 6);
            if (row.compliance > 0)
                m_matrix.block(block, block)[i * joint.numRows + i] = -row.compliance;
        }
        m_matrix.setId(block, joint.id);
        ++block;
    }
}

const Status& JointSystem::factorize()
{
    if (m_solver.isAnalyzed(m_matrix))
        return m_solver.factorize(m_matrix);
    const Status& status = m_solver.compute(m_matrix);
    if (!m_solver.statistics().analysisReused)
        ++m_analyses;
    return status;
}

bool JointSystem::factorSoftened(const JointProblem& problem)
{
    m_softening.clear();
    for (const Joint& joint : problem.joints) {
        double largest = 0;
        for (unsigned int i = 0; i < joint.numRows; ++i)
            largest = std::max(largest, mobility(problem, joint, joint.firstRow + i));
        m_softening.push_back(kSoftening * largest);
    }
    return m_solver.setCompliance(m_softening).ok() && factorize().ok();
}

bool JointSystem::factor(const JointProblem& problem)
{
    prepare(problem);
    assemble(problem);
    m_unknowns.resize(m_matrix.dimension());
    if (softened())
        return factorSoftened(problem);
    m_info = factorize();
    if (m_info.ok())
        return true;
    return m_info.code == StatusCode::Singular && factorSoftened(problem);
}

bool JointSystem::solve(const std::vector<double>& residuals, std::vector<double>& velocities,
                        std::vector<double>& impulses)
{
    const auto velocitiesEnd =
        m_unknowns.begin() + static_cast<std::ptrdiff_t>(m_matrix.blockOffset(0) + 6 * m_numBodies);
    std::fill(m_unknowns.begin(), velocitiesEnd, 0.0);
    std::copy(residuals.begin(), residuals.end(), velocitiesEnd);
    const Status& status = m_solver.solve(m_unknowns.data(), m_unknowns.data());
    if (!status.ok()) {
        m_info = status;
        return false;
    }
    velocities.assign(m_unknowns.begin(), velocitiesEnd);
    impulses.assign(velocitiesEnd, m_unknowns.end());
    for (double& impulse : impulses)
        impulse = -impulse;
    return true;
}

} // namespace bulletjoints
