#pragma once

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// One arc parameter set, no value of which may be negative. Virtual controller: V, A and s; it shows the welding
/// voltage and current while the arc burns, and only keeps the others.
struct ArcParam {
  double weldVoltage = 0;         ///< while welding
  double weldCurrent = 0;         ///<
  double arcOnCurrent = 0;        ///< while striking the arc
  double arcOnVoltage = 0;        ///<
  double arcOnTime = 0;           ///<
  bool arcOnRampEnable = false;   ///< ramp from the striking to the welding values
  int arcOnRampMode = 0;          ///<
  double arcOnRampTime = 0;       ///<
  double arcOffCurrent = 0;       ///< while filling the crater
  double arcOffVoltage = 0;       ///<
  double arcOffTime = 0;          ///<
  bool arcOffRampEnable = false;  ///< ramp from the welding to the crater values
  int arcOffRampMode = 0;         ///<
  double arcOffRampTime = 0;      ///<
};

/// One weaving parameter set. Virtual controller: Hz, mm, s and degrees; it only keeps them.
struct WaveParam {
  int type = 0;                   ///< weaving pattern, 0..3; decides which of the other fields count
  double swingFreq = 0;           ///< frequency
  double swingAmplitude = 0;      ///< amplitude
  double radius = 0;              ///< pattern 2 only
  double LTypeAngle = 0;          ///< pattern 2 only
  bool moveWhenEdgeStay = false;  ///< patterns 1 and 3: whether the torch moves on while it dwells at an edge
  double leftStayTime = 0;        ///< patterns 1 and 3: dwell at the left edge
  double rightStayTime = 0;       ///< patterns 1 and 3: dwell at the right edge
  int initialDir = 0;             ///< direction of the first swing
  double horizontalDeflection = 0;
  double verticalDeflection = 0;
};

/// What the welding machine is doing.
struct WeldState {
  int pistolSwitch = 0;    ///< the torch's trigger
  int arcingSuccess = 0;   ///< whether the arc burns
  int handWireFeed = 0;    ///< whether wire is fed by hand
  double weldCurrent = 0;  ///< measured, A
  double weldVoltage = 0;  ///< measured, V
  double weldTime = 0;     ///< how long it has been welding, s
  double weldPWM = 0;      ///< duty ratio. Virtual controller: percent of the time that welding was enabled.
};
