#ifndef ORVEL_CANVAS_H
#define ORVEL_CANVAS_H

#include "Palette.h"

#include <cairo.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvel {

enum class PictureFormat { Svg, Png, Pdf };

/// The format that the ending of a file name asks for, in upper or lower case; false if none does.
bool formatOf(const std::string& path, PictureFormat& format);

enum class Align { Left, Centre, Right };

/// Pixels of its own colours, row by row; transparent at first.
class Raster {
public:
    Raster(unsigned int width, unsigned int height)
        : m_width(width), m_height(height), m_pixels(std::size_t(width) * height, 0)
    {
    }
    unsigned int width() const { return m_width; }
    unsigned int height() const { return m_height; }
    void set(unsigned int x, unsigned int y, const Colour& colour);
    const std::vector<std::uint32_t>& pixels() const { return m_pixels; }

private:
    unsigned int m_width;
    unsigned int m_height;
    std::vector<std::uint32_t> m_pixels; ///< 0xAARRGGBB
};

/// Draws on a page. Lengths are in pixels of a screen, from the page's upper left corner.
class Canvas {
public:
    explicit Canvas(cairo_t* context) : m_context(context) {}

    void fillRectangle(double x, double y, double width, double height, const Colour& colour);
    void strokeRectangle(double x, double y, double width, double height, const Colour& colour,
                         double lineWidth = 1);
    void line(double x1, double y1, double x2, double y2, const Colour& colour,
              double lineWidth = 1);
    void fillCircle(double x, double y, double radius, const Colour& colour);
    void strokeCircle(double x, double y, double radius, const Colour& colour,
                      double lineWidth = 1);

    /// Words whose base line begins, is centred or ends at (x, y).
    void text(double x, double y, const std::string& words, double size = 12,
              Align align = Align::Left, bool bold = false);

    /// Words that run upwards, centred at (x, y).
    void textUpwards(double x, double y, const std::string& words, double size = 12);

    /// The width that words take.
    double widthOf(const std::string& words, double size = 12, bool bold = false);

    /// Stretches a raster over a rectangle; its pixels stay sharp.
    void image(double x, double y, double width, double height, const Raster& raster);

private:
    void setColour(const Colour& colour);
    void setFont(double size, bool bold);

    cairo_t* m_context; ///< not owned
};

constexpr double kPageWidth = 960;

struct Page {
    double height;
    std::function<void(Canvas&)> draw;
};

/// The pages as the content of a file: one below the other, or in PDF one after the other. Throws
/// std::runtime_error if they cannot be drawn.
std::string render(const std::vector<Page>& pages, PictureFormat format);

} // namespace orvel

#endif
