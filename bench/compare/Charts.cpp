#include "Charts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace bench {

namespace {

constexpr std::array<const char*, 9> kColours = {"#0072b2", "#56b4e9", "#d55e00",
                                                 "#009e73", "#33cc99", "#cc79a7",
                                                 "#8c564b", "#e69f00", "#555555"};
constexpr double kWidth = 950;
constexpr double kLeft = 170;
constexpr double kRight = 270;
constexpr double kTop = 50;

template <class... Arguments> std::string format(const char* pattern, Arguments... arguments)
{
    std::array<char, 512> text;
    std::snprintf(text.data(), text.size(), pattern, arguments...);
    return text.data();
}

std::string escaped(const std::string& words)
{
    std::string result;
    for (const char c : words)
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += c;
        }
    return result;
}

std::string label(double x, double y, const std::string& words, const char* anchor = "start")
{
    return format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" fill=\"#222\">", x, y, anchor) +
           escaped(words) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const char* colour, double width)
{
    return format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" "
                  "stroke-width=\"%.1f\"/>\n",
                  x1, y1, x2, y2, colour, width);
}

std::string bar(double x, double y, double width, double height, const char* colour)
{
    return format("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"%s\"/>\n", x,
                  y, width, height, colour);
}

std::string page(double height, const std::string& title, const std::string& shapes)
{
    return format("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" "
                  "width=\"%.0f\" height=\"%.0f\" font-family=\"sans-serif\" font-size=\"13\">\n"
                  "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                  kWidth, height, kWidth, height) +
           "<g font-size=\"17\">" + label(20, 28, title) + "</g>" + shapes + "</svg>\n";
}

std::size_t contendersOf(const Table& table)
{
    return table.empty() ? 0 : table.front().results.size();
}

std::string legend(const Table& table, double y)
{
    std::string shapes;
    const double x = kWidth - kRight + 25;
    for (std::size_t c = 0; c < contendersOf(table); ++c, y += 20) {
        shapes += bar(x, y - 10, 12, 12, kColours[c % kColours.size()]);
        shapes += label(x + 18, y, table.front().results[c].contender);
    }
    return shapes;
}

/// Powers of two up to the given one as grid lines over a logarithmic axis.
constexpr int kMostDoublings = 6;

double across(double ratio, int least)
{
    const double doublings = std::clamp(std::log2(ratio), double(least), double(kMostDoublings));
    return kLeft + (kWidth - kLeft - kRight) * (doublings - least) / (kMostDoublings - least);
}

std::string ratioGrid(int least, double bottom)
{
    std::string shapes;
    for (int d = least; d <= kMostDoublings; ++d) {
        const double x = across(std::exp2(d), least);
        shapes += line(x, kTop, x, bottom, d == 0 ? "#555" : "#ddd", 1);
        shapes +=
            label(x, bottom + 18, d < 0 ? format("1/%d", 1 << -d) : format("%d", 1 << d), "middle");
    }
    return shapes;
}

/// How many times as long as the fastest a contender takes on the inputs that it solves, ascending,
/// up to the end of the axis: what lies beyond is no share of what is within.
std::vector<double> ratiosOf(const Table& table, Step step, std::size_t contender)
{
    std::vector<double> ratios;
    for (const Row& row : table) {
        double fastest = 1e300;
        for (const Result& result : row.results)
            if (result.solved)
                fastest = std::min(fastest, result.milliseconds[step]);
        const Result& result = row.results[contender];
        const double ratio = result.milliseconds[step] / fastest;
        if (result.solved && ratio <= std::exp2(kMostDoublings))
            ratios.push_back(ratio);
    }
    std::sort(ratios.begin(), ratios.end());
    return ratios;
}

} // namespace

std::string profileOf(const Table& table, Step step, const std::string& title)
{
    constexpr double kBottom = 420;
    std::string shapes = ratioGrid(0, kBottom);
    const auto up = [](double share) { return kBottom - share * (kBottom - kTop); };
    for (int tenth = 0; tenth <= 10; tenth += 2) {
        shapes += line(kLeft, up(tenth / 10.0), kWidth - kRight, up(tenth / 10.0), "#ddd", 1);
        shapes += label(kLeft - 8, up(tenth / 10.0) + 4, format("%d %%", 10 * tenth), "end");
    }
    for (std::size_t c = 0; c < contendersOf(table); ++c) {
        const std::vector<double> ratios = ratiosOf(table, step, c);
        const char* const colour = kColours[c % kColours.size()];
        double x = across(1, 0);
        double y = up(0);
        for (std::size_t i = 0; i < ratios.size(); ++i) {
            const double nextX = across(ratios[i], 0);
            const double nextY = up(double(i + 1) / double(table.size()));
            shapes += line(x, y, nextX, y, colour, 2.5) + line(nextX, y, nextX, nextY, colour, 2.5);
            x = nextX;
            y = nextY;
        }
        shapes += line(x, y, kWidth - kRight, y, colour, 2.5);
    }
    shapes += label((kLeft + kWidth - kRight) / 2, kBottom + 40,
                    "at most so many times as long as the fastest", "middle");
    shapes += label(kLeft - 60, kTop - 8, "share of inputs", "start");
    return page(kBottom + 60, title, shapes + legend(table, kTop + 20));
}

std::string barsOf(const Table& table, Step step, const std::string& title)
{
    constexpr double kBar = 9;
    constexpr double kGap = 12;
    constexpr int kLeast = -2;
    double y = kTop;
    std::string shapes;
    for (const Row& row : table) {
        const std::vector<Result>& results = row.results;
        const double start = y;
        for (std::size_t c = 0; c < results.size(); ++c) {
            if (!results[c].solved || !results[0].solved)
                continue;
            const double ratio = results[c].milliseconds[step] / results[0].milliseconds[step];
            const double from = across(1, kLeast);
            const double to = across(ratio, kLeast);
            shapes += bar(std::min(from, to), y, std::max(std::abs(to - from), 2.0), kBar - 1,
                          kColours[c % kColours.size()]);
            y += kBar;
        }
        shapes += label(kLeft - 10, (start + y) / 2 + 4, row.input, "end");
        y += kGap;
    }
    shapes +=
        label((kLeft + kWidth - kRight) / 2, y + 36,
              "times as long as " + (table.empty() ? "" : table[0].results[0].contender), "middle");
    return page(y + 60, title, ratioGrid(kLeast, y) + shapes + legend(table, kTop + 20));
}

} // namespace bench
