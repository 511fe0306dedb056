// Texts are read and written as JsonCpp does in the "C" locale, whatever locale the application has.

#include "kyt_host/detail/json_text.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>
#include <nlohmann/json.hpp>

#include "kyt_host/detail/plain_json.h"
#include "tests/support/foreign_locale.h"

using namespace kyt_host::detail;

namespace {

using Scope = ForeignLocale::Scope;

// Everything that a caller can tell of a value.
void describe(std::string& text, const Json::Value& value) {
  text += static_cast<char>('0' + value.type());
  if (value.type() == Json::realValue) {
    const double number = value.asDouble();
    text.append(reinterpret_cast<const char*>(&number), sizeof number);
  } else if (value.isArray() || value.isObject()) {
    for (auto member = value.begin(); member != value.end(); ++member) {
      text += value.isObject() ? member.name() + ":" : "";
      describe(text, *member);
    }
    text += ']';
  } else {
    text += value.asString() + '"';
  }
}

template <class Parse>
std::string reading(const std::string& text, const Parse& parse) {
  try {
    Json::Value root;
    if (!parse(text, root)) return "refused";
    std::string description;
    describe(description, root);
    return description;
  } catch (const std::exception&) {
    return "nested too deeply";
  }
}

bool parsePlainly(const std::string& text, Json::Value& root) {
  static const std::unique_ptr<Json::CharReader> reader = [] {
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    builder["allowTrailingCommas"] = false;
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
  }();
  return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
}

std::string readingPlainly(const std::string& text) { return reading(text, parsePlainly); }
std::string readingHere(const std::string& text) { return reading(text, parseJson); }

// The text by itself, and in the places where a value can stand.
std::vector<std::string> placed(const std::string& text) {
  return {text, "[" + text + "]", "{\"a\":" + text + ",\"b\":" + text + "}"};
}

std::vector<std::string> corpus() {
  std::vector<std::string> texts;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(CORPUS)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    texts.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return texts;
}

const std::vector<std::string> oddTexts{
    "1.",
    "-.5",
    "1e5",
    "1E+5",
    "1e-5",
    "1e999",
    "-1e999",
    "1e-999",
    "-1e-999",
    "4.9e-324",
    "2e-324",
    "1.7976931348623157e308",
    "1.7976931348623159e308",
    "-0.0",
    "-0",
    "1.2.3",
    "1e5.3",
    "1e5e6",
    "1.5e",
    "1e",
    "1e+",
    "-",
    "+",
    "--5",
    "+5",
    "+5.5",
    "+0x10",
    "-Infinity",
    "+I1.5",
    "NaN",
    "0.1",
    "0.30000000000000004",
    "123456.789012345678901234567890",
    "00012.5",
    "1.234,5",
    "9223372036854775807",
    "-9223372036854775808",
    "-9223372036854775809",
    "18446744073709551615",
    "18446744073709551616",
    "00000000000000000000000000000000000005",
    "-00000000000000000000000000000000000005",
    std::string(400, '9'),
    std::string(400, '9') + ".5",
    "0." + std::string(400, '0') + "1",
    R"({"1.5":"2.5 \"3.5\\","a":4.5})",
    R"({"a":1e999,"a":1})",
    R"({"a":1.5,"a":7,"a":{"b":2.5},"a":3.5})",
    "/* 1.5 */ 2.5 // 3.5\n",
    "[1.5,// 2.5\r 3.5 /* * / 4.5 */,5.5]",
    "/*/ 1.5 */ 2.5",
    "2.5 /*/",
    "2.5 /* 1",
    "2.5 / 1.5",
    "[1.5,'2.5',3.5]",
    "\xEF\xBB\xBF[1.5,2]",
    "\xEF\xBB\xBF\xEF\xBB\xBF[1.5,2]",
    "[1.5,\"\xFF\x01 2.5\",2.5]",
    std::string("[1.5\0,2.5]", 10),
    std::string("1.5\0,2.5]", 9),
    "\"2.5",
    "\"2.5\\",
    "{\"a\":1.5} 1e999",
    "[1.5}",
    "[1.5,]",
    "[1 2]",
    "{\"a\" : 1.5 , \"\":\n2}",
    "{\"\":1,}",
    "{1:2}",
    "{\"a\"1}",
    "[truer]",
    "nul",
    "\"\x7F\t\"",
    "999999999999999999",
    "-999999999999999999",
    "1000000000000000000",
    std::string(31, '[') + "{}" + std::string(31, ']'),
    std::string(33, '[') + std::string(33, ']'),
    std::string(2000, '[') + "1.5",
};

// Texts of JSON as controllers and their faults write it: valid for the most part, some with a byte too many or few.
class SomeTexts {
 public:
  std::string next() {
    std::string text;
    add(text, 3);
    if (chance(3)) return text;
    const std::size_t place = random_() % (text.size() + 1);
    if (chance(2)) return text.insert(place, 1, anything_[random_() % anything_.size()]);
    return text.erase(place, 1);
  }

 private:
  bool chance(unsigned int in) { return random_() % in == 0; }
  void number(std::string& text) {
    for (auto length = 1 + random_() % 7; length > 0; --length) text += "0123456789.e+-E1.5"[random_() % 18];
  }
  void blank(std::string& text) {
    constexpr const char* blanks[] = {"", "", "", " ", "\n", "/* 1.5 */", "// \"2.5\n", "\t"};
    text += blanks[random_() % std::size(blanks)];
  }
  void list(std::string& text, const char* brackets, int depth, bool named) {
    text += brackets[0];
    for (auto i = random_() % 4, begin = i; i > 0; --i) {
      if (i != begin) text += ',';
      blank(text);
      constexpr const char* keys[] = {"\"1.5\":", "\"a\\\"\":", "\"a\":", "\"b\" :"};
      if (named) text += keys[random_() % std::size(keys)];
      add(text, depth - 1);
    }
    text += brackets[1];
  }
  void add(std::string& text, int depth) {
    constexpr const char* words[] = {"1.5", "-2e3", "0", "-7", "true", "null", "\"2.5\"", "\"\\\"2.5\\\\\"", "1e-7"};
    blank(text);
    switch (random_() % (depth > 0 ? 6 : 3)) {
      case 0:
        number(text);
        break;
      case 1:
      case 2:
        text += words[random_() % std::size(words)];
        break;
      case 3:
        list(text, "{}", depth, true);
        break;
      default:
        list(text, "[]", depth, false);
    }
    blank(text);
  }

  const std::string anything_ = "0123456789.eE+-,:[]{}\"\\/* \n\tItrue\x01\xFF";
  std::mt19937 random_{4711};
};

double anyDouble(std::mt19937_64& random) {
  const std::uint64_t bits = random();
  double number = 0;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

// Every text of so many of these characters.
template <class Use>
void everyText(const std::string& characters, std::size_t length, const Use& use, const std::string& begin = "") {
  use(begin);
  for (const char character : begin.size() < length ? characters : "")
    everyText(characters, length, use, begin + character);
}

TEST(JsonText, IsReadAsJsonCppReadsItWithoutALocale) {
  std::vector<std::string> texts = corpus();
  EXPECT_GT(texts.size(), 50U);
  for (const std::string& text : oddTexts) {
    for (const std::string& variant : placed(text)) texts.push_back(variant);
  }
  everyText("10.e-+/,", 5, [&](const std::string& text) { texts.push_back("[" + text + "]"), texts.push_back(text); });
  SomeTexts some;
  for (int i = 0; i < 50'000; ++i) texts.push_back(some.next());

  std::vector<std::string> expected;
  std::size_t refused = 0;
  for (const std::string& text : texts) {
    expected.push_back(readingPlainly(text));
    if (expected.back() == "refused") ++refused;
  }
  EXPECT_GT(refused, texts.size() / 10);
  EXPECT_LT(refused, texts.size() * 9 / 10);
  std::size_t plain = 0;
  for (const bool foreign : {false, true}) {
    const auto locale = foreign ? std::make_unique<ForeignLocale>() : nullptr;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      ASSERT_EQ(readingHere(texts[i]), expected[i]) << texts[i];
      Json::Value root = "before";
      if (readPlainJson(texts[i], root)) {
        ++plain;
      } else {
        ASSERT_EQ(root, "before") << texts[i];
      }
    }
  }
  EXPECT_GT(plain, texts.size() / 10);
}

TEST(JsonText, OfControllersIsReadTheShortWay) {
  const std::pair<std::string, bool> rows[] = {
      {R"({"robot":1,"speed":50})", true},
      {" { \"pos\" : [ 10.5, -20.25,\t3e-7,0.0 ], \"on\" : [true,false,null] ,\"name\":\"\xC3\xA4\"}\r\n", true},
      {R"([[],{},"",{"a":{}},-0,-0.0,999999999999999999])", true},
      {std::string(31, '[') + "{}" + std::string(31, ']'), true},
      {std::string(33, '[') + std::string(33, ']'), false},
      {R"(["\u00e4"])", false},
      {"[1] // comment", false},
      {"[01]", false},
      {"[1e999]", false},
      {"[1000000000000000000]", false},
      {"[1] 2", false},
      {"", false},
  };
  for (const auto& [text, plain] : rows) {
    Json::Value root;
    EXPECT_EQ(readPlainJson(text, root), plain) << text;
  }
}

TEST(JsonText, DecimalsAreTheNearest) {
  std::mt19937_64 random(4711);  // NOLINT(*-msc51-cpp): the same ones every time
  for (int i = 0; i < 20'000; ++i) {
    const double number = anyDouble(random);
    if (!std::isfinite(number)) continue;
    char text[64];
    std::snprintf(text, sizeof text, i % 2 == 0 ? "[%.17g]" : "[%.20e]", number);
    ASSERT_EQ(readingHere(text), readingPlainly(text)) << text;
  }
}

TEST(JsonText, IsWrittenAlikeInEveryLocale) {
  Json::Value line;
  for (const double number : {1234.5, -0.1, 1e300, 4.9e-324, 7.0, 1234567.0}) line.append(number);
  const nlohmann::json compact{1234.5, -0.1, 1e300, 1234567.0, 1234567};
  const std::string lineText = writeWithLineFeed(line);
  EXPECT_EQ(lineText, "[1234.5,-0.10000000000000001,1.0000000000000001e+300,4.9406564584124654e-324,7.0,1234567.0]\n");
  EXPECT_EQ(writeCompact(compact), "[1234.5,-0.1,1e+300,1234567.0,1234567]");
  for (const Scope scope : {Scope::Process, Scope::Thread}) {
    for (const char* const point : {ForeignLocale::comma, ForeignLocale::ofTwoBytes}) {
      const ForeignLocale locale(scope, point);
      char before[8];
      std::snprintf(before, sizeof before, "%.1f", 0.5);
      EXPECT_EQ(before, "0" + std::string(point) + "5");
      EXPECT_EQ(writeWithLineFeed(line), lineText);
      EXPECT_EQ(writeCompact(compact), "[1234.5,-0.1,1e+300,1234567.0,1234567]");
      EXPECT_EQ(textOf(1234.5), "1234.5");
      char after[8];
      std::snprintf(after, sizeof after, "%.1f", 0.5);
      EXPECT_STREQ(after, before);  // the application's locale is back
    }
  }
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string writtenByJsonCpp(const Json::Value& value) { return Json::FastWriter().write(value); }
#pragma GCC diagnostic pop

TEST(JsonText, IsWrittenAsJsonCppWritesIt) {
  std::vector<Json::Value> values{Json::Value(),
                                  true,
                                  Json::arrayValue,
                                  Json::objectValue,
                                  -0.0,
                                  1e16,
                                  1e17,
                                  5e-324,
                                  1e-5,
                                  0.0001,
                                  "",
                                  "~ ",
                                  "\x7F\t\"/\\",
                                  "\xC3\xA4 \xF0\x9F\xA4\x96",
                                  std::string("a\0\x1F", 3)};
  values.emplace_back(Json::Value::maxUInt64);
  values.emplace_back(Json::Value::minInt64);
  Json::Value gaps;
  gaps[2][1]["\xC3\xA4\n"] = 7U;
  gaps[5] = "last";
  values.push_back(gaps);
  std::mt19937_64 random(4711);  // NOLINT(*-msc51-cpp): the same ones every time
  for (int i = 0; i < 20'000; ++i) {
    const double number = anyDouble(random);
    if (std::isfinite(number)) values.emplace_back(number);
    values.emplace_back(static_cast<double>(static_cast<std::int32_t>(random())) / 1000);
  }
  SomeTexts some;
  for (int i = 0; i < 5'000; ++i) {
    if (Json::Value value; parsePlainly(some.next(), value)) values.push_back(value);
  }
  std::size_t refused = 0;
  for (const Json::Value& value : values) {
    try {
      ASSERT_EQ(writeWithLineFeed(value), writtenByJsonCpp(value));
    } catch (const std::exception&) {
      ++refused;  // not UTF-8
    }
  }
  EXPECT_LT(refused, values.size() / 100);
}

TEST(JsonText, HasNoNumberThatIsNotFinite) {
  for (const double number : {NAN, INFINITY, -INFINITY}) {
    Json::Value line;
    line["a"][2]["b"] = number;
    EXPECT_THROW(writeWithLineFeed(line), NotFinite);
    EXPECT_THROW(writeCompact({{"a", {1, {{"b", number}}}}}), NotFinite);
  }
}

TEST(JsonText, BothWritersRefuseWhatIsNotUtf8) {
  const std::pair<const char*, bool> rows[] = {
      {"", true},
      {"plain", true},
      {"\xC3\xA4 \xE4\xBD\x8D \xF0\x9F\xA4\x96 \xEF\xBF\xBD \xF4\x8F\xBF\xBF", true},
      {"\xFF", false},
      {"a\x80", false},
      {"\xC3", false},
      {"\xC3(", false},
      {"\xE4\xBD", false},
      {"\xE4(\x8D", false},
      {"\xC0\xAF", false},          // too long
      {"\xED\xA0\x80", false},      // a surrogate
      {"\xF4\x90\x80\x80", false},  // beyond Unicode
  };
  for (const auto& [text, good] : rows) {
    Json::Value line;
    line["a"].append(text);
    if (good) {
      EXPECT_NO_THROW(writeWithLineFeed(line)) << text;
      EXPECT_NO_THROW(writeCompact({{"a", {text}}})) << text;
    } else {
      EXPECT_ANY_THROW(writeWithLineFeed(line)) << text;
      EXPECT_ANY_THROW(writeCompact({{"a", {text}}})) << text;
    }
  }
}

}  // namespace
