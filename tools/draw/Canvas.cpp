#include "Canvas.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>

namespace orvel {

namespace {

constexpr double kPngScale = 2; ///< pixels of the file for one of the page: sharp when enlarged
constexpr double kTurn = 6.283185307179586;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void check(cairo_status_t status)
{
    if (status == CAIRO_STATUS_NO_MEMORY)
        throw std::bad_alloc();
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("the picture cannot be drawn: ") +
                                 cairo_status_to_string(status));
}

/// Takes what cairo writes; no exception may pass through it.
cairo_status_t append(void* content, const unsigned char* bytes, unsigned int count)
{
    try {
        static_cast<std::string*>(content)->append(reinterpret_cast<const char*>(bytes), count);
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
    return CAIRO_STATUS_SUCCESS;
}

Surface makeSurface(PictureFormat format, double height, std::string& content)
{
    switch (format) {
    case PictureFormat::Svg: {
        Surface surface(cairo_svg_surface_create_for_stream(append, &content, kPageWidth, height),
                        cairo_surface_destroy);
        cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PX);
        return surface;
    }
    case PictureFormat::Pdf:
        return {cairo_pdf_surface_create_for_stream(append, &content, kPageWidth, height),
                cairo_surface_destroy};
    case PictureFormat::Png:
        break;
    }
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                               static_cast<int>(std::ceil(kPngScale * kPageWidth)),
                                               static_cast<int>(std::ceil(kPngScale * height))),
                    cairo_surface_destroy);
    cairo_surface_set_device_scale(surface.get(), kPngScale, kPngScale);
    return surface;
}

unsigned int byteOf(double share)
{
    return static_cast<unsigned int>(std::lround(255 * std::clamp(share, 0.0, 1.0)));
}

} // namespace

bool formatOf(const std::string& path, PictureFormat& format)
{
    std::string ending = std::filesystem::path(path).extension().string();
    for (char& c : ending)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    if (ending == ".svg")
        format = PictureFormat::Svg;
    else if (ending == ".png")
        format = PictureFormat::Png;
    else if (ending == ".pdf")
        format = PictureFormat::Pdf;
    else
        return false;
    return true;
}

void Raster::set(unsigned int x, unsigned int y, const Colour& colour)
{
    m_pixels[std::size_t(y) * m_width + x] =
        0xFF000000u | byteOf(colour.red) << 16 | byteOf(colour.green) << 8 | byteOf(colour.blue);
}

void Canvas::setColour(const Colour& colour)
{
    cairo_set_source_rgb(m_context, colour.red, colour.green, colour.blue);
}

void Canvas::setFont(double size, bool bold)
{
    cairo_select_font_face(m_context, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(m_context, size);
}

void Canvas::fillRectangle(double x, double y, double width, double height, const Colour& colour)
{
    setColour(colour);
    cairo_rectangle(m_context, x, y, width, height);
    cairo_fill(m_context);
}

void Canvas::strokeRectangle(double x, double y, double width, double height, const Colour& colour,
                             double lineWidth)
{
    setColour(colour);
    cairo_set_line_width(m_context, lineWidth);
    cairo_rectangle(m_context, x, y, width, height);
    cairo_stroke(m_context);
}

void Canvas::line(double x1, double y1, double x2, double y2, const Colour& colour,
                  double lineWidth)
{
    setColour(colour);
    cairo_set_line_width(m_context, lineWidth);
    cairo_move_to(m_context, x1, y1);
    cairo_line_to(m_context, x2, y2);
    cairo_stroke(m_context);
}

void Canvas::fillCircle(double x, double y, double radius, const Colour& colour)
{
    setColour(colour);
    cairo_new_path(m_context);
    cairo_arc(m_context, x, y, radius, 0, kTurn);
    cairo_fill(m_context);
}

void Canvas::strokeCircle(double x, double y, double radius, const Colour& colour, double lineWidth)
{
    setColour(colour);
    cairo_set_line_width(m_context, lineWidth);
    cairo_new_path(m_context);
    cairo_arc(m_context, x, y, radius, 0, kTurn);
    cairo_stroke(m_context);
}

double Canvas::widthOf(const std::string& words, double size, bool bold)
{
    setFont(size, bold);
    cairo_text_extents_t extents;
    cairo_text_extents(m_context, words.c_str(), &extents);
    return extents.x_advance;
}

void Canvas::text(double x, double y, const std::string& words, double size, Align align, bool bold)
{
    const double width = align == Align::Left ? 0 : widthOf(words, size, bold);
    setFont(size, bold);
    setColour(kInk);
    cairo_move_to(m_context, x - (align == Align::Right ? width : width / 2), y);
    cairo_show_text(m_context, words.c_str());
    cairo_new_path(m_context);
}

void Canvas::textUpwards(double x, double y, const std::string& words, double size)
{
    cairo_save(m_context);
    cairo_translate(m_context, x, y);
    cairo_rotate(m_context, -kTurn / 4);
    text(0, 0, words, size, Align::Centre);
    cairo_restore(m_context);
}

void Canvas::image(double x, double y, double width, double height, const Raster& raster)
{
    const auto columns = static_cast<int>(raster.width());
    const auto rows = static_cast<int>(raster.height());
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, columns, rows),
                          cairo_surface_destroy);
    check(cairo_surface_status(surface.get()));
    unsigned char* const bytes = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int row = 0; row < rows; ++row)
        std::copy_n(raster.pixels().data() + std::ptrdiff_t(row) * columns, columns,
                    reinterpret_cast<std::uint32_t*>(bytes + std::ptrdiff_t(row) * stride));
    cairo_surface_mark_dirty(surface.get());
    cairo_save(m_context);
    cairo_translate(m_context, x, y);
    cairo_scale(m_context, width / columns, height / rows);
    cairo_set_source_surface(m_context, surface.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(m_context), CAIRO_FILTER_NEAREST);
    cairo_rectangle(m_context, 0, 0, columns, rows);
    cairo_fill(m_context);
    cairo_restore(m_context);
}

std::string render(const std::vector<Page>& pages, PictureFormat format)
{
    double total = 0;
    for (const Page& page : pages)
        total += page.height;
    std::string content;
    const Surface surface = makeSurface(format, total, content);
    check(cairo_surface_status(surface.get()));
    const Context context(cairo_create(surface.get()), cairo_destroy);
    Canvas canvas(context.get());
    if (format != PictureFormat::Pdf)
        canvas.fillRectangle(0, 0, kPageWidth, total, kWhite);
    double y = 0;
    for (const Page& page : pages) {
        if (format == PictureFormat::Pdf)
            cairo_pdf_surface_set_size(surface.get(), kPageWidth, page.height);
        cairo_save(context.get());
        cairo_translate(context.get(), 0, format == PictureFormat::Pdf ? 0 : y);
        page.draw(canvas);
        cairo_restore(context.get());
        if (format == PictureFormat::Pdf)
            cairo_show_page(context.get());
        y += page.height;
    }
    check(cairo_status(context.get()));
    if (format == PictureFormat::Png)
        check(cairo_surface_write_to_png_stream(surface.get(), append, &content));
    cairo_surface_finish(surface.get());
    check(cairo_surface_status(surface.get()));
    return content;
}

} // namespace orvel
