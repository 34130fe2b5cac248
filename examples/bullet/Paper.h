#ifndef BULLET_PAPER_H
#define BULLET_PAPER_H

#include <cairo.h>

#include <memory>
#include <string>

namespace bulletjoints {

struct Colour {
    double red;
    double green;
    double blue;
};

// Told apart with any kind of colour vision (Okabe, Ito 2008).
constexpr Colour kBlue = {0, 0.447, 0.698};
constexpr Colour kOrange = {0.902, 0.624, 0};
constexpr Colour kGreen = {0, 0.62, 0.451};
constexpr Colour kVermilion = {0.835, 0.369, 0};
constexpr Colour kInk = {0.13, 0.13, 0.13};
constexpr Colour kGrey = {0.45, 0.45, 0.45};
constexpr Colour kFaint = {0.88, 0.88, 0.88};

enum class Align { Left, Centre, Right };

/// A white sheet to draw on, saved as PNG. Lengths in pixels from the upper left corner.
class Paper {
public:
    Paper(int width, int height);

    void line(double x1, double y1, double x2, double y2, const Colour& colour, double width = 1);
    void circle(double x, double y, double radius, const Colour& colour); ///< filled
    void frame(double x, double y, double width, double height);
    void text(double x, double y, const std::string& words, double size = 13,
              Align align = Align::Left, const Colour& colour = kInk, bool bold = false);
    void textUpwards(double x, double y, const std::string& words, double size = 13);

    /// What is drawn until release stays inside the rectangle.
    void clip(double x, double y, double width, double height);
    void release();

    /// Whether the file was written.
    bool save(const std::string& path) const;

private:
    void use(const Colour& colour);

    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> m_surface;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> m_context;
};

} // namespace bulletjoints

#endif
