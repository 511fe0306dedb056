#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include <locale.h>

/// While it lives, numbers look otherwise in this process: as 1.234,5 in the global C++ locale, and in the C locale, of
/// the process or of this thread alone, with `point` as their decimal point.
class ForeignLocale {
 public:
  enum class Scope { Process, Thread };
  static constexpr const char* comma = ",";
  static constexpr const char* ofTwoBytes = "\xD9\xAB";  // as Arabic has it

  explicit ForeignLocale(Scope scope = Scope::Process, const std::string& point = comma) : scope_(scope) {
    const std::string name = installed(point);
    std::locale::global(std::locale(std::locale::classic(), new Punctuation));
    if (::setlocale(LC_NUMERIC, name.c_str()) == nullptr) throw std::runtime_error("no locale " + name);
    if (scope == Scope::Process) return;
    locale_ = ::duplocale(LC_GLOBAL_LOCALE);
    ::setlocale(LC_NUMERIC, "C");
    before_ = ::uselocale(locale_);
  }
  ~ForeignLocale() {
    if (scope_ == Scope::Thread) {
      ::uselocale(before_);
      ::freelocale(locale_);
    }
    ::setlocale(LC_NUMERIC, "C");
    std::locale::global(std::locale::classic());
  }
  ForeignLocale(const ForeignLocale&) = delete;
  ForeignLocale& operator=(const ForeignLocale&) = delete;

 private:
  struct Punctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  struct Folder {
    std::filesystem::path path = std::filesystem::temp_directory_path() / ("kyt_locale_" + std::to_string(::getpid()));
    ~Folder() { std::filesystem::remove_all(path); }
  };

  // The machine need not have such a locale: what a compiled one says about numbers is written here, for glibc.
  static std::string installed(const std::string& point) {
    static const Folder folder;
    const std::string name = "point" + std::to_string(point.size());
    std::filesystem::create_directories(folder.path / name);
    std::ofstream(folder.path / name / "LC_NUMERIC", std::ios::binary) << compiled(point);
    ::setenv("LOCPATH", folder.path.c_str(), 1);
    return name;
  }

  // A magic number, how many fields there are, where each begins, and the fields.
  static std::string compiled(const std::string& point) {
    using namespace std::string_literals;
    const std::string fields[] = {point + '\0', ".\0"s, "\3\3\0"s, ",\0\0\0"s, ".\0\0\0"s, "UTF-8\0"s};
    std::string header;
    std::string contents;
    const auto add = [&header](std::uint32_t number) {
      header.append(reinterpret_cast<const char*>(&number), sizeof number);
    };
    add(0x20031114);
    add(std::size(fields));
    for (const std::string& field : fields) {
      contents.resize((contents.size() + 3) / 4 * 4);
      add(static_cast<std::uint32_t>((2 + std::size(fields)) * sizeof(std::uint32_t) + contents.size()));
      contents += field;
    }
    return header + contents;
  }

  Scope scope_;
  locale_t locale_ = nullptr;
  locale_t before_ = nullptr;
};
