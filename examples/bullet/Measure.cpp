#include "Measure.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

namespace bulletjoints {

namespace {

Bone boneOf(const btRigidBody& body)
{
    btVector3 half(0, 0, 0); // along the longest axis
    btScalar radius = 0;
    const btCollisionShape* shape = body.getCollisionShape();
    if (shape->getShapeType() == CAPSULE_SHAPE_PROXYTYPE) {
        const auto* capsule = static_cast<const btCapsuleShape*>(shape);
        half[1] = capsule->getHalfHeight();
        radius = capsule->getRadius();
    } else if (shape->getShapeType() == SPHERE_SHAPE_PROXYTYPE) {
        radius = static_cast<const btSphereShape*>(shape)->getRadius();
    } else {
        const btVector3 extents = static_cast<const btBoxShape*>(shape)->getHalfExtentsWithMargin();
        const int longest = extents.maxAxis();
        radius = extents[extents.minAxis()];
        half[longest] = extents[longest] - radius;
    }
    const btTransform& place = body.getWorldTransform();
    return {place * -half, place * half, radius};
}

Frame takeFrame(const World& world)
{
    Frame frame;
    for (const auto& body : world.bodies())
        if (!body->isStaticObject())
            frame.bones.push_back(boneOf(*body));
    for (const Pin& pin : world.pins())
        frame.pins.push_back({nullptr, pin.onA(), nullptr, pin.onB()});
    return frame;
}

double deepestContact(World& world)
{
    double deepest = 0;
    const btDispatcher& dispatcher = *world.dynamics().getDispatcher();
    for (int m = 0; m < dispatcher.getNumManifolds(); ++m) {
        const btPersistentManifold& manifold =
            *const_cast<btDispatcher&>(dispatcher).getManifoldByIndexInternal(m);
        for (int c = 0; c < manifold.getNumContacts(); ++c)
            deepest = std::max(deepest, -double(manifold.getContactPoint(c).getDistance()));
    }
    return deepest;
}

double largestFrom(const std::vector<Drift>& drift, std::size_t first)
{
    double largest = 0;
    for (std::size_t i = first; i < drift.size(); ++i)
        largest = std::max(largest, drift[i].largest);
    return largest;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

double Run::largestDrift() const
{
    return largestFrom(drift, 0);
}

double Run::settledDrift() const
{
    return largestFrom(drift, drift.size() * 3 / 4);
}

double Run::medianDrift() const
{
    std::vector<double> rms;
    for (const Drift& d : drift)
        rms.push_back(d.rms);
    return median(std::move(rms));
}

double Run::rmsDrift() const
{
    double sum = 0;
    for (const Drift& d : drift)
        sum += d.rms * d.rms;
    return std::sqrt(sum / double(drift.size()));
}

Run measure(const Scene& scene, const Method& method)
{
    std::unique_ptr<btConstraintSolver> solver;
    const DirectJointSolver* direct = nullptr;
    if (method.direct) {
        auto owned = std::make_unique<DirectJointSolver>();
        owned->setTurns(method.turns);
        direct = owned.get();
        solver = std::move(owned);
    } else {
        solver = std::make_unique<btSequentialImpulseConstraintSolver>();
    }
    World world(std::move(solver));
    world.dynamics().getSolverInfo().m_numIterations = method.iterations;
    scene.build(world);

    Run run;
    std::vector<double> milliseconds;
    const int steps = static_cast<int>(std::lround(scene.seconds * scene.rate));
    const int frameStep = static_cast<int>(std::lround(scene.frameSeconds * scene.rate));
    for (int step = 1; step <= steps; ++step) {
        const std::clock_t begin = std::clock();
        world.step(btScalar(1) / btScalar(scene.rate));
        milliseconds.push_back(1e3 * double(std::clock() - begin) / CLOCKS_PER_SEC);
        run.drift.push_back(world.drift());
        if (2 * step > steps)
            run.deepest = std::max(run.deepest, deepestContact(world));
        if (step == frameStep)
            run.frame = takeFrame(world);
    }
    run.medianMilliseconds = median(milliseconds);
    if (direct != nullptr)
        run.message = direct->status().message;
    return run;
}

} // namespace bulletjoints
