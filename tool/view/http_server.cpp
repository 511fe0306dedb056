// One thread serves all: libmicrohttpd's, with epoll. A stream that has nothing to say is taken out of its sight until
// it is woken, and so is a request whose answer takes its time.

#include "tool/view/http_server.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

#include <microhttpd.h>
#include <netdb.h>

#include "tool/command.h"

namespace tool::view {
namespace {

using Clock = std::chrono::steady_clock;

// What every answer says: nothing but our own files is to be loaded, run or framed, and nobody keeps what was told.
constexpr std::pair<const char*, const char*> headers[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cache-Control", "no-store"},
};

/// A socket that listens. Throws a Failure.
int listeningSocket(const std::string& host, const std::string& port) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_PASSIVE;
  addrinfo* found = nullptr;
  if (const int error = getaddrinfo(host.c_str(), port.c_str(), &wanted, &found); error != 0)
    throw Failure("view: " + host + ": " + gai_strerror(error));
  const int descriptor = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const bool listens =
      bind(descriptor, found->ai_addr, found->ai_addrlen) == 0 && listen(descriptor, HttpServer::mostConnections) == 0;
  const int error = errno;
  freeaddrinfo(found);
  if (listens) return descriptor;
  close(descriptor);
  throw Failure("view: " + host + ":" + port + ": " + std::strerror(error));
}

/// One request, from its first line to the end of its answer.
struct Exchange : Request {
  explicit Exchange(MHD_Connection* itsConnection) : connection(itsConnection) {}

  std::string header(const char* name) const override { return value(MHD_HEADER_KIND, name); }
  std::string query(const char* name) const override { return value(MHD_GET_ARGUMENT_KIND, name); }

  MHD_Connection* const connection;
  bool tooLong = false;
  std::optional<Content> result;  // of what took its time

 private:
  std::string value(MHD_ValueKind kind, const char* name) const {
    const char* found = MHD_lookup_connection_value(connection, kind, name);
    return found != nullptr ? found : "";
  }
};

}  // namespace

Content text(unsigned int status, const std::string& text) {
  return {status, "text/plain; charset=utf-8", std::make_shared<const std::string>(text + "\n")};
}

Content json(unsigned int status, const std::string& text) {
  return {status, "application/json", std::make_shared<const std::string>(text)};
}

class HttpServer::Implementation {
 public:
  Implementation(const std::string& host, const std::string& port, std::function<Answer(const Request&)> answer)
      : answer_(std::move(answer)) {
    const int descriptor = listeningSocket(host, port);
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    char digits[NI_MAXSERV] = "0";
    getnameinfo(reinterpret_cast<sockaddr*>(&address), size, nullptr, 0, digits, sizeof digits, NI_NUMERICSERV);
    port_ = static_cast<unsigned int>(std::stoul(digits));
    daemon_ =
        MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ITC, 0, nullptr, nullptr,
                         &onRequest, this, MHD_OPTION_LISTEN_SOCKET, descriptor, MHD_OPTION_CONNECTION_LIMIT,
                         static_cast<unsigned int>(mostConnections), MHD_OPTION_PER_IP_CONNECTION_LIMIT,
                         static_cast<unsigned int>(mostConnectionsOfOne), MHD_OPTION_CONNECTION_TIMEOUT, mostSeconds,
                         MHD_OPTION_CONNECTION_MEMORY_LIMIT, std::size_t{32} * 1024, MHD_OPTION_NOTIFY_COMPLETED,
                         &onCompleted, this, MHD_OPTION_NOTIFY_CONNECTION, &onConnection, this, MHD_OPTION_END);
    if (daemon_ == nullptr) {
      close(descriptor);
      throw Failure("view: the server cannot be started");
    }
    sweeper_ = std::thread([this] { sweep(); });
  }

  // What is out of the server's sight has to come back before it can be ended.
  ~Implementation() {
    {
      std::unique_lock lock(mutex_);
      ending_ = true;
      changed_.notify_all();
      resumeStreams();
      changed_.wait(lock, [this] { return later_ == 0; });
    }
    sweeper_.join();
    MHD_stop_daemon(daemon_);
  }

  unsigned int port() const { return port_; }

  void wake() {
    const std::lock_guard lock(mutex_);
    resumeStreams();
  }

 private:
  static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                              const char* /*version*/, const char* data, std::size_t* size, void** context) {
    try {
      return static_cast<Implementation*>(self)->request(connection, url, method, data, *size, *context);
    } catch (const std::exception&) {  // no memory: that connection is closed
      return MHD_NO;
    }
  }

  MHD_Result request(MHD_Connection* connection, const char* url, const char* method, const char* data,
                     std::size_t& size, void*& context) {
    if (context == nullptr) {
      auto* exchange = new Exchange(connection);
      context = exchange;
      exchange->method = method;
      exchange->path = url;
      return MHD_YES;
    }
    auto& exchange = *static_cast<Exchange*>(context);
    if (size > 0) {
      exchange.tooLong = exchange.tooLong || exchange.body.size() + size > mostBody;
      if (!exchange.tooLong) exchange.body.append(data, size);
      size = 0;
      return MHD_YES;
    }
    arrived(connection);
    if (exchange.tooLong) return send(connection, text(MHD_HTTP_CONTENT_TOO_LARGE, "too long"));
    {
      const std::lock_guard lock(mutex_);
      if (exchange.result) return send(connection, *exchange.result);
    }
    Answer answer = answer_(exchange);
    if (const auto* content = std::get_if<Content>(&answer)) return send(connection, *content);
    if (auto* stream = std::get_if<Stream>(&answer)) return start(connection, std::move(*stream));
    return start(exchange, std::move(std::get<Later>(answer)));
  }

  static MHD_Result send(MHD_Connection* connection, const Content& content) {
    const std::string none;
    const std::string& body = content.body ? *content.body : none;
    return send(connection, content.status, content.type,
                MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()), MHD_RESPMEM_MUST_COPY));
  }

  static MHD_Result send(MHD_Connection* connection, unsigned int status, const std::string& type,
                         MHD_Response* response) {
    if (response == nullptr) return MHD_NO;
    for (const auto& [name, value] : headers) MHD_add_response_header(response, name, value);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type.c_str());
    if (status == MHD_HTTP_UNAUTHORIZED) MHD_add_response_header(response, "WWW-Authenticate", "Bearer");
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
  }

  // --- streams

  struct OneStream {
    Implementation* server;
    MHD_Connection* connection;
    Stream next;
    std::string part;
    std::size_t sent = 0;
  };

  MHD_Result start(MHD_Connection* connection, Stream next) {
    constexpr std::size_t block = 16 * 1024;
    auto stream = std::unique_ptr<OneStream>(new OneStream{this, connection, std::move(next), {}});
    return send(connection, MHD_HTTP_OK, "text/event-stream",
                MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, block, &onRead, stream.release(), &onStreamEnd));
  }

  static ssize_t onRead(void* context, std::uint64_t /*position*/, char* buffer, std::size_t room) {
    auto& stream = *static_cast<OneStream*>(context);
    try {
      return stream.server->read(stream, buffer, room);
    } catch (const std::exception&) {
      return MHD_CONTENT_READER_END_WITH_ERROR;
    }
  }

  ssize_t read(OneStream& stream, char* buffer, std::size_t room) {
    if (stream.sent == stream.part.size()) {
      const std::lock_guard lock(mutex_);  // news that come now wake it
      if (ending_) return MHD_CONTENT_READER_END_OF_STREAM;
      stream.sent = 0;
      stream.part = stream.next();
      if (stream.part.empty()) {
        MHD_suspend_connection(stream.connection);
        waiting_.insert(stream.connection);
        return 0;
      }
    }
    const std::size_t size = std::min(room, stream.part.size() - stream.sent);
    stream.part.copy(buffer, size, stream.sent);
    stream.sent += size;
    return static_cast<ssize_t>(size);
  }

  static void onStreamEnd(void* context) { delete static_cast<OneStream*>(context); }

  void resumeStreams() {
    for (MHD_Connection* connection : waiting_) MHD_resume_connection(connection);
    waiting_.clear();
  }

  // --- what takes its time

  MHD_Result start(Exchange& exchange, Later work) {
    {
      const std::lock_guard lock(mutex_);
      if (later_ >= (work.urgent ? 2 * mostLater : mostLater) || ending_)
        return send(exchange.connection, text(MHD_HTTP_SERVICE_UNAVAILABLE, "too much at a time"));
      ++later_;
      MHD_suspend_connection(exchange.connection);
    }
    std::thread([this, &exchange, work = std::move(work)] {
      Content result;
      try {
        result = work.work();
      } catch (const std::exception& error) {
        result = text(MHD_HTTP_INTERNAL_SERVER_ERROR, error.what());
      }
      const std::lock_guard lock(mutex_);
      exchange.result = std::move(result);
      MHD_resume_connection(exchange.connection);
      --later_;
      changed_.notify_all();
    }).detach();
    return MHD_YES;
  }

  static void onCompleted(void* self, MHD_Connection* connection, void** context, MHD_RequestTerminationCode /*why*/) {
    delete static_cast<Exchange*>(*context);
    *context = nullptr;
    static_cast<Implementation*>(self)->awaits(connection);  // the next one
  }

  // --- those who connect and do not ask: a byte now and then would keep the server's own time limit from them

  static void onConnection(void* self, MHD_Connection* connection, void** /*context*/,
                           MHD_ConnectionNotificationCode what) {
    auto& server = *static_cast<Implementation*>(self);
    what == MHD_CONNECTION_NOTIFY_STARTED ? server.awaits(connection) : server.arrived(connection);
  }

  static int descriptorOf(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
  }

  void awaits(MHD_Connection* connection) {
    const std::lock_guard lock(mutex_);
    silent_[descriptorOf(connection)] = Clock::now();
  }

  void arrived(MHD_Connection* connection) {
    const std::lock_guard lock(mutex_);
    silent_.erase(descriptorOf(connection));
  }

  void sweep() {
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, std::chrono::seconds(1), [this] { return ending_; })) {
      for (const auto& [descriptor, since] : silent_)
        if (Clock::now() - since > std::chrono::seconds(mostSeconds)) shutdown(descriptor, SHUT_RDWR);
    }
  }

  const std::function<Answer(const Request&)> answer_;
  unsigned int port_ = 0;
  MHD_Daemon* daemon_ = nullptr;
  std::thread sweeper_;

  std::mutex mutex_;  // guards what follows, and the results of exchanges
  std::condition_variable changed_;
  bool ending_ = false;
  int later_ = 0;
  std::set<MHD_Connection*> waiting_;        // streams without news
  std::map<int, Clock::time_point> silent_;  // descriptors, and since when a request is awaited
};

HttpServer::HttpServer(const std::string& host, const std::string& port,
                       std::function<Answer(const Request& request)> answer)
    : implementation_(std::make_unique<Implementation>(host, port, std::move(answer))) {}
HttpServer::~HttpServer() = default;
unsigned int HttpServer::port() const { return implementation_->port(); }
void HttpServer::wake() { implementation_->wake(); }

}  // namespace tool::view
