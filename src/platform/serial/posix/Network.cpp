#include "platform/serial/Network.h"

#include <dlfcn.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace BX::link {

namespace {

void set(SocketHandle socket, int option, int value) {
  ::setsockopt(socket, IPPROTO_TCP, option, &value, sizeof value);
}

}  // namespace

void acknowledgeAtOnce(SocketHandle socket) { set(socket, TCP_QUICKACK, 1); }

void watchForLoss(SocketHandle socket) {
  set(socket, TCP_KEEPIDLE, 10);             // s of silence, then
  set(socket, TCP_KEEPINTVL, 2);             // s between
  set(socket, TCP_KEEPCNT, 5);               // probes
  set(socket, TCP_USER_TIMEOUT, 20 * 1000);  // ms, of what was sent and is not acknowledged
}

void keepLoaded() {
  Dl_info library{};
  if (::dladdr(reinterpret_cast<const void*>(&keepLoaded), &library) == 0) return;
  ::dlopen(library.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace BX::link
