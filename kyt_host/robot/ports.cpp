#include "kyt_host/robot/ports.h"

#include <cmath>
#include <string>
#include <utility>

#include "kyt_host/detail/number_text.h"
#include "kyt_host/interface/kyt_io.h"
#include "kyt_host/robot/detail/controller_state.h"

namespace kyt {

namespace {

constexpr const char* keys[] = {"DIN", "DOUT", "AIN", "AOUT"};
constexpr const char* names[] = {"inputs", "outputs", "analog_inputs", "analog_outputs"};

std::string wholeNumber(double value) {
  constexpr double most = 1e15;  // a double tells no more whole numbers apart
  const bool isWhole = std::abs(value) < most && std::trunc(value) == value;
  return isWhole ? std::to_string(static_cast<long long>(value)) : std::string();
}

template <class Value>
int valueAt(int (*read)(SOCKETFD, std::vector<Value>&), SOCKETFD socketFd, int number, double& value) {
  std::vector<Value> values;
  const int status = read(socketFd, values);
  if (status != SUCCESS) return status;
  if (number < 1 || static_cast<std::size_t>(number) > values.size()) return PARAM_ERR;
  value = values[static_cast<std::size_t>(number) - 1];
  return SUCCESS;
}

bool holds(double one, ::Comparison comparison, double other) {
  switch (comparison) {
    case EQUAL_TO:
      return one == other;
    case LESS:
      return one < other;
    case GREATER:
      return one > other;
    case LESS_EQUAL:
      return one <= other;
    case GREATER_EQUAL:
      return one >= other;
    default:
      return one != other;
  }
}

}  // namespace

PortCondition::PortCondition(std::shared_ptr<const Port> port, ::Comparison comparison, double value)
    : port_(std::move(port)), comparison_(comparison), value_(value) {}

PortCondition::operator bool() const { return holds(port_->value(), comparison_, value_); }

::Condition PortCondition::record() const {
  ::Condition condition;
  condition.key = keys[static_cast<int>(port_->kind_)];
  condition.logicType = comparison_;
  condition.paraGroupOne.data = port_->number_;
  condition.desValue = wholeNumber(value_);
  condition.paraGroupTwo.data = value_;
  return condition;
}

double Port::value() const {
  const SOCKETFD socketFd = state_->socketFd;
  double value = 0;
  int status = DISCONNECT;
  if (!state_->closed) {
    switch (kind_) {
      case Kind::DigitalInput:
        status = valueAt(get_digital_input, socketFd, number_, value);
        break;
      case Kind::DigitalOutput:
        status = valueAt(get_digital_output, socketFd, number_, value);
        break;
      case Kind::AnalogInput:
        status = valueAt(get_analog_input, socketFd, number_, value);
        break;
      case Kind::AnalogOutput:
        status = valueAt(get_analog_output, socketFd, number_, value);
        break;
    }
  }
  check(name().c_str(), status, status == PARAM_ERR ? "the controller has no such port" : "");
  return value;
}

void Port::set(double value) const {
  const SOCKETFD socketFd = state_->socketFd;
  state_->command(name().c_str(), 0, [&] {
    return kind_ == Kind::DigitalOutput ? set_digital_output(socketFd, number_, value != 0 ? 1 : 0)
                                        : set_analog_output(socketFd, number_, value);
  });
}

void Port::wait_for(double value) const { wait_for(value, Seconds(1e9)); }

void Port::wait_for(double value, Seconds timeout) const {
  const std::string operation = name() + " == " + kyt_host::detail::numberText(value);
  const auto arrived = [&, silent = 0]() mutable {
    try {
      const bool has = this->value() == value;
      silent = 0;
      return has;
    } catch (const BadArgument&) {
      throw;
    } catch (const Error& error) {
      return state_->tolerates(operation.c_str(), error.status(), silent);
    }
  };
  Waiting(operation, arrived, state_->interval()).wait(timeout);
}

std::string Port::name() const {
  return std::string(names[static_cast<int>(kind_)]) + "[" + std::to_string(number_) + "]";
}

PortCondition Port::compared(::Comparison comparison, double value) const {
  return PortCondition(std::make_shared<const Port>(*this), comparison, value);
}

void DigitalInput::force(bool level) const {
  state_->command("force", 0, [&] { return set_force_digital_input(state_->socketFd, number(), 1, level ? 1 : 0); });
}

void DigitalInput::release() const {
  state_->command("release", 0, [&] { return set_force_digital_input(state_->socketFd, number(), 0, 0); });
}

}  // namespace kyt
