// plot - drawings with two axes, as SVG text for a page
//
//     plot tone({0, 255}, {0, 255}, 400, 400);
//     tone.grid(64, 64);
//     tone.line(points, "curve");
//     page += tone.svg("The tone curve");
//
// Classes are those of the style sheet, which gives them their colours in the light and in the dark.

#ifndef EXAMPLES_PLOT_H
#define EXAMPLES_PLOT_H

#include "curves/job.h"

#include <string>
#include <vector>

namespace examples
{

struct range {
    double lo, hi;
};

class plot
{
public:
    // Width and height of the area between the axes, in units of which the page shows about as many as pixels.
    plot(range x, range y, double width, double height);

    // Lines and numbers at the multiples of the steps, with so many digits.
    void grid(double x_step, double y_step, int digits = 0);

    void line(const std::vector<xy> &points, const std::string &kind) { path(points, kind, ""); }
    // Closed by a line from the last to the first point.
    void shape(const std::vector<xy> &points, const std::string &kind) { path(points, kind, "Z"); }

    // A pointer on the dot shows the title, plain text; empty: none. Nothing is drawn beyond the axes.
    void dot(const xy &at, double radius, const std::string &kind, const std::string &title = {});

    // Text whose first letter stands at a point; dx and dy move it, in units of the drawing.
    void label(const xy &at, double dx, double dy, const std::string &text, const std::string &kind = "note");

    // label is plain text, for those who do not see the drawing.
    std::string svg(const std::string &label) const;

private:
    void path(const std::vector<xy> &points, const std::string &kind, const char *end);
    std::string place(const xy &at) const;
    double across(double x) const { return (x - x_.lo) / (x_.hi - x_.lo) * width_; }
    double down(double y) const { return (y_.hi - y) / (y_.hi - y_.lo) * height_; }

    range x_;
    range y_;
    double width_;
    double height_;
    std::string axes_;
    std::string inside_;  // what is cut at the edges
    std::string above_;
};

}  // namespace examples

#endif
