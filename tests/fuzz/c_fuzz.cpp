// Bytes as calls of the interface for C, with a controller that answers as it is told to: nothing is written where
// there is no room, every text has its end, and what cannot be is refused.
//
// An input: which function, how many bytes the arguments are made of, these, and the text of every reply. Where the
// bytes have run out, arguments are what they usually are. What is looked for is tried with some functions, what is
// replayed with all of them, one after the other.

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <sys/socket.h>

#include <kyt_host/kyt_host_c.h>

#include "kyt_host/communication/exchanges.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/detail/byte_order.h"
#include "tests/support/raw_peer.h"

using namespace kyt_host::detail;

// Whether every text in a record has its end, and every list its room. Of records: c_calls.inc.
template <class Type, std::enable_if_t<std::is_arithmetic_v<Type>, int> = 0>
bool whole(Type /*value*/) {
  return true;
}
template <std::size_t size>
bool whole(const char (&text)[size]) {
  return std::memchr(text, 0, size) != nullptr;
}
template <class Type, std::size_t size>
bool whole(const Type (&list)[size], int count) {
  return count >= 0 && static_cast<std::size_t>(count) <= size &&
         std::all_of(list, list + count, [](const Type& each) { return whole(each); });
}
template <class Type, std::size_t lists, std::size_t size>
bool whole(const Type (&/*list*/)[lists][size], const int (&counts)[lists], int count) {
  return count >= 0 && static_cast<std::size_t>(count) <= lists && std::all_of(counts, counts + count, [](int each) {
           return each >= 0 && static_cast<std::size_t>(each) <= size;
         });
}

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

// --- the controller

class Controller {
 public:
  Controller() : robot_(connected()) {}

  int robot() const { return robot_; }
  std::string reply() const { return *std::atomic_load(&reply_); }
  void answer(std::string text) { std::atomic_store(&reply_, std::make_shared<const std::string>(std::move(text))); }

 private:
  int connected() {
    std::thread([this] { serve(); }).detach();
    const int robot = connect_robot_c(listener_.host().c_str(), listener_.port().c_str());
    require(robot > 0);
    return robot;
  }

  void serve() const {
    const Descriptor socket = listener_.accept();
    std::string arrived;
    std::array<char, 65'536> bytes{};
    for (ssize_t count = 0; (count = ::recv(socket, bytes.data(), bytes.size(), 0)) > 0;) {
      arrived.append(bytes.data(), static_cast<std::size_t>(count));
      while (arrived.size() >= frameHeaderSize) {
        const std::size_t size = frameHeaderSize + loadBigEndian16(&arrived[2]) + frameCrcSize;
        if (arrived.size() < size) break;
        const Strategy answer = findReply(static_cast<Strategy>(loadBigEndian16(&arrived[4])));
        arrived.erase(0, size);
        if (answer != noRequest) {
          socket.send(assemblySendMessage(answer, reply()));
        } else {  // a command: what controllers have to say unasked
          for (const Strategy code : {Strategy::RobotState, Strategy::ErrorMessage})
            socket.send(assemblySendMessage(code, reply()));
        }
      }
    }
  }

  const RawListener listener_;
  std::shared_ptr<const std::string> reply_ = std::make_shared<const std::string>();
  const int robot_;
};

Controller& controller() {
  static auto& all = *new Controller;  // its thread may outlive whatever is destroyed
  return all;
}

// --- arguments
//
// Each holds what it passes, and knows whether that is `possible` and whether what has come of it is right. Room is as
// large as is said and no larger, so that AddressSanitizer notices the first byte behind it.

class Bytes {
 public:
  explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}
  std::uint8_t take() { return at_ < bytes_.size() ? static_cast<std::uint8_t>(bytes_[at_++]) : 0; }

 private:
  std::string bytes_;
  std::size_t at_ = 0;
};

template <class Type>
Type number(Bytes& in) {
  constexpr std::array<Type, 8> likely{1, 0, static_cast<Type>(-1), 2, 4, 7, 64, 100};
  const std::uint8_t choice = in.take();
  if (choice < likely.size()) return likely[choice];
  if constexpr (std::is_floating_point_v<Type>) {
    constexpr std::array<Type, 4> hard{NAN, INFINITY, 1e300, -0.5};
    return choice % 2 == 0 ? hard[choice / 2 % hard.size()] : choice;
  } else {
    if (choice % 16 == 15)
      return choice % 32 == 15 ? std::numeric_limits<Type>::max() : std::numeric_limits<Type>::min();
    return static_cast<Type>(choice << (choice % 8));
  }
}

template <class Type>
std::string_view bytesOf(const std::vector<Type>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Type)};
}

struct Argument {
  bool possible = true;
  void check(int /*result*/, bool /*allPossible*/) const {}
};

struct Handle : Argument {
  int value;
  explicit Handle(Bytes& in) : value(controller().robot()) {
    if (const std::uint8_t choice = in.take(); choice >= 0xF0) value = choice - 0xF1;
  }
  auto passed() const { return std::tuple(value); }
};

template <class Type>
struct Number : Argument {
  Type value;
  explicit Number(Bytes& in) : value(number<Type>(in)) {}
  auto passed() const { return std::tuple(value); }
};

struct Text : Argument {
  std::unique_ptr<std::string> text;
  explicit Text(Bytes& in) {
    const std::uint8_t choice = in.take();
    possible = choice != 0xFF;
    if (!possible) return;
    text = std::make_unique<std::string>(choice == 0 ? controller().reply() : std::string());
    if (choice == 0xFE) text->assign(65'000, 'x');
    if (choice > 1 && choice < 0xF0) std::generate_n(std::back_inserter(*text), choice % 16, [&] { return in.take(); });
    text->resize(std::strlen(text->c_str()));
    text->shrink_to_fit();
  }
  auto passed() const { return std::tuple(text ? text->c_str() : nullptr); }
};

struct Nothing {};

template <class Function, class Data>
struct Callback : Argument {
  Function function;
  explicit Callback(Bytes& in) : function(in.take() % 2 == 0 ? heard(Function()) : nullptr) {}
  auto passed() const {
    if constexpr (std::is_same_v<Data, Nothing>) {
      return std::tuple(function);
    } else {
      return std::tuple(function, Data());
    }
  }

 private:
  template <class Type>
  static void look(Type value) {
    if constexpr (std::is_same_v<Type, const char*>) require(std::strlen(value) <= frameMaxPayload);
  }
  template <class... Arguments>
  static auto heard(void (*)(Arguments...)) {
    return +[](Arguments... arguments) { (look(arguments), ...); };
  }
};

// Of records and numbers, as they are initialized or with some of their bytes changed.
template <class Type>
Type element(Bytes& in) {
  if constexpr (std::is_arithmetic_v<Type>) {
    return number<Type>(in);
  } else {
    Type record;
    initialize(record);
    for (int changes = in.take() % 4; changes > 0; --changes) {
      const std::size_t place = (in.take() * 256U + in.take()) % sizeof record;
      const std::uint8_t byte = in.take();
      std::memset(reinterpret_cast<char*>(&record) + place, byte, std::min<std::size_t>(byte, sizeof record - place));
    }
    return record;
  }
}

template <class Type>
struct List : Argument {
  std::vector<Type> values;
  int count = 0;
  explicit List(Bytes& in) {
    const std::uint8_t choice = in.take();
    possible = choice < 0xFE;
    if (choice < 0xF0)
      std::generate_n(std::back_inserter(values), choice == 0 ? 7 : choice % 80 - 1, [&] { return element<Type>(in); });
    values.shrink_to_fit();
    count = choice == 0xFE ? -1 : choice == 0xFF ? 1 : static_cast<int>(values.size());
  }
  auto passed() const { return std::tuple(values.empty() ? nullptr : values.data(), count); }
};

template <class Type>
struct Lists : Argument {
  List<Type> list;
  std::vector<int> offsets;
  int count;
  explicit Lists(Bytes& in) : list(in), offsets(1), count(number<int>(in)) {
    const int size = std::max(list.count, 0) % 80 * (list.possible ? 1 : 0);
    for (int i = 0; i < count && i < 100; ++i)  // never more than there are, which nobody could know
      offsets.push_back(i + 1 == count ? size : std::min(size, in.take() - 1));
    count = std::min(count, 100);
  }
  auto passed() const { return std::tuple(list.values.empty() ? nullptr : list.values.data(), offsets.data(), count); }
};

template <class Type>
struct Record : Argument {
  std::vector<Type> record;
  std::vector<Type> before;
  explicit Record(Bytes& in) {
    possible = in.take() != 0xFF;
    if (possible) before = record = {element<Type>(in)};
  }
  auto passed() { return std::tuple(possible ? record.data() : nullptr); }
  void check(int /*result*/, bool allPossible) const {
    if (!possible || bytesOf(record) == bytesOf(before)) return;
    require(allPossible);
    if constexpr (!std::is_arithmetic_v<Type>) require(whole(record.front()));
  }
};

template <class Type>
using Out = Record<Type>;

constexpr int untouched = -7;

// A place for a number that tells how much there is.
struct Count {
  std::unique_ptr<int> value;
  explicit Count(Bytes& in) : value(in.take() == 0xFF ? nullptr : new int(untouched)) {}
  int operator*() const { return *value; }
};

template <class Type>
struct ListOut : Argument {
  int capacity;
  std::vector<Type> room;
  std::vector<Type> before;
  Count count;
  explicit ListOut(Bytes& in) : capacity(chosen(in.take())), count(in) {
    const bool null = in.take() == 0xFF;
    possible = capacity >= 0 && count.value && (capacity == 0 || !null);
    if (null || capacity <= 0) return;
    room.resize(static_cast<std::size_t>(capacity));
    std::memset(static_cast<void*>(room.data()), '~', room.size() * sizeof(Type));  // no text ends in it
    before = room;
  }
  auto passed() { return std::tuple(room.empty() ? nullptr : room.data(), capacity, count.value.get()); }

  void check(int result, bool allPossible) const {
    const bool changed = !sameFrom(0);
    if (!told(result, allPossible)) return require(!changed && (!count.value || *count == untouched));
    const bool fits = *count >= 0 && *count <= capacity;
    require(*count >= 0 && (fits || (!changed && result != KYT_SUCCESS)));
    if (!changed) return;
    require(sameFrom(static_cast<std::size_t>(*count)));
    if constexpr (std::is_class_v<Type>)
      require(std::all_of(room.begin(), room.begin() + *count, [](const Type& each) { return whole(each); }));
  }

 protected:
  // A record may have been refused, too.
  bool told(int result, bool allPossible) const {
    return allPossible && (result != KYT_PARAM_ERR || *count != untouched);
  }

 private:
  bool sameFrom(std::size_t first) const {
    return bytesOf(room).substr(first * sizeof(Type)) == bytesOf(before).substr(first * sizeof(Type));
  }
  static int chosen(std::uint8_t choice) {
    return choice == 0      ? (std::is_class_v<Type> ? 64 : 70'000)
           : choice == 0xFE ? -1
           : choice == 0xFD ? INT_MIN
                            : choice - 1;
  }
};

struct TextOut : ListOut<char> {
  using ListOut::ListOut;
  void check(int result, bool allPossible) const {
    ListOut::check(result, allPossible);
    if (!told(result, allPossible)) return;
    require(*count >= 1);
    if (result == KYT_SUCCESS) require(room[static_cast<std::size_t>(*count) - 1] == '\0');
  }
};

struct TextsOut : ListOut<char> {
  Count texts;
  explicit TextsOut(Bytes& in) : ListOut(in), texts(in) { possible = possible && texts.value; }
  auto passed() { return std::tuple_cat(ListOut::passed(), std::tuple(texts.value.get())); }
  void check(int result, bool allPossible) const {
    ListOut::check(result, allPossible);
    if (allPossible && result == KYT_SUCCESS) require(std::count(room.data(), room.data() + *count, '\0') >= *texts);
  }
};

template <class... Arguments, class Result, class... Passed>
void call(Bytes& in, Result (*function)(Passed...)) {
  std::tuple<Arguments...> arguments{Arguments(in)...};
  std::apply(
      [&](auto&... each) {
        const auto passed = std::tuple_cat(each.passed()...);
        if constexpr (std::is_same_v<Result, int>) {
          const bool possible = (each.possible && ...);
          const int result = std::apply(function, passed);
          if (!possible) require(result == KYT_PARAM_ERR);
          (each.check(result, possible), ...);
        } else if constexpr (std::is_void_v<Result>) {
          std::apply(function, passed);
        } else {
          require(std::strlen(std::apply(function, passed)) > 0);
        }
      },
      arguments);
}

struct Call {
  const char* name;
  void (*run)(Bytes& in);
};

}  // namespace

#include "c_calls.inc"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = (set_diagnostics_handler_c([](int, const char*) {}), true);
  if (!quiet || size < 2) return 0;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::string arguments = input.substr(2, data[1]);
  controller().answer(input.substr(std::min(size, 2 + arguments.size())));
  for (std::size_t i = 0; i < std::size(calls); ++i) {
#ifdef KYT_HOST_FUZZ
    if (i % 256 != data[0]) continue;
#endif
    Bytes in(arguments);
    calls[i].run(in);
  }
  for (int robot = 1; robot <= 4; ++robot) queue_motion_clear_Data_robot_c(controller().robot(), robot);
  return 0;
}
