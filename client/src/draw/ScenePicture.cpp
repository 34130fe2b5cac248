#include <kyrOrvelClient/Pictures>

#include "../OutOfMemory.h"
#include "../io/WholeFile.h"
#include "Svg.h"

#include <kyrOrvel/Orvel>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kPanel = 300; // width and height of a pattern, in pixels
constexpr double kScene = 180; // height of the scene
constexpr double kGap = 40;
constexpr double kCaption = 26;       // height of a line of text
constexpr double kAnchor = 12;        // size of the squares that stand for the ground
constexpr double kLeastExtent = 1e-6; // of a scene, in metres: one point has a scale, too

constexpr char kOrdinary[] = "#2f6db3";
constexpr char kTrailing[] = "#d9822b";
constexpr char kFill[] = "#b9bec6";
constexpr char kGround[] = "#8a7f72";

using Point = std::array<double, 3>;

/// A square pattern whose blocks are drawn in proportion to their sizes, never too small to see.
class PatternPanel {
public:
    PatternPanel(Svg& svg, double x, double y, std::vector<std::size_t> offsets)
        : m_svg(svg),
          m_x(x),
          m_y(y),
          m_offsets(std::move(offsets)),
          m_scale(kPanel / static_cast<double>(std::max<std::size_t>(m_offsets.back(), 1)))
    {
        m_svg.frame(x, y, kPanel, kPanel);
    }

    void block(unsigned int r, unsigned int c, const char* fill)
    {
        m_svg.rectangle(m_x + at(c), m_y + at(r), extent(c), extent(r), fill);
    }

private:
    double at(unsigned int b) const { return m_scale * static_cast<double>(m_offsets[b]); }
    double extent(unsigned int b) const
    {
        return std::max(m_scale * static_cast<double>(m_offsets[b + 1] - m_offsets[b]), 0.8);
    }

    Svg& m_svg;
    double m_x;
    double m_y;
    std::vector<std::size_t> m_offsets;
    double m_scale;
};

/// Where a point in space lands in an oblique view, in metres: x to the right, y down.
std::array<double, 2> oblique(const Point& p)
{
    return {p[0] + 0.5 * p[2], -p[1] + 0.5 * p[2]};
}

/// The bodies as lines, and squares where they are fixed to the ground.
void drawScene(Svg& svg, const Scene& scene, double width)
{
    double low[2] = {1e30, 1e30};
    double high[2] = {-1e30, -1e30};
    for (const auto& body : scene.bodies)
        for (const Point& end : body)
            for (const std::size_t axis : {0u, 1u}) {
                low[axis] = std::min(low[axis], oblique(end)[axis]);
                high[axis] = std::max(high[axis], oblique(end)[axis]);
            }
    const double scale =
        std::min(width / std::max(high[0] - low[0], kLeastExtent),
                 (kScene - 2 * kAnchor) / std::max(high[1] - low[1], kLeastExtent));
    const double left = kGap + (width - scale * (high[0] - low[0])) / 2;
    const auto screen = [&](const Point& p) {
        return std::array<double, 2>{left + scale * (oblique(p)[0] - low[0]),
                                     kGap + kAnchor + scale * (oblique(p)[1] - low[1])};
    };
    for (const Point& anchor : scene.anchors)
        svg.rectangle(screen(anchor)[0] - kAnchor / 2, screen(anchor)[1] - kAnchor / 2, kAnchor,
                      kAnchor, kGround);
    for (const auto& body : scene.bodies) {
        const auto from = screen(body[0]);
        const auto to = screen(body[1]);
        svg.line(from[0], from[1], to[0], to[1], 2.2, kOrdinary);
    }
}

void drawMatrix(PatternPanel& panel, const BlockMatrix<double>& A)
{
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const char* const colour = r < A.firstTrailing() ? kOrdinary : kTrailing;
            panel.block(r, entry.column, colour);
            if (entry.column != r)
                panel.block(entry.column, r, colour);
        }
}

/// L in elimination order; what A has no block for is fill-in.
void drawFactor(PatternPanel& panel, const BlockMatrix<double>& A, const BlockLDLT<double>& solver)
{
    const OrvelData<double>& data = solver.data();
    const std::vector<unsigned int>& order = solver.analysis().order;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (unsigned int e = data.factorRowStart[r]; e < data.factorRowStart[r + 1]; ++e) {
            const unsigned int c = data.factorColumns[e];
            const unsigned int later = std::max(order[r], order[c]);
            const unsigned int earlier = std::min(order[r], order[c]);
            const bool stored = r == c || A.find(later, earlier) != nullptr;
            panel.block(r, c, !stored ? kFill : later < A.firstTrailing() ? kOrdinary : kTrailing);
        }
}

std::vector<std::size_t> offsetsOf(const BlockMatrix<double>& A,
                                   const std::vector<unsigned int>* order)
{
    std::vector<std::size_t> offsets = {0};
    for (unsigned int k = 0; k < A.numBlockRows(); ++k)
        offsets.push_back(offsets.back() + A.blockSize(order ? (*order)[k] : k));
    return offsets;
}

Status drawPicture(const std::string& path, const Scene& scene, const BlockLDLT<double>& solver)
{
    const BlockMatrix<double>& A = scene.matrix;
    const Analysis& analysis = solver.analysis();
    const std::size_t n = A.numBlockRows();
    if (analysis.order.size() != n || solver.data().factorRowStart.size() != n + 1)
        return {StatusCode::InvalidInput,
                path + ": the solver has not analysed this scene's matrix", kNone, kNone};
    const double width = 3 * kGap + 2 * kPanel;
    const double top = 2 * kGap + kScene;
    Svg svg(width, top + kPanel + 2 * kGap);
    if (!scene.bodies.empty())
        drawScene(svg, scene, width - 2 * kGap);

    PatternPanel matrix(svg, kGap, top, offsetsOf(A, nullptr));
    drawMatrix(matrix, A);
    svg.text(kGap, top + kPanel + kCaption,
             "A as assembled: " + std::to_string(analysis.matrixBlocks) + " blocks");

    const double right = 2 * kGap + kPanel;
    PatternPanel factor(svg, right, top, offsetsOf(A, &analysis.order));
    drawFactor(factor, A, solver);
    svg.text(right, top + kPanel + kCaption,
             "L: " + std::to_string(analysis.factorBlocks) + " blocks, " +
                 std::to_string(analysis.factorBlocks - analysis.matrixBlocks) +
                 " of them fill-in");

    const double legend = top + kPanel + 2 * kCaption;
    const std::pair<const char*, const char*> keys[] = {
        {kOrdinary, "body"}, {kTrailing, "joint"}, {kFill, "fill-in"}};
    double x = kGap;
    for (const auto& [colour, name] : keys) {
        svg.rectangle(x, legend - 11, 12, 12, colour);
        svg.text(x + 18, legend, name);
        x += 100;
    }
    return writeWholeFile(path, svg.finish());
}

} // namespace

Status writeScenePicture(const std::string& path, const Scene& scene,
                         const BlockLDLT<double>& solver)
{
    return guardMemory([&] { return drawPicture(path, scene, solver); });
}

} // namespace client
} // namespace kyrOrvel
