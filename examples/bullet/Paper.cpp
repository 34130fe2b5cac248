#include "Paper.h"

namespace bulletjoints {

namespace {

constexpr double kTurn = 6.283185307179586;

} // namespace

Paper::Paper(int width, int height)
    : m_surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
                cairo_surface_destroy),
      m_context(cairo_create(m_surface.get()), cairo_destroy)
{
    cairo_set_source_rgb(m_context.get(), 1, 1, 1);
    cairo_paint(m_context.get());
    cairo_set_line_cap(m_context.get(), CAIRO_LINE_CAP_ROUND);
}

void Paper::use(const Colour& colour)
{
    cairo_set_source_rgb(m_context.get(), colour.red, colour.green, colour.blue);
}

void Paper::line(double x1, double y1, double x2, double y2, const Colour& colour, double width)
{
    use(colour);
    cairo_set_line_width(m_context.get(), width);
    cairo_move_to(m_context.get(), x1, y1);
    cairo_line_to(m_context.get(), x2, y2);
    cairo_stroke(m_context.get());
}

void Paper::circle(double x, double y, double radius, const Colour& colour)
{
    use(colour);
    cairo_new_path(m_context.get());
    cairo_arc(m_context.get(), x, y, radius, 0, kTurn);
    cairo_fill(m_context.get());
}

void Paper::frame(double x, double y, double width, double height)
{
    use(kGrey);
    cairo_set_line_width(m_context.get(), 1);
    cairo_rectangle(m_context.get(), x, y, width, height);
    cairo_stroke(m_context.get());
}

void Paper::text(double x, double y, const std::string& words, double size, Align align,
                 const Colour& colour, bool bold)
{
    cairo_select_font_face(m_context.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(m_context.get(), size);
    cairo_text_extents_t extents;
    cairo_text_extents(m_context.get(), words.c_str(), &extents);
    const double share = align == Align::Left ? 0 : align == Align::Centre ? 0.5 : 1;
    use(colour);
    cairo_move_to(m_context.get(), x - share * extents.x_advance, y);
    cairo_show_text(m_context.get(), words.c_str());
}

void Paper::textUpwards(double x, double y, const std::string& words, double size)
{
    cairo_save(m_context.get());
    cairo_translate(m_context.get(), x, y);
    cairo_rotate(m_context.get(), -kTurn / 4);
    text(0, 0, words, size, Align::Centre);
    cairo_restore(m_context.get());
}

void Paper::clip(double x, double y, double width, double height)
{
    cairo_save(m_context.get());
    cairo_rectangle(m_context.get(), x, y, width, height);
    cairo_clip(m_context.get());
}

void Paper::release()
{
    cairo_restore(m_context.get());
}

bool Paper::save(const std::string& path) const
{
    return cairo_surface_write_to_png(m_surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

} // namespace bulletjoints
