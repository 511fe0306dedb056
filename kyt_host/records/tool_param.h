#pragma once

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A tool frame: the tool centre point as seen from the flange, and the payload. Virtual controller: mm, degrees and
/// kg; X to C within -1000000..1000000; the payload is only kept.
struct ToolParam {
  double X = 0;                    ///< offset of the tool centre point
  double Y = 0;                    ///<
  double Z = 0;                    ///<
  double A = 0;                    ///< orientation, angles about x, y and z
  double B = 0;                    ///<
  double C = 0;                    ///<
  double payloadMass = 0;          ///< mass of the payload
  double payloadInertia = 0;       ///< its inertia
  double payloadMassCenter_X = 0;  ///< its centre of mass
  double payloadMassCenter_Y = 0;  ///<
  double payloadMassCenter_Z = 0;  ///<
};
