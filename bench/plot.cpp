// A plain SVG writer: one panel per job with the ratios, and one with the time per sample. Sizes are the
// square ones.
#include "bench/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace bench {

namespace {

struct Point {
    double x = 0.0;
    double y = 0.0;
};

struct Line {
    std::string name;
    std::vector<Point> points; ///< x: logarithm to base 2 of the width
};

struct Panel {
    std::string title;
    std::vector<Line> lines;
};

/// A contestant has one colour in every panel.
struct Colour {
    const char* name;
    const char* value;
};
constexpr std::array<Colour, 7> colours{{{"kavfilt", "#000000"},
                                         {"portable", "#8c8c8c"},
                                         {"FFTW", "#0063b1"},
                                         {"FFTW real", "#56b4e9"},
                                         {"OpenCV", "#c44e00"},
                                         {"OpenCV real", "#e69f00"},
                                         {"libvips", "#00805a"}}};

constexpr double panelWidth = 300.0;
constexpr double panelHeight = 220.0;
constexpr double margin = 46.0; // Around a panel's axes,
constexpr double gap = 14.0;    // and to the right of it.
constexpr int columns = 3;
constexpr double legendHeight = 40.0;

std::string colourOf(const std::string& name) {
    const auto place =
        std::ranges::find_if(colours, [&](const Colour& colour) { return name == colour.name; });
    return place == colours.end() ? "#444444" : place->value;
}

/// The parts in a row, numbers with one decimal.
template <class... Parts>
std::string joined(const Parts&... parts) {
    std::ostringstream stream;
    stream << std::fixed << std::setprecision(1);
    (stream << ... << parts);
    return stream.str();
}

/// A number as short as it can be.
std::string label(double value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

std::string textAt(double x, double y, const char* anchor, const std::string& text,
                   const char* weight = "normal") {
    return joined("<text x=\"", x, "\" y=\"", y, "\" text-anchor=\"", anchor, "\" font-weight=\"", weight,
                  "\">", text, "</text>\n");
}

/// The scales of a panel: sizes across, a logarithmic axis up.
class Axes {
public:
    Axes(const Panel& panel, double left, double top) : left_(left), top_(top) {
        for (const Line& line : panel.lines) {
            for (const Point& point : line.points) {
                low_.x = std::min(low_.x, point.x);
                high_.x = std::max(high_.x, point.x);
                low_.y = std::min(low_.y, std::floor(std::log2(point.y)));
                high_.y = std::max(high_.y, std::ceil(std::log2(point.y)));
            }
        }
        high_.x = std::max(high_.x, low_.x + 1.0);
        high_.y = std::max(high_.y, low_.y + 1.0);
    }

    [[nodiscard]] double x(double value) const {
        return left_ + margin + (value - low_.x) / (high_.x - low_.x) * (panelWidth - margin - gap);
    }
    [[nodiscard]] double y(double value) const {
        const double part = (std::log2(value) - low_.y) / (high_.y - low_.y);
        return top_ + margin + (1.0 - part) * (panelHeight - 2.0 * margin);
    }

    [[nodiscard]] std::string grid() const {
        std::string result;
        for (double exponent = low_.y; exponent <= high_.y; ++exponent) {
            const double value = std::exp2(exponent);
            const char* const colour = exponent == 0.0 ? "#000000" : "#d8d8d8";
            result += joined("<path d=\"M", x(low_.x), " ", y(value), "H", x(high_.x), "\" stroke=\"", colour,
                             "\"/>\n");
            result += textAt(x(low_.x) - 6.0, y(value) + 4.0, "end", label(value));
        }
        for (double exponent = low_.x; exponent <= high_.x; ++exponent) {
            result +=
                textAt(x(exponent), top_ + panelHeight - margin + 18.0, "middle", label(std::exp2(exponent)));
        }
        return result;
    }

private:
    double left_;
    double top_;
    Point low_{20.0, 20.0};
    Point high_{0.0, -20.0};
};

std::string drawing(const Panel& panel, double left, double top) {
    const Axes axes(panel, left, top);
    std::string result = axes.grid();
    result += textAt(left + margin, top + margin - 14.0, "start", panel.title, "bold");
    for (const Line& line : panel.lines) {
        const std::string colour = colourOf(line.name);
        std::string path;
        for (const Point& point : line.points) {
            path += joined(path.empty() ? "M" : "L", axes.x(point.x), " ", axes.y(point.y));
            result += joined("<circle cx=\"", axes.x(point.x), "\" cy=\"", axes.y(point.y),
                             "\" r=\"2.5\" fill=\"", colour, "\"/>\n");
        }
        result +=
            joined("<path d=\"", path, "\" fill=\"none\" stroke-width=\"1.8\" stroke=\"", colour, "\"/>\n");
    }
    return result;
}

/// The points of one contestant over the square sizes.
template <class Value>
Line lineOf(const Results& results, Job job, const std::string& name, Value value) {
    Line line{name, {}};
    for (const JobLine& jobLine : results.jobs) {
        const Standing* const standing = find(jobLine.standings, name);
        if (jobLine.job == job && jobLine.source.width == jobLine.source.height && standing != nullptr) {
            line.points.push_back(
                {std::log2(static_cast<double>(jobLine.source.width)), value(jobLine, *standing)});
        }
    }
    return line;
}

template <class Value>
Panel panelOf(const Results& results, Job job, const std::string& title, Value value) {
    Panel panel{title, {}};
    for (const Colour& colour : colours) {
        Line line = lineOf(results, job, colour.name, value);
        if (!line.points.empty()) {
            panel.lines.push_back(std::move(line));
        }
    }
    return panel;
}

std::vector<Panel> panelsOf(const Results& results) {
    std::vector<Panel> panels;
    for (const Job job : {Job::forward, Job::inverse, Job::bandPass, Job::gabor, Job::correlation}) {
        panels.push_back(
            panelOf(results, job, std::string(info(job).code) + ": time / kavfilt's",
                    [](const JobLine&, const Standing& standing) { return standing.ratio.median; }));
    }
    panels.push_back(panelOf(
        results, Job::bandPass, "B: ns per sample", [](const JobLine& line, const Standing& standing) {
            const auto samples = static_cast<double>(line.padded.width * line.padded.height);
            return standing.seconds.median * 1e9 / samples;
        }));
    std::erase_if(panels, [](const Panel& panel) { return panel.lines.empty(); });
    return panels;
}

std::string legend() {
    std::string result;
    double x = margin;
    for (const Colour& colour : colours) {
        result += joined("<path d=\"M", x, " 24h22\" stroke-width=\"3\" stroke=\"", colour.value, "\"/>\n");
        result += textAt(x + 28.0, 28.0, "start", colour.name);
        x += 120.0;
    }
    return result;
}

} // namespace

std::string plot(const Results& results) {
    const std::vector<Panel> panels = panelsOf(results);
    const int rows = (static_cast<int>(panels.size()) + columns - 1) / columns;
    const double width = columns * panelWidth + margin;
    const double height = legendHeight + rows * panelHeight;
    std::string svg = joined("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"", width, "\" height=\"",
                             height, "\" font-family=\"sans-serif\" font-size=\"12\">\n");
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n" + legend();
    for (std::size_t i = 0; i < panels.size(); ++i) {
        const int index = static_cast<int>(i);
        svg += drawing(panels[i], index % columns * panelWidth, legendHeight + index / columns * panelHeight);
    }
    return svg + "</svg>\n";
}

} // namespace bench
