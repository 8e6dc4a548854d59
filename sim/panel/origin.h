// Who may call a server, by what a browser says of it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace k4sim {

// Whether the header Host names this server. A page from elsewhere whose name was led to this
// machine has another one. At a loopback address: that, or localhost. At another address: any
// address in numbers.
bool is_own_host(std::string_view host, const std::string& address, std::uint16_t port);

// Whether the header Origin (empty: there is none) is that of the server's own page.
bool is_own_origin(std::string_view origin, std::string_view host);

} // namespace k4sim
