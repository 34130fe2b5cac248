#ifndef KYRORVEL_CLIENT_SVG_H
#define KYRORVEL_CLIENT_SVG_H

#include "../NumberText.h"

#include <ios>
#include <sstream>
#include <string>

namespace kyrOrvel {
namespace client {

/// Builds an SVG text: lengths have two decimals.
class Svg {
public:
    Svg(double width, double height)
    {
        m_text.setf(std::ios::fixed, std::ios::floatfield);
        m_text.precision(2);
        m_text << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' '
               << height << "\" width=\"" << width << "\" height=\"" << height
               << "\" font-family=\"sans-serif\" font-size=\"14\">\n"
               << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    }

    void rectangle(double x, double y, double width, double height, const char* fill)
    {
        beginRectangle(x, y, width, height) << "\" fill=\"" << fill << "\"/>\n";
    }
    void frame(double x, double y, double width, double height)
    {
        beginRectangle(x, y, width, height) << "\" fill=\"none\" stroke=\"#555\"/>\n";
    }
    void line(double x1, double y1, double x2, double y2, double width, const char* stroke)
    {
        m_text << "<line x1=\"" << x1 << "\" y1=\"" << y1 << "\" x2=\"" << x2 << "\" y2=\"" << y2
               << "\" stroke-width=\"" << width << "\" stroke=\"" << stroke
               << "\" stroke-linecap=\"round\"/>\n";
    }
    void text(double x, double y, const std::string& words)
    {
        m_text << "<text x=\"" << x << "\" y=\"" << y << "\" fill=\"#222\">" << words
               << "</text>\n";
    }

    std::string finish()
    {
        m_text << "</svg>\n";
        return m_text.str();
    }

private:
    std::ostream& beginRectangle(double x, double y, double width, double height)
    {
        return m_text << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << width
                      << "\" height=\"" << height;
    }

    std::ostringstream m_text = plainStream();
};

} // namespace client
} // namespace kyrOrvel

#endif
