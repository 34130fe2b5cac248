#ifndef BULLET_SOLVER_H
#define BULLET_SOLVER_H

#include "BulletRows.h"
#include "JointSystem.h"

#include <BulletDynamics/ConstraintSolver/btSequentialImpulseConstraintSolver.h>

#include <vector>

namespace bulletjoints {

/// How joints and everything else take turns.
struct Turns {
    int interval = 1;       ///< iterations of Bullet's from one joint solve to the next
    bool jointsLast = true; ///< the step ends with the joints, not with the contacts
};

/// A solver for btDiscreteDynamicsWorld that solves joints directly, all at once.
///
/// Rows without limits go into a JointSystem; contacts, friction, limits and motors stay with the
/// sequential impulses of the base class. They take turns: joints first, then after each iteration
/// of Bullet's over the rest the joints again, on the velocities that it left. The
/// matrix is factored once per step. Where there is nothing else, one solve is the step.
///
/// Bodies that do not move are left out of the matrix; so are bodies without joints. Joints of
/// bodies that move along or about some axes only (linear and angular factors, infinite inertia)
/// stay with Bullet, and so does everything if the matrix cannot be factored.
///
/// Use it as any other: pass it to the world's constructor. One thread at a time.
class DirectJointSolver : public btSequentialImpulseConstraintSolver {
public:
    void setTurns(const Turns& turns) { m_turns = turns; }

    /// What became of the last group of joints; a message names redundant ones by their
    /// getUserConstraintId. Ok if all were solved as they are.
    const kyrOrvel::client::Status& status() const { return m_system.info(); }

    /// Scalar rows of the last group that were solved directly.
    std::size_t directRows() const { return m_solvable ? m_problem.rows.size() : 0; }
    const JointSystem& system() const { return m_system; }

protected:
    void convertJoints(btTypedConstraint** constraints, int numConstraints,
                       const btContactSolverInfo& info) override;
    btScalar solveGroupCacheFriendlyIterations(btCollisionObject** bodies, int numBodies,
                                               btPersistentManifold** manifolds, int numManifolds,
                                               btTypedConstraint** constraints, int numConstraints,
                                               const btContactSolverInfo& info,
                                               btIDebugDraw* drawer) override;
    btScalar solveSingleIteration(int iteration, btCollisionObject** bodies, int numBodies,
                                  btPersistentManifold** manifolds, int numManifolds,
                                  btTypedConstraint** constraints, int numConstraints,
                                  const btContactSolverInfo& info, btIDebugDraw* drawer) override;

private:
    /// A joint with rows that are equations, before it has its place in the matrix.
    struct Candidate {
        btTypedConstraint* joint;
        int bodyA; ///< in m_tmpSolverBodyPool
        int bodyB;
        std::vector<Row> rows;
        std::vector<int> pool; ///< where Bullet has these rows
    };

    void collect(btTypedConstraint** constraints, int numConstraints,
                 const btContactSolverInfo& info);
    void addCandidate(btTypedConstraint& joint, const BulletRows& read, int firstRow);
    Row makeRow(const BulletRow& row, btScalar damping, const btSolverBody& a,
                const btSolverBody& b) const;
    void order();
    void numberBodies();
    void takeFromBullet();
    void solveJoints();
    void applyChange();

    Turns m_turns;
    JointSystem m_system;
    JointProblem m_problem;
    std::vector<Candidate> m_candidates;
    BulletRows m_read;
    std::vector<int> m_bodies; ///< per body of the problem, in m_tmpSolverBodyPool
    std::vector<int> m_pool;   ///< per row of the problem, in m_tmpSolverNonContactConstraintPool
    std::vector<double> m_impulses; ///< λ so far, per row
    std::vector<double> m_residuals;
    std::vector<double> m_velocityChange;
    std::vector<double> m_impulseChange;
    bool m_solvable = false;
};

} // namespace bulletjoints

#endif
