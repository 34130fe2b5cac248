#include "BulletRows.h"

namespace bulletjoints {

void readRows(btTypedConstraint& joint, const btContactSolverInfo& info, BulletRows& out)
{
    out.rows.clear();
    if (!joint.isEnabled())
        return;
    btTypedConstraint::btConstraintInfo1 size = {};
    joint.getInfo1(&size);
    if (size.m_numConstraintRows <= 0)
        return;

    BulletRow empty = {};
    empty.cfm = info.m_globalCfm;
    empty.lower = -SIMD_INFINITY;
    empty.upper = SIMD_INFINITY;
    out.rows.assign(static_cast<std::size_t>(size.m_numConstraintRows), empty);

    BulletRow& first = out.rows.front();
    btTypedConstraint::btConstraintInfo2 rows = {};
    rows.fps = btScalar(1) / info.m_timeStep;
    rows.erp = info.m_erp;
    rows.m_J1linearAxis = first.linearA;
    rows.m_J1angularAxis = first.angularA;
    rows.m_J2linearAxis = first.linearB;
    rows.m_J2angularAxis = first.angularB;
    rows.rowskip = sizeof(BulletRow) / sizeof(btScalar);
    rows.m_constraintError = &first.error;
    rows.cfm = &first.cfm;
    rows.m_lowerLimit = &first.lower;
    rows.m_upperLimit = &first.upper;
    rows.m_numIterations = info.m_numIterations;
    rows.m_damping = info.m_damping;
    joint.getInfo2(&rows);
    out.damping = rows.m_damping;
}

bool isBilateral(const BulletRow& row, const btTypedConstraint& joint)
{
    return row.lower <= -SIMD_INFINITY && row.upper >= SIMD_INFINITY &&
           joint.getBreakingImpulseThreshold() >= SIMD_INFINITY;
}

} // namespace bulletjoints
