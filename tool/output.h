#pragma once

#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace tool {

/// What a command has to tell: an object whose members keep their order.
using Value = nlohmann::ordered_json;

/// The one way out: what is shown as text and what scripts get as JSON are the same values.
class Output {
 public:
  void describe(CLI::App& app) { app.add_flag("--json", json_, "for scripts: one JSON object a line"); }

  /// Whether it is JSON that is wanted.
  bool isForScripts() const { return json_; }

  /// As a table, or as a line of JSON.
  void show(const Value& values) const;
  /// One of many, on one line.
  void line(const Value& values) const;
  /// In place of what was shown last, where standard output is a terminal; otherwise on a line.
  void redraw(const Value& values);

  /// How far it is, as a bar on standard error, where that is a terminal; otherwise nothing.
  void progress(const std::string& what, long long done, long long total);

 private:
  bool json_ = false;
  int drawn_ = 0;  // lines
};

/// The table, and the line.
std::string tableOf(const Value& values);
std::string lineOf(const Value& values);
/// JSON without line breaks; what is no UTF-8, which a controller may say, is replaced.
std::string jsonOf(const Value& values);

/// Seconds since 1970.
double now();

}  // namespace tool
