#pragma once

// A few lines of SVG: what a robot did, to look at. The examples draw with it, and `kyt record --plot` does.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

struct Sample {
  double seconds;
  std::vector<double> joints;  ///< degrees
  std::vector<double> tool;    ///< X, Y, Z in mm, and more
};

/// One diagram: curves over a common horizontal axis.
class Diagram {
 public:
  Diagram(double left, std::string title) : left_(left), title_(std::move(title)) {}

  void curve(std::string name, std::vector<std::pair<double, double>> points) {
    curves_.push_back({std::move(name), std::move(points)});
  }

  std::string svg() const {
    constexpr const char* colours[] = {"#1f77b4", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd", "#8c564b"};
    double low[2] = {1e9, 1e9};
    double high[2] = {-1e9, -1e9};
    for (const auto& curve : curves_) {
      for (const auto& [x, y] : curve.points) {
        low[0] = std::min(low[0], x), high[0] = std::max(high[0], x);
        low[1] = std::min(low[1], y), high[1] = std::max(high[1], y);
      }
    }
    const auto across = [&](double x) { return left_ + 50 + 400 * (x - low[0]) / std::max(1e-9, high[0] - low[0]); };
    const auto up = [&](double y) { return 350 - 300 * (y - low[1]) / std::max(1e-9, high[1] - low[1]); };
    std::string text = label(left_ + 50, 25, title_, "black") + label(left_ + 50, 375, rounded(low[0]), "black") +
                       label(left_ + 420, 375, rounded(high[0]), "black") +
                       label(left_, 350, rounded(low[1]), "black") + label(left_, 60, rounded(high[1]), "black");
    for (std::size_t i = 0; i < curves_.size(); ++i) {
      const std::string colour = colours[i % std::size(colours)];
      text += "<polyline fill='none' stroke='" + colour + "' stroke-width='2' points='";
      for (const auto& [x, y] : curves_[i].points)
        text += std::to_string(across(x)) + "," + std::to_string(up(y)) + " ";
      text += "'/>\n" + label(left_ + 50 + 60 * static_cast<double>(i), 45, curves_[i].name, colour);
    }
    return text;
  }

 private:
  struct Curve {
    std::string name;
    std::vector<std::pair<double, double>> points;
  };

  static std::string rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
  }
  static std::string label(double x, double y, const std::string& text, const std::string& colour) {
    return "<text x='" + std::to_string(x) + "' y='" + std::to_string(y) + "' fill='" + colour + "'>" + text +
           "</text>\n";
  }

  double left_;
  std::string title_;
  std::vector<Curve> curves_;
};

/// Joint angles over time, and the tool's path seen from above and from the side.
inline bool drawMotion(const std::string& file, const std::vector<Sample>& samples) {
  Diagram joints(0, "joint angles in degrees over seconds");
  for (std::size_t joint = 0; joint < 6; ++joint) {
    std::vector<std::pair<double, double>> points;
    for (const auto& sample : samples) points.emplace_back(sample.seconds, sample.joints[joint]);
    joints.curve("joint " + std::to_string(joint + 1), points);
  }
  Diagram path(500, "the tool's path in mm: Y (from above) and Z (from the side) over X");
  std::vector<std::pair<double, double>> above;
  std::vector<std::pair<double, double>> aside;
  for (const auto& sample : samples) {
    above.emplace_back(sample.tool[0], sample.tool[1]);
    aside.emplace_back(sample.tool[0], sample.tool[2]);
  }
  path.curve("Y", above);
  path.curve("Z", aside);
  std::ofstream out(file);
  out << "<svg xmlns='http://www.w3.org/2000/svg' width='1000' height='400' font-family='sans-serif' font-size='12'>\n"
      << "<rect width='1000' height='400' fill='white'/>\n"
      << joints.svg() << path.svg() << "</svg>\n";
  return out.good();
}

/// What was programmed and what was driven, seen from above, and how fast.
class PathPicture {
 public:
  using Point = std::pair<double, double>;

  /// @param onLine  one of the corners of a line, which is drawn as well
  void programmed(Point point, bool onLine = true) {
    points_.push_back(point);
    if (onLine) line_.push_back(point);
  }
  /// @param path   X and Y in mm
  /// @param speed  seconds, and mm/s
  void driven(std::string name, std::vector<Point> path, std::vector<Point> speed) {
    speeds_.curve("", std::move(speed));  // in the colour of the path
    paths_.emplace_back(std::move(name), std::move(path));
  }

  bool save(const std::string& file) const {
    constexpr const char* colours[] = {"#1f77b4", "#ff7f0e", "#2ca02c"};
    std::ofstream out(file);
    out << "<svg xmlns='http://www.w3.org/2000/svg' width='1000' height='400' font-family='sans-serif' "
           "font-size='12'>\n"
        << "<rect width='1000' height='400' fill='white'/>\n"
        << "<text x='20' y='25'>programmed points, and the tool's path from above in mm</text>\n"
        << polyline(line_, "#999", "stroke-dasharray='4 4'");
    for (std::size_t i = 0; i < paths_.size(); ++i) {
      const std::string colour = colours[i % std::size(colours)];
      out << polyline(paths_[i].second, colour, "stroke-width='2'") << "<text x='" << 20 + 110 * i << "' y='45' fill='"
          << colour << "'>" << paths_[i].first << "</text>\n";
    }
    for (const auto& point : points_) {
      out << "<circle cx='" << across(point) << "' cy='" << down(point) << "' r='4' fill='none' stroke='black'/>\n";
    }
    out << speeds_.svg() << "</svg>\n";
    return out.good();
  }

 private:
  /// The robot's X goes up and its Y to the left, in one scale.
  double across(const Point& point) const { return 30 + scale() * (range(&Point::second).second - point.second); }
  double down(const Point& point) const { return 70 + scale() * (range(&Point::first).second - point.first); }
  double scale() const {
    const auto [lowX, highX] = range(&Point::first);
    const auto [lowY, highY] = range(&Point::second);
    return std::min(420 / (highY - lowY), 310 / (highX - lowX));
  }
  std::pair<double, double> range(double Point::*coordinate) const {
    std::pair<double, double> range{1e9, -1e9};
    for (const auto& [name, points] : paths_) {
      for (const auto& point : points) {
        range = {std::min(range.first, point.*coordinate), std::max(range.second, point.*coordinate)};
      }
    }
    return range;
  }
  std::string polyline(const std::vector<Point>& points, const std::string& colour, const std::string& style) const {
    std::string text = "<polyline fill='none' stroke='" + colour + "' " + style + " points='";
    for (const auto& point : points) text += std::to_string(across(point)) + "," + std::to_string(down(point)) + " ";
    return text + "'/>\n";
  }

  std::vector<Point> points_;
  std::vector<Point> line_;
  std::vector<std::pair<std::string, std::vector<Point>>> paths_;
  Diagram speeds_{500, "the tool's speed in mm/s over seconds"};
};
