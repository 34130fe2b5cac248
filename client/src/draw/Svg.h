#ifndef KYRORVEL_CLIENT_SVG_H
#define KYRORVEL_CLIENT_SVG_H

#include <cstdio>
#include <string>

namespace kyrOrvel {
namespace client {

/// Appends shapes to an SVG text.
class Svg {
public:
    Svg(double width, double height)
    {
        append("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" width=\"%g\" "
               "height=\"%g\" font-family=\"sans-serif\" font-size=\"14\">\n"
               "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
               width, height, width, height);
    }

    void rectangle(double x, double y, double width, double height, const char* fill)
    {
        append("<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"%s\"/>\n", x, y,
               width, height, fill);
    }
    void frame(double x, double y, double width, double height)
    {
        append("<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"none\" "
               "stroke=\"#555\"/>\n",
               x, y, width, height);
    }
    void line(double x1, double y1, double x2, double y2, double width, const char* stroke)
    {
        append("<line x1=\"%.2f\" y1=\"%.2f\" x2=\"%.2f\" y2=\"%.2f\" stroke-width=\"%.2f\" "
               "stroke=\"%s\" stroke-linecap=\"round\"/>\n",
               x1, y1, x2, y2, width, stroke);
    }
    void text(double x, double y, const std::string& words)
    {
        append("<text x=\"%.2f\" y=\"%.2f\" fill=\"#222\">%s</text>\n", x, y, words.c_str());
    }

    std::string finish() { return m_text + "</svg>\n"; }

private:
    template <class... Arguments> void append(const char* format, Arguments... arguments)
    {
        char shape[512];
        std::snprintf(shape, sizeof shape, format, arguments...);
        m_text += shape;
    }

    std::string m_text;
};

} // namespace client
} // namespace kyrOrvel

#endif
