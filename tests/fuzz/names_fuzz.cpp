// Names by which a client asks the virtual controller's file server: none gets out of its folder.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "virtual_controller/files/data_folder.h"
#include "virtual_controller/files/file_server.h"

namespace fs = std::filesystem;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

// The virtual controller's folder, inside one of this process.
struct Served {
  Served() {
    fs::create_directories(outside);
    data.emplace((outside / "data").string(), "{}");
  }
  ~Served() {
    data.reset();
    fs::remove_all(outside);
  }
  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;

  const fs::path outside = fs::temp_directory_path() / ("names_fuzz" + std::to_string(::getpid()));
  std::optional<virtual_controller::DataFolder> data;
};

void transfer(const std::string& name) {
  static Served served;
  virtual_controller::FileServer server(*served.data);
  server.open(1);
  const auto ask = [&](Strategy code, const std::string& text) {
    try {
      for (const auto& answer : server.perform(1, code, text)) require(answer.text.size() <= 65'535);
    } catch (const std::exception&) {  // the client is told
    }
  };
  nlohmann::json request{{"name", name}, {"size", 2}};
  const std::string text = request.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  for (const std::string& asked : {text, name}) {
    ask(Strategy::UploadRequest, asked);
    ask(Strategy::UploadData, "{}");
    ask(Strategy::UploadOver, "");
    ask(Strategy::DownloadRequest, asked);
    ask(Strategy::DownloadNext, "");
    ask(Strategy::DownloadOver, "");
  }
  ask(Strategy::ListJobFiles, "");
  ask(Strategy::ListConfigFiles, "");
  const auto root = served.outside / "data";
  for (const auto& path : {served.data->toRead(name), served.data->toWrite(name)}) {
    if (path) require(path->lexically_normal() == *path && path->lexically_relative(root).begin()->string() != "..");
  }
  for (const auto& entry : fs::directory_iterator(served.outside)) require(entry.path() == root);
  for (const auto& folder : {"config", "job/R1", "job/R2", "job/R3", "job/R4"}) {
    for (const auto& entry : fs::directory_iterator(root / folder)) {
      require(entry.is_regular_file());
      if (entry.path().filename() != "controller.json") fs::remove(entry);  // so that the next one finds none
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  transfer({reinterpret_cast<const char*>(data), size});
  return 0;
}
