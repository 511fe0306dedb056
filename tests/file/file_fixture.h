#pragma once

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "tests/support/callbacks.h"
#include "tests/support/connected_fixture.h"
#include "tests/support/raw_peer.h"

namespace fs = std::filesystem;
using namespace fileoperation;
using ProgressCallback = Callback<const char*, long long, long long>;

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

/// One connection to its file server.
class SingleFile : public FileTest {
 protected:
  void SetUp() override {
    FileTest::SetUp();
    server.reset(connectToFileServer(robot));
    ASSERT_NE(server, nullptr);
  }
  int upload(const std::string& name) {
    testing::internal::CaptureStderr();
    const int result = upload_single_file_to_path(server.get(), name, "job/R1/" + name);
    diagnostics = testing::internal::GetCapturedStderr();
    return result;
  }
  /// What the local file holds after a download.
  std::string download(const std::string& name, const std::string& to = "got") {
    if (send_download_file_request(server.get(), "job/R1/" + name) < 0) return "refused";
    download_single_file_to_path(server.get(), to);
    send_download_file_over(server.get());
    std::error_code error;
    return fs::is_regular_file(to, error) ? read(to) : "no file";
  }

  std::unique_ptr<BackendBase> server;
  std::string diagnostics;
};
