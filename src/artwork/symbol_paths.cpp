#include "artwork/symbol_paths.h"

#include <cmath>
#include <initializer_list>
#include <numbers>
#include <utility>

namespace kelo {

namespace {

using Point = std::pair<double, double>;

void polygon(cairo_t* cr, std::initializer_list<Point> points) {
    bool first = true;
    for (const auto& [x, y] : points) {
        if (first)
            cairo_move_to(cr, x, y);
        else
            cairo_line_to(cr, x, y);
        first = false;
    }
    cairo_close_path(cr);
}

void star(cairo_t* cr, int points, double inner) {
    for (int i = 0; i < points * 2; ++i) {
        const double radius = i % 2 == 0 ? 1.0 : inner;
        const double angle = -std::numbers::pi / 2 + i * std::numbers::pi / points;
        const double x = radius * std::cos(angle);
        const double y = radius * std::sin(angle) + 0.08;
        if (i == 0)
            cairo_move_to(cr, x, y);
        else
            cairo_line_to(cr, x, y);
    }
    cairo_close_path(cr);
}

void heart(cairo_t* cr) {
    cairo_move_to(cr, 0, 0.9);
    cairo_curve_to(cr, -0.55, 0.45, -1.0, 0.15, -1.0, -0.3);
    cairo_curve_to(cr, -1.0, -0.75, -0.45, -1.0, 0, -0.55);
    cairo_curve_to(cr, 0.45, -1.0, 1.0, -0.75, 1.0, -0.3);
    cairo_curve_to(cr, 1.0, 0.15, 0.55, 0.45, 0, 0.9);
    cairo_close_path(cr);
}

void drop(cairo_t* cr) {
    cairo_move_to(cr, 0, -1);
    cairo_curve_to(cr, 0.35, -0.45, 0.7, -0.1, 0.7, 0.3);
    cairo_curve_to(cr, 0.7, 0.7, 0.38, 1.0, 0, 1.0);
    cairo_curve_to(cr, -0.38, 1.0, -0.7, 0.7, -0.7, 0.3);
    cairo_curve_to(cr, -0.7, -0.1, -0.35, -0.45, 0, -1);
    cairo_close_path(cr);
}

void circle(cairo_t* cr, double cx, double cy, double r) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, cx, cy, r, 0, 2 * std::numbers::pi);
    cairo_close_path(cr);
}

// The outer circle's long arc between the points where a second, offset circle
// cuts it, then back along the second circle: a crescent.
void crescent(cairo_t* cr) {
    const double r0 = 0.9, cx = 0.42, cy = -0.28, r1 = 0.72;
    const double d = std::hypot(cx, cy);
    const double along = (r0 * r0 - r1 * r1 + d * d) / (2 * d);
    const double across = std::sqrt(r0 * r0 - along * along);
    const double ux = cx / d, uy = cy / d;
    const Point p1{ux * along - uy * across, uy * along + ux * across};
    const Point p2{ux * along + uy * across, uy * along - ux * across};
    const double a1 = std::atan2(p1.second, p1.first), a2 = std::atan2(p2.second, p2.first);
    cairo_new_sub_path(cr);
    cairo_arc(cr, 0, 0, r0, a1, a2 + (a2 < a1 ? 2 * std::numbers::pi : 0));
    const double b2 = std::atan2(p2.second - cy, p2.first - cx), b1 = std::atan2(p1.second - cy, p1.first - cx);
    cairo_arc_negative(cr, cx, cy, r1, b2, b1);
    cairo_close_path(cr);
}

}  // namespace

void appendSymbolPath(cairo_t* cr, std::string_view symbol) {
    if (symbol == "star") {
        star(cr, 5, 0.42);
    } else if (symbol == "heart") {
        heart(cr);
    } else if (symbol == "bolt") {
        polygon(cr, {{0.2, -1}, {-0.65, 0.15}, {-0.05, 0.15}, {-0.25, 1}, {0.65, -0.2}, {0.05, -0.2}, {0.3, -1}});
    } else if (symbol == "check") {
        polygon(cr, {{-0.95, 0.05}, {-0.65, -0.25}, {-0.3, 0.1}, {0.65, -0.85}, {0.95, -0.55}, {-0.3, 0.7}});
    } else if (symbol == "diamond") {
        polygon(cr, {{0, -1}, {0.75, 0}, {0, 1}, {-0.75, 0}});
    } else if (symbol == "moon") {
        crescent(cr);
    } else if (symbol == "flag") {
        polygon(cr, {{-0.7, -0.95}, {-0.52, -0.95}, {-0.52, 1}, {-0.7, 1}});
        polygon(cr, {{-0.52, -0.9}, {0.85, -0.55}, {-0.52, -0.1}});
    } else if (symbol == "drop") {
        drop(cr);
    } else if (symbol == "plus") {
        polygon(cr, {{-0.25, -0.9},
                     {0.25, -0.9},
                     {0.25, -0.25},
                     {0.9, -0.25},
                     {0.9, 0.25},
                     {0.25, 0.25},
                     {0.25, 0.9},
                     {-0.25, 0.9},
                     {-0.25, 0.25},
                     {-0.9, 0.25},
                     {-0.9, -0.25},
                     {-0.25, -0.25}});
    } else if (symbol == "circle") {
        circle(cr, 0, 0, 0.85);
    }
}

}  // namespace kelo
