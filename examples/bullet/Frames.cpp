#include "Paper.h"
#include "Results.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bulletjoints {

namespace {

constexpr int kWidth = 1200;
constexpr int kHeight = 700;
constexpr double kColumn = 395;
constexpr double kLeft = 20;
constexpr double kTop = 108;
constexpr double kPanelWidth = 370;
constexpr double kPanelHeight = 270;
constexpr double kRow = 304;
constexpr double kApart = 0.01; ///< metres; a joint further apart is marked

/// Looks along -z, a little from above and from the side, without perspective.
class View {
public:
    View(const SceneView& view, double left, double top)
        : m_view(view),
          m_x(left + kPanelWidth / 2),
          m_y(top + kPanelHeight / 2),
          m_scale(std::min(kPanelWidth / view.width, kPanelHeight / view.height))
    {
    }
    double x(const btVector3& p) const
    {
        return m_x + m_scale * (double(p.x()) - m_view.x + 0.35 * double(p.z()));
    }
    double y(const btVector3& p) const
    {
        return m_y - m_scale * (double(p.y()) - m_view.y - 0.25 * double(p.z()));
    }
    double length(double metres) const { return m_scale * metres; }

private:
    SceneView m_view;
    double m_x;
    double m_y;
    double m_scale;
};

void drawBones(Paper& paper, const View& view, std::vector<Bone> bones)
{
    const auto depth = [](const Bone& bone) { return bone.from.z() + bone.to.z(); };
    std::stable_sort(bones.begin(), bones.end(),
                     [&](const Bone& a, const Bone& b) { return depth(a) < depth(b); });
    for (const Bone& bone : bones) {
        const double width = std::max(2.0, view.length(2 * double(bone.radius)));
        const double x1 = view.x(bone.from), y1 = view.y(bone.from);
        const double x2 = view.x(bone.to), y2 = view.y(bone.to);
        if (width > 4)
            paper.line(x1, y1, x2, y2, kGrey, width + 1.5); // an outline
        paper.line(x1, y1, x2, y2, {0.72, 0.8, 0.88}, width);
    }
}

int drawGaps(Paper& paper, const View& view, const std::vector<Pin>& pins)
{
    int apart = 0;
    for (const Pin& pin : pins) {
        if (double((pin.inA - pin.inB).length()) < kApart)
            continue;
        ++apart;
        paper.line(view.x(pin.inA), view.y(pin.inA), view.x(pin.inB), view.y(pin.inB), kVermilion,
                   3);
        paper.circle(view.x(pin.inA), view.y(pin.inA), 2.5, kVermilion);
    }
    return apart;
}

void drawScale(Paper& paper, const View& view, const SceneView& scene, double left, double top)
{
    const double metres = scene.width > 50 ? 20 : 1;
    const double x = left + 14, y = top + kPanelHeight - 14;
    paper.line(x, y, x + view.length(metres), y, kInk, 2);
    char text[32];
    std::snprintf(text, sizeof text, "%g m", metres);
    paper.text(x, y - 7, text, 11);
}

/// Where z is whole metres the ground shows a line.
void drawGround(Paper& paper, const View& view, const SceneView& scene)
{
    const auto half = btScalar(scene.width);
    for (int z = -2; z <= 2; ++z) {
        const btVector3 from(-half, 0, btScalar(z));
        const btVector3 to(half, 0, btScalar(z));
        paper.line(view.x(from), view.y(from), view.x(to), view.y(to), kFaint);
    }
}

void drawPanel(Paper& paper, const Result& result, const Run& run, const std::string& method,
               double left, double top)
{
    const View view(result.scene.view, left, top);
    paper.clip(left, top, kPanelWidth, kPanelHeight);
    if (result.scene.view.ground)
        drawGround(paper, view, result.scene.view);
    drawBones(paper, view, run.frame.bones);
    const int apart = drawGaps(paper, view, run.frame.pins);
    drawScale(paper, view, result.scene.view, left, top);
    paper.release();
    paper.frame(left, top, kPanelWidth, kPanelHeight);

    char text[64];
    std::snprintf(text, sizeof text, "%d of %zu apart, %.2g ms per step", apart,
                  run.frame.pins.size(), run.medianMilliseconds);
    paper.text(left, top - 7, method, 12, Align::Left, kInk, true);
    paper.text(left + kPanelWidth, top - 7, text, 12, Align::Right, apart > 0 ? kVermilion : kInk);
}

} // namespace

bool drawFrames(const Results& results, const std::string& path)
{
    Paper paper(kWidth, kHeight);
    paper.text(kLeft, 28, "The same scenes at the same time, with and without direct joints", 17,
               Align::Left, kInk, true);
    paper.circle(kLeft + 4, 46, 4, kVermilion);
    paper.text(kLeft + 14, 50, "a joint whose two sides are more than 1 cm apart, and the gap", 13);
    double left = kLeft;
    for (const Result& result : results.scenes) {
        char text[128];
        std::snprintf(text, sizeof text, "%s, after %g s", result.scene.title.c_str(),
                      result.scene.frameSeconds);
        paper.text(left, kTop - 28, text, 14, Align::Left, kInk, true);
        drawPanel(paper, result, result.runs.front(), results.methods.front().name, left, kTop);
        drawPanel(paper, result, result.runs.back(), results.methods.back().name, left,
                  kTop + kRow);
        left += kColumn;
    }
    return paper.save(path);
}

} // namespace bulletjoints
