#pragma once

// What the examples share: saying what happens, and ending when a step did not do what it should.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>

#include <kyt_host/kyt_host.h>

inline void say(const std::string& line) { std::cout << line + "\n" << std::flush; }

inline void expect(bool done, const std::string& step) {
  if (done) return;
  std::cerr << "failed: " << step << "\n";
  std::exit(EXIT_FAILURE);
}

inline void expectSuccess(int status, const std::string& step) {
  expect(status == SUCCESS, step + " (status " + std::to_string(status) + ")");
}

/// Asks again and again until `happened` says yes.
template <class Condition>
void waitUntil(Condition happened, int seconds, const std::string& what) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!happened()) {
    expect(std::chrono::steady_clock::now() < end, what);
    delay(10);
  }
}
