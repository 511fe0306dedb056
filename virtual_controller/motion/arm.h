#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

/// What an arm is made of. Where that brings it: kinematics.h; what it takes to hold and move it: dynamics.h.
namespace virtual_controller::arm {

inline constexpr std::size_t mostAxes = 7;
/// Degrees, or mm of an axis that slides; 0 for the axes that the arm lacks.
using Joints = std::array<double, mostAxes>;

/// One axis in the Denavit-Hartenberg convention: turn by the joint's angle and `offset` about z, go `d` along z and
/// `a` along x, turn by `alpha` about x. An axis that slides goes by the joint's value along z as well, and turns by
/// `offset` alone. Lengths in mm, angles in degrees, speeds and accelerations in units of the joint.
struct Axis {
  double d = 0;
  double a = 0;
  double alpha = 0;
  double offset = 0;
  double lowest = 0;  ///< the joint's limits, which may be reached
  double highest = 0;
  double topSpeed = 0;
  double topAcceleration = 0;
  double mass = 0;         ///< kg, of what this axis carries up to the next, with its centre half way
  double ratedTorque = 0;  ///< Nm, or N of an axis that slides
  bool slides = false;
};

struct Model {
  std::string name;
  std::vector<Axis> axes;  ///< 1 to 7
};

/// A six-axis arm of no particular make, with a spherical wrist. With all joints at 0 the upper arm stands upright, the
/// forearm reaches forward (base X) and the flange looks down, in no singularity: one is where joint 5 is at -90 (the
/// flange in line with the forearm), one where joint 3 stretches the elbow (at about -79), one over axis 1.
Model sixAxis();

/// Two joints that swing level, one that slides down, one that turns the flange, which looks down.
Model scara();

/// "six-axis", "scara", or a file of JSON: {"name": "...", "axes": [{"d": 450, "a": 150, ...}, ...]}. Each axis has
/// "lowest", "highest" and "speed"; it may have "d", "a", "alpha", "offset" (0 else), "acceleration" (top speed within
/// half a second), "mass" (10), "torque" (500), and "slides" (false). Throws std::runtime_error, which says what is
/// wrong and where.
Model modelFrom(const std::string& nameOrFile);

bool withinLimits(const Model& arm, const Joints& joints);
/// How far the flange can get from the base's origin at most; mm.
double reach(const Model& arm);

}  // namespace virtual_controller::arm
