#ifndef BULLET_ROWS_H
#define BULLET_ROWS_H

#include <BulletDynamics/ConstraintSolver/btContactSolverInfo.h>
#include <BulletDynamics/ConstraintSolver/btTypedConstraint.h>

#include <vector>

namespace bulletjoints {

/// One row of a joint as getInfo2 writes it: scalars only, so that the distance from one row to the
/// next is a number of scalars, as getInfo2 expects.
struct BulletRow {
    btScalar linearA[3];
    btScalar angularA[3];
    btScalar linearB[3];
    btScalar angularB[3];
    btScalar error; ///< the velocity that Bullet wants along the row, errors of position included
    btScalar cfm;
    btScalar lower; ///< bounds of the impulse
    btScalar upper;
};

/// A joint's rows, and the share of the relative velocity that they are to remove.
struct BulletRows {
    std::vector<BulletRow> rows;
    btScalar damping = 1;
};

/// Asks a joint for its rows through getInfo1 and getInfo2; none if it is not enabled.
void readRows(btTypedConstraint& joint, const btContactSolverInfo& info, BulletRows& out);

/// Whether a row holds in both directions whatever the impulse: no limit, no motor, no end of its
/// strength. Only such rows are equations.
bool isBilateral(const BulletRow& row, const btTypedConstraint& joint);

} // namespace bulletjoints

#endif
