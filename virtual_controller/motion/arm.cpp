#include "virtual_controller/motion/arm.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>

#include "virtual_controller/request.h"

namespace virtual_controller::arm {
namespace {

constexpr double secondsToTopSpeed = 0.5;

[[noreturn]] void reject(const std::string& file, const std::string& reason) {
  throw std::runtime_error("arm " + file + ": " + reason);
}

/// One axis of a file; `where` names both.
Axis axisFrom(const Json& json, const std::string& where) {
  Axis axis;
  axis.mass = 10;
  axis.ratedTorque = 500;
  const std::array<std::pair<const char*, double*>, 10> keys{{{"d", &axis.d},
                                                              {"a", &axis.a},
                                                              {"alpha", &axis.alpha},
                                                              {"offset", &axis.offset},
                                                              {"lowest", &axis.lowest},
                                                              {"highest", &axis.highest},
                                                              {"speed", &axis.topSpeed},
                                                              {"acceleration", &axis.topAcceleration},
                                                              {"mass", &axis.mass},
                                                              {"torque", &axis.ratedTorque}}};
  constexpr double largest = 1e5;
  if (!json.is_object()) reject(where, "is no object");
  for (const auto& [key, found] : json.items()) {
    const auto known =
        std::find_if(keys.begin(), keys.end(), [&key = key](const auto& each) { return each.first == key; });
    if (key == "slides") {
      if (!found.is_boolean()) reject(where, "\"slides\" is neither true nor false");
      axis.slides = found.get<bool>();
    } else if (known == keys.end()) {
      reject(where, "there is no \"" + key + "\"");
    } else if (!found.is_number() || std::abs(found.get<double>()) > largest) {
      reject(where, "\"" + key + "\" is no number between -100000 and 100000");
    } else {
      *known->second = found.get<double>();
    }
  }
  for (const auto* key : {"lowest", "highest", "speed"}) {
    if (!json.contains(key)) reject(where, "\"" + std::string(key) + "\" is missing");
  }
  if (!json.contains("acceleration")) axis.topAcceleration = axis.topSpeed / secondsToTopSpeed;
  if (!(axis.lowest < axis.highest)) reject(where, "\"lowest\" is not below \"highest\"");
  if (axis.lowest > 0 || axis.highest < 0) reject(where, "0, where the joint begins, is beyond its limits");
  for (const auto value : {axis.topSpeed, axis.topAcceleration, axis.ratedTorque}) {
    if (!(value > 0)) reject(where, "\"speed\", \"acceleration\" and \"torque\" are above 0");
  }
  if (axis.mass < 0) reject(where, "\"mass\" is below 0");
  return axis;
}

Model modelFromFile(const std::string& file) {
  std::ifstream stream(file);
  if (!stream) reject(file, "is neither \"six-axis\" nor \"scara\" nor a file that can be read");
  Json json;
  try {
    json = Json::parse(stream);
  } catch (const Json::exception& problem) {
    reject(file, problem.what());
  }
  if (!json.is_object() || !json.contains("axes") || !json["axes"].is_array()) reject(file, "has no list \"axes\"");
  const auto& axes = json["axes"];
  if (axes.empty() || axes.size() > mostAxes) reject(file, "has " + std::to_string(axes.size()) + " axes, not 1 to 7");
  Model model{json.contains("name") && json["name"].is_string() ? json["name"].get<std::string>() : file, {}};
  for (const auto& axis : axes) {
    model.axes.push_back(axisFrom(axis, file + ", axis " + std::to_string(model.axes.size() + 1)));
  }
  return model;
}

}  // namespace

/// From its top speed it comes to rest in 0.4 s: hosts wait half a second for the power to be off.
Model sixAxis() {
  return {"six-axis",
          {{450, 150, -90, 0, -170, 170, 180, 450, 60, 1500},
           {0, 600, 0, -90, -100, 130, 180, 450, 40, 1500},
           {0, 120, -90, 0, -170, 75, 200, 500, 25, 700},
           {640, 0, 90, 0, -190, 190, 300, 750, 15, 150},
           {0, 0, -90, 90, -120, 120, 300, 750, 5, 120},
           {100, 0, 0, 0, -360, 360, 400, 1000, 2, 60}}};
}

Model scara() {
  return {"scara",
          {{400, 350, 0, 0, -140, 140, 300, 1200, 12, 300},
           {0, 250, 180, 0, -145, 145, 400, 1600, 8, 150},
           {0, 0, 0, 0, 0, 200, 1000, 4000, 3, 300, true},
           {50, 0, 0, 0, -360, 360, 1000, 4000, 1, 20}}};
}

Model modelFrom(const std::string& nameOrFile) {
  if (nameOrFile == "six-axis") return sixAxis();
  if (nameOrFile == "scara") return scara();
  return modelFromFile(nameOrFile);
}

bool withinLimits(const Model& arm, const Joints& joints) {
  for (std::size_t i = 0; i < joints.size(); ++i) {
    const auto known = i < arm.axes.size();
    const auto lowest = known ? arm.axes[i].lowest : 0;
    const auto highest = known ? arm.axes[i].highest : 0;
    if (!(joints[i] >= lowest && joints[i] <= highest)) return false;
  }
  return true;
}

double reach(const Model& arm) {
  double length = 0;
  for (const auto& axis : arm.axes) {
    length += std::hypot(
        axis.a, axis.slides ? std::max(std::abs(axis.d + axis.lowest), std::abs(axis.d + axis.highest)) : axis.d);
  }
  return length;
}

}  // namespace virtual_controller::arm
