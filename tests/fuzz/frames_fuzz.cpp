// Bytes from a controller: cut into frames, filed with their handlers, called back and read, just as a connection does
// it, and compared with the plainest way of doing it.
//
// The first byte of an input says into what pieces the rest, the stream, is cut.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kyt_host/communication/asio_tcp_backend.h"
#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/frame_buffer.h"
#include "kyt_host/communication/detail/frame_dispatcher.h"
#include "kyt_host/communication/message_manager.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

template <class Work>
void guarded(Work work) {
  try {
    work();
  } catch (const std::exception&) {  // what it throws ends as a status, or as a line on standard error
  }
}

// ---- the plainest way

struct Message {
  unsigned int code;
  std::string text;
};

// The messages of the whole frames. CRCs are hard to guess, so all frames get the right one first, but for those that
// begin with an exclamation mark.
std::vector<Message> repairAndCut(std::string& stream) {
  std::vector<Message> messages;
  std::size_t size = 0;
  for (std::size_t at = 0; at + frameHeaderSize + frameCrcSize <= stream.size(); at += size) {
    char* const header = &stream[at];
    const unsigned int length = loadBigEndian16(header + 2);
    size = frameHeaderSize + length + frameCrcSize;
    if (at + size > stream.size()) break;
    char* const crc = header + size - frameCrcSize;
    if (*header != '!') storeBigEndian32(crc, calculateCRC32(std::string(header + 2, crc)));
    const std::vector<char> body(header + frameHeaderSize, header + size);
    if (verifyReceiveMessage({header, header + frameHeaderSize}, body, length) != 0) continue;
    messages.push_back({loadBigEndian16(header + 4), {body.data(), std::max(length, 1U) - 1}});
  }
  return messages;
}

bool carriesRequestId(const Message& message) {
  return message.code != 0x5521 && message.text.find("\"reqId\"") != std::string::npos;  // but for a file's bytes
}

// The last text of each code that is stored.
std::map<unsigned int, std::string> lastTexts(const std::vector<Message>& messages) {
  static const MessageManager fresh;
  std::map<unsigned int, std::string> texts;
  std::size_t unknown = 0;
  for (const Message& message : messages) {
    const MessageBaseStrategy* const handler = fresh.find(static_cast<Strategy>(message.code));
    if (carriesRequestId(message) || dynamic_cast<const ReceiveSystemMessage*>(handler) != nullptr) continue;
    if (handler == nullptr && texts.count(message.code) == 0 && ++unknown > MessageManager::maxUnknownCodes) continue;
    texts[message.code] = message.text;
  }
  return texts;
}

// ---- the library's way

void onFrame(int /*code*/, const char* /*text*/) {}
void onState(const char* text) { require(std::strlen(text) <= frameMaxPayload); }
void onMessage(int /*kind*/, const char* text, int /*code*/) { require(std::strlen(text) <= frameMaxPayload); }

void receive(std::string_view stream, std::size_t pieceSize, MessageManager& store, CallbackQueue& callbacks) {
  static AsioTCPBackend backend("", "");
  static FrameCallbacks frameCallbacks;
  frameCallbacks.callback = onFrame;
  FrameBuffer buffer;
  FrameDispatcher dispatcher(backend, store, callbacks, frameCallbacks);
  while (!stream.empty()) {
    require(buffer.spaceLeft() > 0 && buffer.spaceLeft() <= frameHeaderSize + frameMaxPayload + frameCrcSize);
    const std::size_t count = std::min({stream.size(), pieceSize, buffer.spaceLeft()});
    std::memcpy(buffer.space(), stream.data(), count);
    buffer.filled(count);
    stream.remove_prefix(count);
    dispatcher.beginRead(buffer.waiting());
    for (Frame frame; buffer.next(frame);) {
      if (frame.intact()) dispatcher.take(frame);
    }
    dispatcher.finishRead();
  }
}

void check(std::string_view stream, std::size_t pieceSize, const std::vector<Message>& messages) {
  MessageManager store;
  dynamic_cast<RecvRobotState&>(*store.find(Strategy::RobotState)).setCallback(onState);
  for (const Strategy code : {Strategy::ErrorMessage, Strategy::WarningMessage})
    dynamic_cast<ReceiveSystemMessage&>(*store.find(code)).setCallback(onMessage);
  CallbackQueue callbacks;
  receive(stream, pieceSize, store, callbacks);
  for (const auto& [code, text] : lastTexts(messages)) {
    const MessageBaseStrategy* const handler = store.find(static_cast<Strategy>(code));
    require(handler != nullptr && handler->received() && handler->text() == text);
  }

  CallbackQueue::Event last;
  last.callbacks = CallbackQueue::OfReconnection;
  callbacks.add(last, {});
  callbacks.publish();
  auto expected = messages.begin();
  callbacks.run([&](const CallbackQueue::Event& event, const char* text) {
    if (event.callbacks == CallbackQueue::OfReconnection) return callbacks.stop();
    require(expected != messages.end() && (event.callbacks & CallbackQueue::OfReceiver) != 0);
    require(event.code == expected->code && std::strcmp(text, expected->text.c_str()) == 0);
    ++expected;
    if ((event.callbacks & CallbackQueue::OfHandler) != 0)
      guarded([&] { store.find(static_cast<Strategy>(event.code))->callBack(text); });
  });
  require(expected == messages.end());
}

// ---- what operations make of a reply

template <class... Outputs>
void readInto(const std::string& text) {
  Json::Value root;
  guarded([&] {
    if (!parseJson(text, root)) root = Json::Value();
  });
  (guarded([&, output = Outputs()]() mutable { take(output, "data", "pos", "state", "speed")(root); }), ...);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::cout.setstate(std::ios::failbit);  // a line for every wrong CRC
  std::string stream(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::vector<Message> messages = repairAndCut(stream);
  check(stream, stream.size(), messages);
  check(stream, 1U + data[0], messages);
  for (const Message& message : messages) {
    readInto<int, bool, double, std::string, std::vector<char>, std::vector<int>, std::vector<double>,
             std::vector<std::vector<double>>>(message.text);
  }
  return 0;
}
