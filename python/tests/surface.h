#pragma once

// What the library's headers may come to declare, in small: every kind of argument, field and overload.

#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

/// A record.
struct Port {
  int number = 0;  ///< which one
  bool open = false;
  double volts = 0;
  std::string label;
};

/// Records and lists in a record.
struct Board {
  Port first;
  std::vector<Port> ports;
  std::vector<std::vector<Port>> groups;
  std::vector<int> codes;
};

inline int readAll(int& number, bool& flag, std::string& text, double& level) {
  number += 1;
  flag = !flag;
  text += "!";
  level *= 2;
  return 7;
}
inline int readBoard(Board& board) {
  board.ports.push_back(board.first);
  board.first.number += 1;
  return 0;
}
inline int readPorts(std::vector<Port>& ports) {
  ports.assign(100, ports.empty() ? Port() : ports.front());
  return 0;
}
inline int readRows(std::vector<std::vector<int>>& rows, std::vector<std::string>& names) {
  rows.push_back({static_cast<int>(rows.size()), 7});
  names.insert(names.begin(), "first");
  return 0;
}
inline int countPorts(std::vector<std::vector<Port>> groups) {
  int count = 0;
  for (const auto& group : groups) count += static_cast<int>(group.size());
  return count;
}
inline double total(const std::vector<double>& values) { return std::accumulate(values.begin(), values.end(), 0.0); }
inline int describe(const Port& port, unsigned int times, std::string& text) {
  for (; times > 0; --times) text += port.label;
  return 0;
}

/// Two of one name, as decoders have them.
inline int copyText(const std::string& from, char* to) {
  from.copy(to, from.size());
  to[from.size()] = '\0';
  return 1;
}
inline int copyText(const std::string& from, std::vector<char>& to) {
  to.assign(from.begin(), from.end());
  return 2;
}

inline int fail(const std::string& how) {
  if (how == "argument") throw std::invalid_argument("not so");
  if (how == "memory") throw std::bad_alloc();
  throw 1;
}
