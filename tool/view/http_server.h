#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace tool::view {

/// What somebody wants.
class Request {
 public:
  virtual ~Request() = default;

  std::string method;
  std::string path;
  std::string body;

  /// The value of a header, or of a part of the query; "" where there is none.
  virtual std::string header(const char* name) const = 0;
  virtual std::string query(const char* name) const = 0;
};

struct Content {
  unsigned int status = 200;
  std::string type = "text/plain; charset=utf-8";
  std::shared_ptr<const std::string> body;
};

Content text(unsigned int status, const std::string& text);
Content json(unsigned int status, const std::string& text);

/// What takes its time, and is done on a thread of its own: nobody else waits for it.
struct Later {
  std::function<Content()> work;
  bool urgent = false;  ///< finds room when there is none for others
};

/// What goes on: gives the next part, or "" when there is nothing new. It is asked when the last part has gone out, so
/// that whoever reads slowly misses some, and keeps nothing but one of them.
using Stream = std::function<std::string()>;

using Answer = std::variant<Content, Later, Stream>;

/// Serves HTTP from one thread, however many are connected. Sizes, times and numbers are limited.
class HttpServer {
 public:
  static constexpr std::size_t mostConnections = 256;
  static constexpr std::size_t mostConnectionsOfOne = 128;  ///< of one address
  static constexpr std::size_t mostBody = 4096;             ///< bytes
  static constexpr unsigned int mostSeconds = 20;           ///< for a request, and for a reader that does not read
  static constexpr int mostLater = 16;                      ///< at a time

  /// @param answer  is asked on the server's thread, and must not wait
  /// Throws a Failure when nothing can be served there. Port 0: the system chooses.
  HttpServer(const std::string& host, const std::string& port, std::function<Answer(const Request& request)> answer);
  /// Closes all connections.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  unsigned int port() const;
  /// Lets all streams look for something new.
  void wake();

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace tool::view
