#ifndef BULLET_JOINT_SYSTEM_H
#define BULLET_JOINT_SYSTEM_H

#include <kyrOrvelClient/BlockLDLT>

#include <cstdint>
#include <vector>

namespace bulletjoints {

constexpr unsigned int kStatic = kyrOrvel::kNone; ///< instead of a body: one that does not move

/// A body that joints can move.
struct Body {
    double mass = 0;        ///< kg
    double inertia[9] = {}; ///< kg m², about the centre of mass, in world axes, row-major
    std::uint64_t id = 0;   ///< named in statuses
};

/// One scalar equation: a·vA + b·vB + compliance·λ = rhs, velocities linear first, then angular.
struct Row {
    double a[6] = {};
    double b[6] = {};
    double rhs = 0;
    double compliance = 0; ///< 0 for a rigid row
};

/// Rows [firstRow, firstRow + numRows) act between two bodies, of which one may be kStatic.
struct Joint {
    unsigned int bodyA = kStatic;
    unsigned int bodyB = kStatic;
    unsigned int firstRow = 0;
    unsigned int numRows = 0;
    std::uint64_t id = 0; ///< named in statuses
};

/// What a step's joints are; indices of bodies count from 0.
struct JointProblem {
    std::vector<Body> bodies;
    std::vector<Joint> joints;
    std::vector<Row> rows;
};

/// The equations of all joints as one matrix,
///
///     | M  Gᵀ |   | Δv |   | 0 |
///     | G  -C | · | -Δλ | = | r |
///
/// factored once per step and solved as often as other constraints have changed the velocities.
/// Knows nothing of Bullet. Double throughout: with a mass ratio of 1000 a float factor would lose
/// what the direct solution is meant to gain, and the time goes into reading joints, not into it.
class JointSystem {
public:
    /// Assembles and factors. The analysis is kept for as long as the same bodies are joined in the
    /// same way by the same numbers of rows; patterns that come back are found in the cache.
    ///
    /// Redundant joints make the matrix singular. The status says which; the step is then solved
    /// with a compliance of kSoftening of each joint's own, and so are the following ones until the
    /// pattern changes.
    ///
    /// @return whether solve can be called; if not, info() says why
    bool factor(const JointProblem& problem);

    /// Impulses that remove residuals, and what they do to velocities.
    ///
    /// @param residuals   per row of the problem: rhs - a·vA - b·vB - compliance·λ
    /// @param velocities  receives 6 per body: the change of its velocities
    /// @param impulses    receives one per row: the change of λ
    bool solve(const std::vector<double>& residuals, std::vector<double>& velocities,
               std::vector<double>& impulses);

    /// What is added to the compliance of a row of this problem, after factor.
    double softening(unsigned int joint) const
    {
        return m_softening.empty() ? 0 : m_softening[joint];
    }

    /// The last step's outcome. Singular stays to be read when softened joints were solved.
    const kyrOrvel::client::Status& info() const { return m_info; }
    bool softened() const { return !m_softening.empty(); }

    std::uint64_t analyses() const { return m_analyses; }
    const kyrOrvel::client::BlockLDLT<double>& solver() const { return m_solver; }

private:
    /// Relative to Σ g²/m of the joint's rows: softer than rigid by 1e-8, far above rounding.
    static constexpr double kSoftening = 1e-8;

    void prepare(const JointProblem& problem);
    void assemble(const JointProblem& problem);
    const kyrOrvel::client::Status& factorize();
    bool factorSoftened(const JointProblem& problem);

    kyrOrvel::client::BlockMatrix<double> m_matrix;
    kyrOrvel::client::BlockLDLT<double> m_solver;
    kyrOrvel::client::Status m_info;
    std::vector<Joint> m_pattern; ///< the joints that m_matrix has its pattern from
    std::size_t m_numBodies = 0;
    std::vector<double> m_softening; ///< per joint, or none
    std::vector<double> m_unknowns;
    std::uint64_t m_analyses = 0;
};

} // namespace bulletjoints

#endif
