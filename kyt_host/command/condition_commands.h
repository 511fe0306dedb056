#pragma once

#include <string>
#include <vector>

#include "kyt_host/command/command.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// A line with conditions. As it stands it opens an if (type 9), while (13) or until block (85).
///
/// An opening line keeps its conditions to itself: `toJson` does not write them, controllers do not expect them there.
/// A jump line writes its own.
class KYT_HOST_API ConditionCommand : public Command {
 public:
  explicit ConditionCommand(CmdType lineType) : Command(lineType) {}

  /// @param conditions   groups of conditions
  /// @param logic        how the groups are joined: operators, one fewer than groups, see `job_insert_if_robot`
  /// @param logicGroups  for each group how its conditions are joined, likewise
  ConditionCommand(CmdType lineType, std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
                   std::vector<std::vector<int>> logicGroups);

  Json::Value toJson() const override;

  Json::Value conditionToJson(const Condition& condition) const;
  Json::Value conditionGroupsToJson() const;
  Json::Value logicToJson() const;
  Json::Value logicGroupToJson() const;

  /// {key: {"conditionGroup", "logic", "logicGroup"}}
  Json::Value generateJson(const std::string& key) const;

 protected:
  /// The line, with its conditions under `key`.
  Json::Value withConditions(const char* key) const;

 private:
  Json::Value conditionsToJson() const;

  std::vector<std::vector<Condition>> conditions_;
  std::vector<int> logic_;
  std::vector<std::vector<int>> logicGroups_;
};

/// The end of an if block: type 12. Its lists of conditions are empty.
class KYT_HOST_API IfCommand : public ConditionCommand {
 public:
  using ConditionCommand::ConditionCommand;
  Json::Value toJson() const override;
};

/// The end of a while block: type 14. Its lists of conditions are empty.
class KYT_HOST_API WhileCommand : public ConditionCommand {
 public:
  using ConditionCommand::ConditionCommand;
  Json::Value toJson() const override;
};

/// The end of an until block: type 86. Its lists of conditions are empty.
class KYT_HOST_API UntilCommand : public ConditionCommand {
 public:
  using ConditionCommand::ConditionCommand;
  Json::Value toJson() const override;
};

/// A label (type 50), or a jump to one (51).
class KYT_HOST_API JumpCommand : public ConditionCommand {
 public:
  explicit JumpCommand(CmdType lineType) : ConditionCommand(lineType) {}

  /// @param conditional  whether the conditions decide; otherwise the jump is made always
  /// @param label        name of the label, without the "[$" and "$]" that are written around it
  JumpCommand(CmdType lineType, std::vector<std::vector<Condition>> conditions, std::vector<int> logic,
              std::vector<std::vector<int>> logicGroups, bool conditional, std::string label);

  Json::Value toJson() const override;

 private:
  bool conditional_ = false;
  std::string label_;
};
