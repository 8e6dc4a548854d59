#include "sim/panel/origin.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

namespace k4sim {

namespace {

// "[::1]" without its brackets.
std::string bare(std::string_view name) {
    if (name.starts_with('[') && name.ends_with(']')) name = name.substr(1, name.size() - 2);
    return std::string(name);
}

bool is_numeric(const std::string& name) {
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return inet_pton(AF_INET, name.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, name.c_str(), address.data()) == 1;
}

bool is_loopback(const std::string& name) { return name.starts_with("127.") || name == "::1"; }

} // namespace

bool is_own_host(std::string_view host, const std::string& address, std::uint16_t port) {
    const std::string behind = ":" + std::to_string(port);
    if (!host.ends_with(behind)) return false;
    const std::string name = bare(host.substr(0, host.size() - behind.size()));
    if (name == address) return true;
    if (is_loopback(address)) return name == "localhost" || name == "127.0.0.1" || name == "::1";
    return is_numeric(name);
}

bool is_own_origin(std::string_view origin, std::string_view host) {
    return origin.empty() || origin == "http://" + std::string(host);
}

} // namespace k4sim
