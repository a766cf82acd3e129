#include "platform/serial/Network.h"

#include <windows.h>
#include <winsock2.h>

#include <mstcpip.h>

namespace BX::link {

void acknowledgeAtOnce(SocketHandle) {}

// Ten probes, as Windows sends them; ms.
void watchForLoss(SocketHandle socket) {
  tcp_keepalive settings{.onoff = 1, .keepalivetime = 10'000, .keepaliveinterval = 1'000};
  DWORD written = 0;
  WSAIoctl(socket, SIO_KEEPALIVE_VALS, &settings, sizeof settings, nullptr, 0, &written, nullptr, nullptr);
}

void keepLoaded() {
  constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN;
  HMODULE library = nullptr;
  GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&keepLoaded), &library);
}

}  // namespace BX::link
