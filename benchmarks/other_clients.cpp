#include "other_clients.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <utility>

#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#ifdef HAVE_LIBMODBUS
#include <modbus.h>
#endif
#ifdef HAVE_HIREDIS
#include <hiredis/hiredis.h>
#endif

#include "harness.h"

namespace {

#if defined(HAVE_LIBMODBUS) || defined(HAVE_HIREDIS)
/// A process that is gone at the latest with this one.
class Server {
 public:
  explicit Server(const std::function<void()>& work) {
    std::fflush(stdout);
    process_ = ::fork();
    require(process_ >= 0, "fork");
    if (process_ > 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    work();
    ::_exit(1);
  }
  ~Server() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

 private:
  pid_t process_;
};

int portOf(int socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  require(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
  return ntohs(address.sin_port);
}
#endif

#ifdef HAVE_LIBMODBUS
OtherClient modbusClient() {
  struct Resource {
    std::unique_ptr<Server> server;
    modbus_t* client = nullptr;
    ~Resource() { modbus_free(client); }
  };
  modbus_t* const listening = modbus_new_tcp("127.0.0.1", 0);
  int listener = modbus_tcp_listen(listening, 1);
  require(listener >= 0, "modbus_tcp_listen");
  auto resource = std::make_shared<Resource>();
  resource->server = std::make_unique<Server>([&] {
    modbus_mapping_t* const registers = modbus_mapping_new(0, 0, 1, 0);
    registers->tab_registers[0] = 50;
    if (modbus_tcp_accept(listening, &listener) < 0) return;
    unsigned char request[MODBUS_TCP_MAX_ADU_LENGTH];
    for (int size = 0; (size = modbus_receive(listening, request)) >= 0;)
      modbus_reply(listening, request, size, registers);
  });
  resource->client = modbus_new_tcp("127.0.0.1", portOf(listener));
  ::close(listener);
  require(modbus_connect(resource->client) == 0, "modbus_connect");
  const auto query = [client = resource->client] {
    std::uint16_t value = 0;
    require(modbus_read_registers(client, 0, 1, &value) == 1 && value == 50, "modbus_read_registers");
  };
  return {"libmodbus reading a register", query, resource};
}
#else
OtherClient modbusClient() { return {"libmodbus reading a register", nullptr, nullptr}; }
#endif

#ifdef HAVE_HIREDIS
int freePort() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
  const int port = portOf(socket);
  ::close(socket);
  return port;
}

OtherClient redisClient() {
  struct Resource {
    std::unique_ptr<Server> server;
    redisContext* client = nullptr;
    ~Resource() { redisFree(client); }
  };
  const int port = freePort();
  auto resource = std::make_shared<Resource>();
  resource->server = std::make_unique<Server>([&] {
    const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(nothing, STDOUT_FILENO);
    const std::string number = std::to_string(port);
    ::execlp("redis-server", "redis-server", "--bind", "127.0.0.1", "--port", number.c_str(), "--save", "",
             "--appendonly", "no", nullptr);
  });
  for (int attempts = 0; attempts < 500; ++attempts) {
    resource->client = redisConnect("127.0.0.1", port);
    if (resource->client != nullptr && resource->client->err == 0) break;
    redisFree(std::exchange(resource->client, nullptr));
    ::usleep(10'000);
  }
  require(resource->client != nullptr, "redisConnect");
  freeReplyObject(redisCommand(resource->client, "SET speed 50"));
  const auto query = [client = resource->client] {
    auto* const reply = static_cast<redisReply*>(redisCommand(client, "GET speed"));
    require(reply != nullptr && reply->type == REDIS_REPLY_STRING, "redisCommand");
    freeReplyObject(reply);
  };
  return {"hiredis getting a value", query, resource};
}
#else
OtherClient redisClient() { return {"hiredis getting a value", nullptr, nullptr}; }
#endif

}  // namespace

std::vector<OtherClient> makeOtherClients() { return {modbusClient(), redisClient()}; }
