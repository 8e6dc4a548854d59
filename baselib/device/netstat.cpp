#include "baselib/device/netstat.h"

#include "baselib/thread/thread.h"

#include <arpa/inet.h>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool named(const char* name) { return name != nullptr && *name != '\0'; }

// A throw-away socket that carries interface requests, and the record they use.
class Request {
public:
    explicit Request(const char* name) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        nameFits_ = strnlen(name, IFNAMSIZ) < IFNAMSIZ;
        if (nameFits_) memcpy(record.ifr_name, name, strlen(name) + 1);
    }
    ~Request() {
        if (!hasSocket()) return;
        const KLTptNoCancel hold;
        close(socket_);
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    bool hasSocket() const { return socket_ >= 0; }
    bool make(unsigned long request) {
        return nameFits_ && hasSocket() && ioctl(socket_, request, &record) == 0;
    }

    ifreq record{};

private:
    int socket_;
    bool nameFits_;
};

// The record's address fields share their place, whatever the request calls them.
std::uint32_t readAddress(const char* name, unsigned long request) {
    if (!named(name)) return 0;
    Request query(name);
    if (!query.make(request)) return 0;
    sockaddr_in address{};
    memcpy(&address, &query.record.ifr_addr, sizeof address);
    return ntohl(address.sin_addr.s_addr);
}

int writeAddress(const char* name, unsigned long request, std::uint32_t value) {
    if (!named(name)) return KLTlinuxNetstat3::setNoName;
    Request setting(name);
    if (!setting.hasSocket()) return KLTlinuxNetstat3::setNoSocket;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(value);
    memcpy(&setting.record.ifr_addr, &address, sizeof address);
    return setting.make(request) ? 0 : KLTlinuxNetstat3::setFailed;
}

} // namespace

int KLTlinuxNetstat3::linkUp(const char* name) {
    if (!named(name)) return noName;
    Request query(name);
    if (!query.hasSocket()) return noSocket;
    ethtool_value link{};
    link.cmd = ETHTOOL_GLINK;
    query.record.ifr_data = reinterpret_cast<char*>(&link);
    if (!query.make(SIOCETHTOOL)) return requestFailed;
    return link.data != 0 ? linkIsUp : linkIsDown;
}

std::uint32_t KLTlinuxNetstat3::ipaddr(const char* name) { return readAddress(name, SIOCGIFADDR); }

std::uint32_t KLTlinuxNetstat3::netmask(const char* name) {
    return readAddress(name, SIOCGIFNETMASK);
}

int KLTlinuxNetstat3::ipaddrSet(const char* name, std::uint32_t address) {
    return writeAddress(name, SIOCSIFADDR, address);
}

int KLTlinuxNetstat3::netmaskSet(const char* name, std::uint32_t mask) {
    return writeAddress(name, SIOCSIFNETMASK, mask);
}

std::uint64_t KLTlinuxNetstat3::macAddress(const char* name) {
    constexpr int addressBytes = 6;
    if (!named(name)) return 0;
    Request query(name);
    if (!query.make(SIOCGIFHWADDR)) return 0;
    std::uint64_t address = 0;
    for (int i = addressBytes - 1; i >= 0; --i)
        address = address << 8 | static_cast<unsigned char>(query.record.ifr_hwaddr.sa_data[i]);
    return address;
}

int KLTlinuxNetstat3::restart(const char* name) {
    if (!named(name)) return noName;
    Request request(name);
    if (!request.hasSocket()) return noSocket;
    if (!request.make(SIOCGIFFLAGS)) return requestFailed;
    const short flags = request.record.ifr_flags;
    request.record.ifr_flags = static_cast<short>(flags & ~IFF_UP);
    if (!request.make(SIOCSIFFLAGS)) return requestFailed - 1;
    request.record.ifr_flags = static_cast<short>(flags | IFF_UP);
    if (!request.make(SIOCSIFFLAGS)) return requestFailed - 2;
    if (!request.make(SIOCGIFFLAGS)) return requestFailed - 3;
    return (request.record.ifr_flags & IFF_RUNNING) != 0 ? linkIsUp : linkIsDown;
}
