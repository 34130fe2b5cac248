#include "Solver.h"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

namespace bulletjoints {

namespace {

/// Whether a body moves along and about all axes, so that its mass matrix has an inverse.
bool movesFreely(const btRigidBody& body)
{
    const btVector3 one(1, 1, 1);
    const btVector3& inertia = body.getInvInertiaDiagLocal();
    return body.getInvMass() > 0 && inertia.x() > 0 && inertia.y() > 0 && inertia.z() > 0 &&
           body.getLinearFactor() == one && body.getAngularFactor() == one;
}

bool isStatic(const btRigidBody& body)
{
    return body.getInvMass() == btScalar(0);
}

bool canBeJoined(const btRigidBody& body)
{
    return isStatic(body) || movesFreely(body);
}

/// R·diag(inertia)·Rᵀ in double: Bullet keeps the inverse only, rounded to its own scalar.
Body makeBody(const btRigidBody& rigid)
{
    Body body;
    body.mass = 1 / double(rigid.getInvMass());
    body.id = static_cast<std::uint64_t>(rigid.getWorldArrayIndex());
    const btMatrix3x3& R = rigid.getWorldTransform().getBasis();
    const btVector3& inverse = rigid.getInvInertiaDiagLocal();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j) {
            double sum = 0;
            for (int k = 0; k < 3; ++k)
                sum += double(R[i][k]) * double(R[j][k]) / double(inverse[k]);
            body.inertia[i * 3 + j] = body.inertia[j * 3 + i] = sum;
        }
    return body;
}

double dot(const btScalar* a, const btVector3& b)
{
    return double(a[0]) * double(b[0]) + double(a[1]) * double(b[1]) + double(a[2]) * double(b[2]);
}

/// A row's velocity on one side before any constraint has acted: with gravity and other forces.
double velocityAlong(const btScalar* linear, const btScalar* angular, const btSolverBody& body)
{
    return dot(linear, body.m_linearVelocity) + dot(linear, body.m_externalForceImpulse) +
           dot(angular, body.m_angularVelocity) + dot(angular, body.m_externalTorqueImpulse);
}

double changeAlong(const double* g, const btSolverBody& body)
{
    double sum = 0;
    for (int i = 0; i < 3; ++i)
        sum += g[i] * double(body.m_deltaLinearVelocity[i]) +
               g[3 + i] * double(body.m_deltaAngularVelocity[i]);
    return sum;
}

void addTo(btVector3& velocity, const double* change)
{
    velocity += btVector3(btScalar(change[0]), btScalar(change[1]), btScalar(change[2]));
}

/// g·M⁻¹·gᵀ on one side, in Bullet's own terms.
double mobility(const btScalar* linear, const btScalar* angular, const btRigidBody& body)
{
    const btVector3 a(angular[0], angular[1], angular[2]);
    const btVector3 l(linear[0], linear[1], linear[2]);
    return double(body.getInvMass() * l.length2() + a.dot(body.getInvInertiaTensorWorld() * a));
}

} // namespace

void DirectJointSolver::convertJoints(btTypedConstraint** constraints, int numConstraints,
                                      const btContactSolverInfo& info)
{
    btSequentialImpulseConstraintSolver::convertJoints(constraints, numConstraints, info);
    collect(constraints, numConstraints, info);
    order();
    numberBodies();
    m_solvable = !m_problem.rows.empty() && m_system.factor(m_problem);
    if (m_solvable)
        takeFromBullet();
}

void DirectJointSolver::collect(btTypedConstraint** constraints, int numConstraints,
                                const btContactSolverInfo& info)
{
    m_candidates.clear();
    int firstRow = 0;
    for (int i = 0; i < numConstraints; ++i) {
        btTypedConstraint& joint = *constraints[i];
        if (canBeJoined(joint.getRigidBodyA()) && canBeJoined(joint.getRigidBodyB())) {
            readRows(joint, info, m_read);
            addCandidate(joint, m_read, firstRow);
        }
        firstRow += m_tmpConstraintSizesPool[i].m_numConstraintRows;
    }
}

void DirectJointSolver::addCandidate(btTypedConstraint& joint, const BulletRows& read, int firstRow)
{
    if (read.rows.empty() || (isStatic(joint.getRigidBodyA()) && isStatic(joint.getRigidBodyB())))
        return;
    const btSolverConstraint& first = m_tmpSolverNonContactConstraintPool[firstRow];
    Candidate candidate = {&joint, first.m_solverBodyIdA, first.m_solverBodyIdB, {}, {}};
    const btSolverBody& a = m_tmpSolverBodyPool[candidate.bodyA];
    const btSolverBody& b = m_tmpSolverBodyPool[candidate.bodyB];
    for (std::size_t i = 0; i < read.rows.size(); ++i) {
        const BulletRow& row = read.rows[i];
        const double scale = mobility(row.linearA, row.angularA, joint.getRigidBodyA()) +
                             mobility(row.linearB, row.angularB, joint.getRigidBodyB());
        if (!isBilateral(row, joint) || !(scale > double(SIMD_EPSILON)))
            continue;
        candidate.rows.push_back(makeRow(row, read.damping, a, b));
        candidate.rows.back().compliance = double(row.cfm) * scale; // as Bullet's iteration has it
        candidate.pool.push_back(firstRow + static_cast<int>(i));
    }
    if (!candidate.rows.empty())
        m_candidates.push_back(std::move(candidate));
}

Row DirectJointSolver::makeRow(const BulletRow& row, btScalar damping, const btSolverBody& a,
                               const btSolverBody& b) const
{
    Row result;
    for (int i = 0; i < 3; ++i) {
        result.a[i] = double(row.linearA[i]);
        result.a[3 + i] = double(row.angularA[i]);
        result.b[i] = double(row.linearB[i]);
        result.b[3 + i] = double(row.angularB[i]);
    }
    result.rhs =
        double(row.error) - double(damping) * (velocityAlong(row.linearA, row.angularA, a) +
                                               velocityAlong(row.linearB, row.angularB, b));
    return result;
}

/// Bullet hands joints over by islands, whose order contacts change. Sorted by their bodies' places
/// in the world they keep their pattern from step to step.
void DirectJointSolver::order()
{
    const auto key = [](const Candidate& c) {
        return std::make_tuple(c.joint->getRigidBodyA().getWorldArrayIndex(),
                               c.joint->getRigidBodyB().getWorldArrayIndex(), c.rows.size());
    };
    std::stable_sort(m_candidates.begin(), m_candidates.end(),
                     [&](const Candidate& x, const Candidate& y) { return key(x) < key(y); });
}

void DirectJointSolver::numberBodies()
{
    m_problem.bodies.clear();
    m_problem.joints.clear();
    m_problem.rows.clear();
    m_bodies.clear();
    m_pool.clear();
    std::vector<unsigned int> numbers(static_cast<std::size_t>(m_tmpSolverBodyPool.size()),
                                      kStatic);
    const auto number = [&](btRigidBody& rigid, int inPool) {
        if (isStatic(rigid))
            return kStatic;
        unsigned int& n = numbers[static_cast<std::size_t>(inPool)];
        if (n == kStatic) {
            n = static_cast<unsigned int>(m_bodies.size());
            m_bodies.push_back(inPool);
            m_problem.bodies.push_back(makeBody(rigid));
        }
        return n;
    };
    for (const Candidate& candidate : m_candidates) {
        Joint joint;
        joint.bodyA = number(candidate.joint->getRigidBodyA(), candidate.bodyA);
        joint.bodyB = number(candidate.joint->getRigidBodyB(), candidate.bodyB);
        joint.firstRow = static_cast<unsigned int>(m_problem.rows.size());
        joint.numRows = static_cast<unsigned int>(candidate.rows.size());
        joint.id = static_cast<std::uint64_t>(candidate.joint->getUserConstraintId());
        m_problem.joints.push_back(joint);
        m_problem.rows.insert(m_problem.rows.end(), candidate.rows.begin(), candidate.rows.end());
        m_pool.insert(m_pool.end(), candidate.pool.begin(), candidate.pool.end());
    }
}

/// Bullet goes over a row for as many iterations as it says; these rows say none. They stay in the
/// pool, from which Bullet reports impulses when the step is done.
void DirectJointSolver::takeFromBullet()
{
    for (const int row : m_pool)
        m_tmpSolverNonContactConstraintPool[row].m_overrideNumSolverIterations = 0;
    m_impulses.assign(m_pool.size(), 0.0);
    m_residuals.resize(m_pool.size());
}

btScalar DirectJointSolver::solveGroupCacheFriendlyIterations(
    btCollisionObject** bodies, int numBodies, btPersistentManifold** manifolds, int numManifolds,
    btTypedConstraint** constraints, int numConstraints, const btContactSolverInfo& info,
    btIDebugDraw* drawer)
{
    solveJoints();
    return btSequentialImpulseConstraintSolver::solveGroupCacheFriendlyIterations(
        bodies, numBodies, manifolds, numManifolds, constraints, numConstraints, info, drawer);
}

btScalar DirectJointSolver::solveSingleIteration(int iteration, btCollisionObject** bodies,
                                                 int numBodies, btPersistentManifold** manifolds,
                                                 int numManifolds, btTypedConstraint** constraints,
                                                 int numConstraints,
                                                 const btContactSolverInfo& info,
                                                 btIDebugDraw* drawer)
{
    const btScalar residual = btSequentialImpulseConstraintSolver::solveSingleIteration(
        iteration, bodies, numBodies, manifolds, numManifolds, constraints, numConstraints, info,
        drawer);
    if (residual <= info.m_leastSquaresResidualThreshold)
        return residual; // nothing moved: the joints hold as they did, and Bullet stops
    const int last = std::max(m_maxOverrideNumSolverIterations, info.m_numIterations) - 1;
    if (iteration >= last ? m_turns.jointsLast : (iteration + 1) % m_turns.interval == 0)
        solveJoints();
    return residual;
}

void DirectJointSolver::solveJoints()
{
    if (!m_solvable)
        return;
    for (unsigned int j = 0; j < m_problem.joints.size(); ++j) {
        const Joint& joint = m_problem.joints[j];
        for (unsigned int r = joint.firstRow; r < joint.firstRow + joint.numRows; ++r) {
            const Row& row = m_problem.rows[r];
            const double compliance = row.compliance + m_system.softening(j);
            double residual = row.rhs - compliance * m_impulses[r];
            if (joint.bodyA != kStatic)
                residual -= changeAlong(row.a, m_tmpSolverBodyPool[m_bodies[joint.bodyA]]);
            if (joint.bodyB != kStatic)
                residual -= changeAlong(row.b, m_tmpSolverBodyPool[m_bodies[joint.bodyB]]);
            m_residuals[r] = residual;
        }
    }
    if (m_system.solve(m_residuals, m_velocityChange, m_impulseChange))
        applyChange();
}

void DirectJointSolver::applyChange()
{
    for (std::size_t b = 0; b < m_bodies.size(); ++b) {
        btSolverBody& body = m_tmpSolverBodyPool[m_bodies[b]];
        addTo(body.m_deltaLinearVelocity, &m_velocityChange[6 * b]);
        addTo(body.m_deltaAngularVelocity, &m_velocityChange[6 * b + 3]);
    }
    for (std::size_t r = 0; r < m_pool.size(); ++r) {
        m_impulses[r] += m_impulseChange[r];
        m_tmpSolverNonContactConstraintPool[m_pool[r]].m_appliedImpulse = btScalar(m_impulses[r]);
    }
}

} // namespace bulletjoints
