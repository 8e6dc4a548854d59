// The requests about network interfaces by the real calls. What the kernel says of its own
// loopback interface, the virtual device says of its own.
#include "support/boards.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace k4sim;

namespace {

class NetworkRequest : public BoardTest {
protected:
    ~NetworkRequest() override { close(socket_); }

    // 0 or an error number, negative. What the answer is stays in `record_`.
    int request(unsigned long number, const char* name = "eth0") {
        std::strncpy(record_.ifr_name, name, IFNAMSIZ);
        return ioctl(socket_, number, &record_) == 0 ? 0 : -errno;
    }

    int link(const char* name = "eth0", std::uint32_t command = ETHTOOL_GLINK) {
        ethtool_value value{command, 77};
        record_.ifr_data = reinterpret_cast<char*>(&value);
        const int result = request(SIOCETHTOOL, name);
        return result == 0 ? static_cast<int>(value.data) : result;
    }

    int flags(const char* name = "eth0") {
        const int result = request(SIOCGIFFLAGS, name);
        return result == 0 ? record_.ifr_flags & (IFF_UP | IFF_RUNNING) : result;
    }

    int set(unsigned long number, const char* address) {
        sockaddr_in place{};
        place.sin_family = AF_INET;
        inet_pton(AF_INET, address, &place.sin_addr);
        std::memcpy(&record_.ifr_addr, &place, sizeof place);
        return request(number);
    }

    std::string get(unsigned long number, const char* name = "eth0") {
        if (const int error = request(number, name)) return strerrorname_np(-error);
        sockaddr_in place;
        std::memcpy(&place, &record_.ifr_addr, sizeof place);
        return inet_ntoa(place.sin_addr);
    }

    int socket_ = socket(AF_INET, SOCK_STREAM, 0);
    ifreq record_{};
};

TEST_F(NetworkRequest, AnswersAsTheKernelDoes) {
    for (const char* name : {"lo", "eth0", "usb0"}) {
        EXPECT_EQ(link(name), 1) << name;
        EXPECT_EQ(link(name, 0x7777), -EOPNOTSUPP);
        record_.ifr_data = nullptr;
        EXPECT_EQ(request(SIOCETHTOOL, name), -EFAULT);
        EXPECT_EQ(flags(name), IFF_UP | IFF_RUNNING);
    }
    EXPECT_EQ(request(SIOCGIFHWADDR), 0);
    EXPECT_EQ(record_.ifr_hwaddr.sa_family, ARPHRD_ETHER);
    EXPECT_NE(std::string(record_.ifr_hwaddr.sa_data, 6), std::string(6, '\0'));
    EXPECT_EQ(get(SIOCGIFADDR, "lo"), "127.0.0.1");
    EXPECT_EQ(link("no-such-link"), -ENODEV);
    // On what is no socket of the internet it is the kernel that answers.
    close(std::exchange(socket_, open("/dev/null", O_RDONLY)));
    EXPECT_EQ(link("usb0"), -ENOTTY);
}

TEST_F(NetworkRequest, KeepsAddresses) {
    EXPECT_EQ(get(SIOCGIFADDR), "EADDRNOTAVAIL");
    EXPECT_EQ(set(SIOCSIFNETMASK, "255.255.0.0"), -EADDRNOTAVAIL);
    for (const auto& [address, mask] : {std::pair{"10.1.2.3", "255.0.0.0"},
                                        {"172.16.1.2", "255.255.0.0"},
                                        {"192.168.7.9", "255.255.255.0"}}) {
        EXPECT_EQ(set(SIOCSIFADDR, address), 0);
        EXPECT_EQ(get(SIOCGIFADDR), address);
        EXPECT_EQ(get(SIOCGIFNETMASK), mask);
    }
    EXPECT_EQ(set(SIOCSIFNETMASK, "255.0.255.0"), -EINVAL);
    EXPECT_EQ(set(SIOCSIFNETMASK, "255.255.240.0"), 0);
    machine().set_privilege_refused(true);
    for (const unsigned long number : {SIOCSIFNETMASK, SIOCSIFADDR, SIOCSIFFLAGS})
        EXPECT_EQ(set(number, "1.0.0.0"), -EPERM);
    EXPECT_EQ(get(SIOCGIFNETMASK), "255.255.240.0");
    EXPECT_EQ(get(SIOCGIFADDR), "192.168.7.9");
}

TEST_F(NetworkRequest, LinksComeAndGoInVirtualTime) {
    const std::pair<const char*, std::string> cases[] = {
        // each half a second, from a quarter of a second on
        {"link-dropped", "-+++++++++++++++++++++++"},
        {"link-flapping", "--++++++++--++++++++--++"},
        {"link-down", "------"}, // whatever it did before
    };
    for (const auto& [fault, half_seconds] : cases) {
        machine().apply_fault({fault, "usb0", 0});
        usleep(250'000);
        for (const char state : half_seconds) {
            EXPECT_EQ(link("usb0"), state == '+' ? 1 : 0) << fault;
            usleep(500'000);
        }
    }
    EXPECT_EQ(flags("usb0"), IFF_UP);
    for (const short wanted : {short{0}, short{IFF_UP}}) {
        record_.ifr_flags = wanted;
        EXPECT_EQ(request(SIOCSIFFLAGS), 0);
        EXPECT_EQ(flags(), wanted == 0 ? 0 : IFF_UP | IFF_RUNNING);
        EXPECT_EQ(link(), wanted == 0 ? 0 : 1);
    }
    machine().apply_fault({"link-absent", "eth0", 0});
    EXPECT_EQ(flags(), -ENODEV);
}

} // namespace
