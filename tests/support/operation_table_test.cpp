// What every row of the operations' tables has to show, in every locale.

#include "tests/support/operation_table.h"

#include <memory>

#include "tests/support/foreign_locale.h"

namespace {

std::string numbered(std::string text, int robot) {
  const std::size_t at = text.find('#');
  return at == std::string::npos ? text : text.replace(at, 1, std::to_string(robot));
}

// The test's own body, first without a locale, then in one of which each part gets numbers wrong.
template <class Body>
void inEveryLocale(const Body& body) {
  using Locale = ForeignLocale;
  body();
  {
    SCOPED_TRACE("in a process with a foreign locale");
    const Locale locale(Locale::Scope::Process, Locale::comma);
    body();
  }
  SCOPED_TRACE("in a thread with a foreign locale");
  const Locale locale(Locale::Scope::Thread, Locale::ofTwoBytes);
  body();
}

TEST_P(Commands, SendTheirTextAndNothingToAnUnknownHandle) {
  const CommandRow& row = GetParam();
  controller.silence(row.code, -1);  // it need not be in a state in which it obeys
  inEveryLocale([&] {
    if (row.send) {
      EXPECT_EQ(row.send(robot, 2), SUCCESS);
      EXPECT_EQ(sent(row.code), numbered(row.text, 2));
      EXPECT_EQ(row.send(unknownHandle, 2), DISCONNECT);
    }
    EXPECT_EQ(row.sendPlain(robot), SUCCESS);
    EXPECT_EQ(sent(row.code), numbered(row.text, 1));
    EXPECT_EQ(row.sendPlain(unknownHandle), DISCONNECT);
  });
}

TEST_P(Queries, SendTheirTextAndReadEveryKindOfReplyAsTheirDecoderDoes) {
  const QueryRow& row = GetParam();
  std::string value;
  const auto decodes = [&](const std::string& text, int result, const std::string& expected) {
    if (!row.decode) return;
    EXPECT_EQ(row.decode(text, value), result) << text;
    EXPECT_EQ(value, expected) << text;
  };
  inEveryLocale([&] {
    for (const auto& [reply, expected] : row.readings) {
      EXPECT_EQ(ask(reply, value), SUCCESS) << reply;
      EXPECT_EQ(value, expected) << reply;
      EXPECT_EQ(sent(row.request), numbered(row.text, row.get ? 2 : 1));
      decodes(reply, SUCCESS, expected);
    }
  });
  for (const char* nothingToRead : {"{}", R"({"other":1})", "null", "not JSON", "{\"a\":", ""}) {
    EXPECT_EQ(ask(nothingToRead, value), SUCCESS) << nothingToRead;
    EXPECT_EQ(value, row.untouched) << nothingToRead;
  }
  for (const char* nothingToRead : {"{}", R"({"other":1})", "null"}) decodes(nothingToRead, SUCCESS, row.unread);
  for (const char* notJson : {"not JSON", "{\"a\":", ""}) decodes(notJson, EXCEPTION, row.unread);
  for (const std::string& wrong : {row.wrongType, std::string("[]"), std::string(5000, '[')}) {
    EXPECT_EQ(ask(wrong, value), EXCEPTION) << wrong;
    EXPECT_EQ(value, row.untouched) << wrong;
    decodes(wrong, EXCEPTION, row.unread);
  }
  EXPECT_EQ(row.getPlain(unknownHandle, value), DISCONNECT);
  controller.clearReceived();
  controller.answer(row.request, row.reply, row.readings.front().first);
  EXPECT_EQ(row.getPlain(robot, value), SUCCESS);
  EXPECT_EQ(value, row.readings.front().second);
  EXPECT_EQ(sent(row.request), numbered(row.text, 1));
}

}  // namespace
