#include "tool/view/page_files.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "tool/command.h"

namespace tool::view {
namespace {

namespace fs = std::filesystem;

// Beside the program, wherever both have been put.
fs::path folder() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  for (const char* place : {KYT_VIEW_FOLDER, "view"}) {
    const fs::path found = (program.parent_path() / place).lexically_normal();
    if (fs::exists(found / "index.html", error)) return found;
  }
  throw Failure("view: the page is not beside " + program.string() + ", in " + KYT_VIEW_FOLDER);
}

std::string typeOf(const fs::path& file) {
  static const std::map<std::string, std::string> types = {{".html", "text/html; charset=utf-8"},
                                                           {".css", "text/css; charset=utf-8"},
                                                           {".js", "text/javascript; charset=utf-8"},
                                                           {".svg", "image/svg+xml"}};
  const auto type = types.find(file.extension().string());
  return type != types.end() ? type->second : "text/plain; charset=utf-8";
}

}  // namespace

PageFiles::PageFiles() {
  const fs::path from = folder();
  for (const auto& entry : fs::recursive_directory_iterator(from)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const auto content =
        std::make_shared<const std::string>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    files_["/" + entry.path().lexically_relative(from).generic_string()] = {200, typeOf(entry.path()), content};
  }
}

Content PageFiles::file(const std::string& path) const {
  const auto found = files_.find(path == "/" ? "/index.html" : path);
  return found != files_.end() ? found->second : text(404, "there is no such page");
}

}  // namespace tool::view
