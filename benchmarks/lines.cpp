#include <string>

#include <json/value.h>
#include <json/writer.h>

#include "benchmarks.h"
#include "harness.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/kyt_host.h"

namespace {

MoveCmd someMove() {
  MoveCmd cmd;
  cmd.targetPosValue = {10.5, -20.25, 30.125, 40, 50, 60, 0};
  cmd.velocity = 30;
  cmd.acc = cmd.dec = 50;
  return cmd;
}

// NOLINTBEGIN(readability-magic-numbers)

Json::Value plainParameter(const Json::Value& data) {
  Json::Value parameter;
  parameter["value"] = 0;
  parameter["data"] = data;
  parameter["varname"] = "";
  parameter["secondvalue"] = 0;
  return parameter;
}

/// The same line as one would write it down: every key a text, every part built and then copied into its place.
Json::Value plainMoveLine(const MoveCmd& cmd) {
  Json::Value line;
  line["ctype"] = 0;
  line["imovecoord"] = "RF";
  for (const char* const key : {"length", "margin", "offsetAxis", "para", "polish", "polishAngle"}) line[key] = 0;
  line["polishID"] = 1;
  for (const char* const key : {"radius", "side", "userParamInt", "width"}) line[key] = 0;
  line["type"] = 1;
  line["userParamString"] = "";
  const Json::Value acc = plainParameter(cmd.acc);
  line["ParaACC"] = acc;
  const Json::Value dec = plainParameter(cmd.dec);
  line["ParaDEC"] = dec;
  const Json::Value smoothing = plainParameter(cmd.pl);
  line["ParaPL"] = smoothing;
  const Json::Value spin = plainParameter(0);
  line["ParaSPIN"] = spin;
  const Json::Value sync = plainParameter(false);
  line["ParaSYNC"] = sync;
  const Json::Value time = plainParameter(cmd.time);
  line["ParaTIME"] = time;
  line["ParaAHEAD"] = time;
  Json::Value velocity = plainParameter(static_cast<int>(cmd.velocity));
  velocity["m_vUnit"] = 2;
  line["ParaV"] = velocity;
  const Json::Value extra = plainParameter(0.0);
  line["ParaEVJ"] = extra;
  line["velocity"] = cmd.velocity;
  line["acc"] = cmd.acc;
  line["dec"] = cmd.dec;
  line["pl"] = cmd.pl;
  line["spin"] = 0;
  line["sync"] = 0;
  line["vUnit"] = 2;
  Json::Value position;
  position["ctype"] = cmd.targetPosType;
  position["key"] = cmd.targetPosName;
  line["posidtype"] = cmd.posidtype;
  line["posidname"] = cmd.targetPosName;
  line["positionId"] = cmd.targetPosName;
  for (int i = 0; i < 21; ++i) {
    const bool target = i >= 7 && i < 14;
    const double value = target ? cmd.targetPosValue[static_cast<std::size_t>(i - 7)] : 0.0;
    position["data"][i] = value;
    const Json::Value parameter = plainParameter(value);
    position["paraVarData"][i] = parameter;
  }
  line["RobotPos"] = position;
  line["logout"] = false;
  return line;
}

// NOLINTEND(readability-magic-numbers)

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string text(const Json::Value& line) { return Json::FastWriter().write(line); }
#pragma GCC diagnostic pop

}  // namespace

// Program lines built and written, beside the same line put together without care.
void benchmarkLines() {
  constexpr int rounds = 15;
  constexpr int lines = 2000;
  const MoveCmd cmd = someMove();
  const auto library = [&] {
    return kyt_host::detail::writeWithLineFeed(MoveCommand(CmdType::MoveJ, cmd, 0).toJson());
  };
  const auto plain = [&] { return text(plainMoveLine(cmd)); };
  require(library() == plain(), "both write the same line");

  const auto perSecond = [](const auto& build) {
    const double begin = wallTime();
    for (int i = 0; i < lines; ++i) require(!build().empty(), "a line");
    return Figures{lines / ((wallTime() - begin) / 1e6)};
  };
  const auto medians = interleave(rounds, {[&] { return perSecond(library); }, [&] { return perSecond(plain); }});
  printFigure("program lines built and written", medians[0][0], medians[1][0], "/s", noTarget);
  printFigure("  how many times as fast", medians[0][0] / medians[1][0], noReference, "", atLeast(2.5));
  const double bytes = static_cast<double>(library().size());
  printFigure("  bytes of a line (a joint move)", bytes, noReference, "", noTarget);
  printFigure("  lines in a frame", static_cast<double>(frameMaxPayload) / bytes, noReference, "", noTarget);
}
