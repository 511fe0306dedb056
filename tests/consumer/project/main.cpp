#include <iostream>

#include <kyt_host/kyt_host.h>

int main() {
  const SOCKETFD socketFd = connect_robot("127.0.0.1", "0");  // where nobody can listen
  std::cout << "kyt_host " << get_library_version() << ", connect_robot: " << socketFd << '\n';
  return socketFd == -1 ? 0 : 1;
}
