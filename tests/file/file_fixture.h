#pragma once

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "tests/support/connected_fixture.h"
#include "tests/support/raw_peer.h"

namespace fs = std::filesystem;
using namespace fileoperation;

/// A controller with its file server, and a working folder of the test's own.
class FileTest : public ConnectedTest {
 protected:
  FileTest() : ConnectedTest(settings()) {
    fs::create_directories(folder);
    fs::current_path(folder);
  }
  ~FileTest() override {
    fs::current_path("/");
    fs::remove_all(folder);
  }
  static virtual_controller::Settings settings() {
    virtual_controller::Settings wanted;
    wanted.host = RawListener::ownHost();
    wanted.filePort = 5000;
    return wanted;
  }
  static void write(const fs::path& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }
  static std::string read(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return stream ? std::string(std::istreambuf_iterator<char>(stream), {}) : "no file";
  }
  /// The files below a folder, hidden ones included.
  static std::set<std::string> tree(const fs::path& root) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
      if (entry.is_regular_file()) files.insert(entry.path().lexically_relative(root));
    return files;
  }
  /// What an operation returns when something happens at the controller after so many requests with a code.
  template <class Event, class Operation>
  int meanwhile(Strategy code, std::size_t count, Event event, Operation operation) {
    std::thread other([&] {
      EXPECT_TRUE(controller.waitForRequests(code, count, std::chrono::seconds(20)));
      event();
    });
    const int result = operation();
    other.join();
    return result;
  }

  using Files = std::set<std::string>;
  const fs::path data = controller.dataDirectory();
  const fs::path folder = fs::temp_directory_path() / ("file_test" + RawListener::ownHost());
};
