#pragma once

#include <algorithm>
#include <cmath>

namespace tarvolo {

struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

// Screen and status-item frames use AppKit's global space (origin at the primary screen's
// bottom-left, y up); only the window list and Accessibility speak top-left.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double minX() const { return x; }
  double maxX() const { return x + width; }
  double midX() const { return x + width / 2; }
  double minY() const { return y; }
  double maxY() const { return y + height; }
  Point origin() const { return {x, y}; }
  bool isEmpty() const { return width <= 0 || height <= 0; }
  bool containsX(double px) const { return px >= minX() && px < maxX(); }
  bool contains(Point p) const { return containsX(p.x) && p.y >= minY() && p.y < maxY(); }
  bool intersects(const Rect& o) const {
    return !isEmpty() && !o.isEmpty() && minX() < o.maxX() && o.minX() < maxX() && minY() < o.maxY() &&
           o.minY() < maxY();
  }
  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace tarvolo
