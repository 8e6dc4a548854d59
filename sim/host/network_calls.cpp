#include "sim/host/network_calls.h"

#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"
#include "sim/setup.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <map>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <utility>

namespace k4sim {

namespace {

constexpr std::string_view lan_interface = "eth0";

int tell_link(NetworkLink& link, ifreq& request) {
    if (link.refuses()) return -EOPNOTSUPP;
    if (request.ifr_data == nullptr) return -EFAULT;
    ethtool_value value;
    std::memcpy(&value, request.ifr_data, sizeof value);
    if (value.cmd != ETHTOOL_GLINK) return -EOPNOTSUPP;
    value.data = link.carrier() ? 1 : 0;
    std::memcpy(request.ifr_data, &value, sizeof value);
    return 0;
}

int tell_address(const NetworkLink& link, ifreq& request, std::uint32_t address) {
    if (link.address() == 0) return -EADDRNOTAVAIL;
    sockaddr_in record{};
    record.sin_family = AF_INET;
    record.sin_addr.s_addr = htonl(address);
    std::memcpy(&request.ifr_addr, &record, sizeof record);
    return 0;
}

sockaddr_in address_in(const ifreq& request) {
    sockaddr_in record;
    std::memcpy(&record, &request.ifr_addr, sizeof record);
    return record;
}

// The mask of an address by the classes of old.
std::uint32_t class_mask(std::uint32_t address) {
    return IN_CLASSA(address) ? IN_CLASSA_NET : IN_CLASSB(address) ? IN_CLASSB_NET : IN_CLASSC_NET;
}

int take_address(NetworkLink& link, ifreq& request) {
    const sockaddr_in record = address_in(request);
    if (record.sin_family != AF_INET) return -EINVAL;
    const std::uint32_t address = ntohl(record.sin_addr.s_addr);
    link.set_address(address);
    link.set_mask(class_mask(address));
    return 0;
}

int take_mask(NetworkLink& link, ifreq& request) {
    if (link.address() == 0) return -EADDRNOTAVAIL;
    const std::uint32_t mask = ntohl(address_in(request).sin_addr.s_addr);
    if (std::countl_one(mask) + std::countr_zero(mask) < 32) return -EINVAL;
    link.set_mask(mask);
    return 0;
}

int tell_hardware_address(NetworkLink& link, ifreq& request) {
    request.ifr_hwaddr.sa_family = ARPHRD_ETHER;
    std::ranges::copy(link.mac(), request.ifr_hwaddr.sa_data);
    return 0;
}

int tell_flags(NetworkLink& link, ifreq& request) {
    request.ifr_flags =
        static_cast<short>(IFF_BROADCAST | IFF_MULTICAST | (link.up() ? IFF_UP : 0) |
                           (link.carrier() ? IFF_RUNNING : 0));
    return 0;
}

int take_flags(NetworkLink& link, ifreq& request) {
    link.set_up((request.ifr_flags & IFF_UP) != 0);
    return 0;
}

enum class Right { all, privileged };

struct Request {
    unsigned long number;
    Right right;
    int (*answer)(NetworkLink& link, ifreq& request);
};

constexpr Request requests[] = {
    {SIOCETHTOOL, Right::all, tell_link},
    {SIOCGIFADDR, Right::all,
     [](NetworkLink& link, ifreq& request) { return tell_address(link, request, link.address()); }},
    {SIOCGIFNETMASK, Right::all,
     [](NetworkLink& link, ifreq& request) { return tell_address(link, request, link.mask()); }},
    {SIOCSIFADDR, Right::privileged, take_address},
    {SIOCSIFNETMASK, Right::privileged, take_mask},
    {SIOCGIFHWADDR, Right::all, tell_hardware_address},
    {SIOCGIFFLAGS, Right::all, tell_flags},
    {SIOCSIFFLAGS, Right::privileged, take_flags},
};

bool is_ipv4_socket(int descriptor) {
    const KeepErrno keep_errno;
    int domain = 0;
    socklen_t size = sizeof domain;
    return getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_INET;
}

// The interface of this machine that is there for one of the program's.
std::string real_interface(const RealPart& part, std::string_view name) {
    if (part.names.empty()) return std::string(name);
    return part.names[name == lan_interface ? 0 : 1];
}

// Each change of what the program is told.
void tell_change(std::string_view name, const char* what) {
    static auto& told = *new std::map<std::string, std::string, std::less<>>;
    const auto [entry, first] = told.try_emplace(std::string(name));
    if (std::exchange(entry->second, what) != what)
        machine().event("link", what, {{"interface", name}});
}

void note_link(std::string_view name, const ifreq& request, int result) {
    ethtool_value value{};
    if (result >= 0 && request.ifr_data != nullptr)
        std::memcpy(&value, request.ifr_data, sizeof value);
    if (result >= 0 && value.cmd != ETHTOOL_GLINK) return;
    tell_change(name, result < 0 ? "request-refused" : value.data != 0 ? "up" : "down");
}

// As the kernel has it of that interface, under the program's name.
int ask_kernel(const RealPart& part, int descriptor, unsigned long request, ifreq& record) {
    static auto* const system_ioctl = libc_function<int(int, unsigned long, ...)>("ioctl");
    const std::string name(record.ifr_name, strnlen(record.ifr_name, IFNAMSIZ));
    const std::string real = real_interface(part, name);
    const auto rename = [&record](std::string_view to) {
        std::ranges::fill(record.ifr_name, '\0');
        to.copy(record.ifr_name, IFNAMSIZ - 1);
    };
    rename(real);
    const int result = with_error(system_ioctl(descriptor, request, &record));
    rename(name);
    if (request == SIOCETHTOOL) note_link(name, record, result);
    return result;
}

// Null for another interface.
NetworkLink* link_in(const ifreq& request) {
    const char* const name = request.ifr_name;
    return machine().device().links().find({name, strnlen(name, IFNAMSIZ)});
}

} // namespace

std::optional<int> network_request(int descriptor, unsigned long request, void* argument) {
    const auto known = std::ranges::find(requests, request, &Request::number);
    if (known == std::end(requests) || argument == nullptr || !is_ipv4_socket(descriptor))
        return std::nullopt;
    auto& record = *static_cast<ifreq*>(argument);
    NetworkLink* const link = link_in(record);
    if (link == nullptr) return std::nullopt;
    scheduler().spend(access_us);
    if (const RealPart* real = real_part(machine().setup(), Role::network))
        return ask_kernel(*real, descriptor, request, record);
    if (known->right == Right::privileged && machine().privilege_refused()) return -EPERM;
    return link->present() ? known->answer(*link, record) : -ENODEV;
}

} // namespace k4sim
