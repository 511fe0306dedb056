#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/line_records.h"
#include "kyt_host/robot/waiting.h"

namespace kyt_host::detail {
struct ControllerState;
}

namespace kyt {

class Port;

/// A port compared with a value: `controller.inputs[3] == 1`. Asked for its truth it looks now; a program carries it to
/// the controller, which looks when it gets there.
class KYT_HOST_API PortCondition {
 public:
  PortCondition(std::shared_ptr<const Port> port, ::Comparison comparison, double value);

  /// Looks now.
  explicit operator bool() const;

  /// As program lines have it.
  ::Condition record() const;

 private:
  std::shared_ptr<const Port> port_;
  ::Comparison comparison_;
  double value_;
};

/// What inputs and outputs have in common. A port is a name for it: nothing is asked until its value is.
class KYT_HOST_API Port {
 public:
  /// From 1.
  int number() const { return number_; }

  /// As it is written: "inputs[3]".
  std::string name() const;

  /// Its level, 0 or 1, or its analog value, now. Throws BadArgument where the controller has no such port.
  double value() const;

  /// Waits until it has this value. Throws TimedOut.
  void wait_for(double value, Seconds timeout) const;
  void wait_for(double value) const;

  // Of whatever number, as it is: a port becomes its own value otherwise, and two numbers are compared.
  template <class Value>
  using IfNumber = std::enable_if_t<std::is_arithmetic_v<Value>, PortCondition>;
  template <class Value>
  IfNumber<Value> operator==(Value value) const {
    return compared(EQUAL_TO, static_cast<double>(value));
  }
  template <class Value>
  IfNumber<Value> operator!=(Value value) const {
    return compared(NOT_EQUAL_TO, static_cast<double>(value));
  }
  template <class Value>
  IfNumber<Value> operator<(Value value) const {
    return compared(LESS, static_cast<double>(value));
  }
  template <class Value>
  IfNumber<Value> operator>(Value value) const {
    return compared(GREATER, static_cast<double>(value));
  }
  template <class Value>
  IfNumber<Value> operator<=(Value value) const {
    return compared(LESS_EQUAL, static_cast<double>(value));
  }
  template <class Value>
  IfNumber<Value> operator>=(Value value) const {
    return compared(GREATER_EQUAL, static_cast<double>(value));
  }

 protected:
  enum class Kind { DigitalInput, DigitalOutput, AnalogInput, AnalogOutput };

  Port(std::shared_ptr<kyt_host::detail::ControllerState> state, Kind kind, int number)
      : state_(std::move(state)), kind_(kind), number_(number) {}
  void set(double value) const;

  std::shared_ptr<kyt_host::detail::ControllerState> state_;

 private:
  friend class PortCondition;
  PortCondition compared(::Comparison comparison, double value) const;

  Kind kind_;
  int number_;
};

class KYT_HOST_API DigitalInput : public Port {
 public:
  DigitalInput(std::shared_ptr<kyt_host::detail::ControllerState> state, int number)
      : Port(std::move(state), Kind::DigitalInput, number) {}
  operator bool() const { return value() != 0; }
  /// Has it at a level, whatever is wired to it.
  void force(bool level) const;
  void release() const;
};

class KYT_HOST_API DigitalOutput : public Port {
 public:
  DigitalOutput(std::shared_ptr<kyt_host::detail::ControllerState> state, int number)
      : Port(std::move(state), Kind::DigitalOutput, number) {}
  operator bool() const { return value() != 0; }
  const DigitalOutput& operator=(bool level) const {
    set(level ? 1 : 0);
    return *this;
  }
};

class KYT_HOST_API AnalogInput : public Port {
 public:
  AnalogInput(std::shared_ptr<kyt_host::detail::ControllerState> state, int number)
      : Port(std::move(state), Kind::AnalogInput, number) {}
  operator double() const { return value(); }
};

class KYT_HOST_API AnalogOutput : public Port {
 public:
  AnalogOutput(std::shared_ptr<kyt_host::detail::ControllerState> state, int number)
      : Port(std::move(state), Kind::AnalogOutput, number) {}
  operator double() const { return value(); }
  const AnalogOutput& operator=(double value) const {
    set(value);
    return *this;
  }
};

/// The ports of a kind: `controller.inputs[7]`, counted from 1.
template <class OnePort>
class Ports {
 public:
  explicit Ports(std::shared_ptr<kyt_host::detail::ControllerState> state) : state_(std::move(state)) {}
  OnePort operator[](int number) const { return OnePort(state_, number); }

 private:
  std::shared_ptr<kyt_host::detail::ControllerState> state_;
};

}  // namespace kyt
