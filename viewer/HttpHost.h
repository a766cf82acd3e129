// Which names a server on a local network answers to.
#pragma once

#include <string_view>

namespace BX::viewer {

// Whether `host`, the Host field of a request, is a numeric address, localhost, or `name`, with or without a port: no
// page from elsewhere reaches a server by these, whatever address it has its own name point to.
bool isLocalHost(std::string_view host, std::string_view name);

}  // namespace BX::viewer
