// The requests about network interfaces by the real calls, answered by the virtual device.
#include "sim/machine/machine.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace k4sim;

namespace {

constexpr int link_up = 1, link_down = 0; // else: an error number, negative

class NetworkRequest : public testing::Test {
protected:
    NetworkRequest() {
        machine().reset();
        machine().clear_events();
        EXPECT_GE(socket_, 0);
    }
    ~NetworkRequest() override { close(socket_); }

    // 0 or an error number, negative.
    int request(unsigned long number, ifreq& record, int descriptor) {
        return ioctl(descriptor, number, &record) == 0 ? 0 : -errno;
    }
    int request(unsigned long number, ifreq& record) { return request(number, record, socket_); }

    int link(const char* name, int descriptor) {
        ethtool_value value{ETHTOOL_GLINK, 77};
        ifreq record = about(name);
        record.ifr_data = reinterpret_cast<char*>(&value);
        const int result = request(SIOCETHTOOL, record, descriptor);
        return result == 0 ? static_cast<int>(value.data) : result;
    }
    int link(const char* name) { return link(name, socket_); }

    static ifreq about(const char* name) {
        ifreq record{};
        std::strncpy(record.ifr_name, name, IFNAMSIZ - 1);
        return record;
    }

    static ifreq with_address(const char* name, const char* address) {
        ifreq record = about(name);
        sockaddr_in place{};
        place.sin_family = AF_INET;
        inet_pton(AF_INET, address, &place.sin_addr);
        std::memcpy(&record.ifr_addr, &place, sizeof place);
        return record;
    }

    static std::string address_in(const ifreq& record) {
        sockaddr_in place;
        std::memcpy(&place, &record.ifr_addr, sizeof place);
        char text[INET_ADDRSTRLEN] = "";
        return inet_ntop(place.sin_family, &place.sin_addr, text, sizeof text) ? text : "";
    }

    int flags(const char* name) {
        ifreq record = about(name);
        EXPECT_EQ(request(SIOCGIFFLAGS, record), 0);
        return record.ifr_flags & (IFF_UP | IFF_RUNNING);
    }

    static std::vector<std::string> events(std::string_view source) {
        std::vector<std::string> found;
        for (const Event& event : machine().events())
            if (event.source == source) found.push_back(event.what);
        return found;
    }

    int socket_ = socket(AF_INET, SOCK_STREAM, 0);
};

TEST_F(NetworkRequest, LinksComeAndGoInVirtualTime) {
    const struct {
        const char* fault;
        const char* half_seconds; // up or down, from a quarter of a second on
    } cases[] = {
        {"link-dropped", "-+++++++++++++++++++++++"},
        {"link-flapping", "--++++++++--++++++++--++"},
    };
    for (const auto& [fault, half_seconds] : cases) {
        machine().reset();
        machine().apply_fault({fault, "usb0", 0});
        usleep(250'000);
        std::string seen;
        while (seen.size() < std::strlen(half_seconds)) {
            seen += link("usb0") == link_up ? '+' : '-';
            usleep(500'000);
        }
        EXPECT_EQ(seen, half_seconds) << fault;
    }
}

TEST_F(NetworkRequest, ACableThatIsOutStaysOutHoweverItWasBefore) {
    machine().apply_fault({"link-flapping", "eth0", 0});
    usleep(2'000'000);
    EXPECT_EQ(link("eth0"), link_up);
    machine().apply_fault({"link-down", "eth0", 0});
    usleep(5'000'000);
    EXPECT_EQ(link("eth0"), link_down);
}

TEST_F(NetworkRequest, AddressesAreKept) {
    ifreq record = about("eth0");
    EXPECT_EQ(request(SIOCGIFADDR, record), -EADDRNOTAVAIL);
    record = with_address("eth0", "192.168.7.9");
    EXPECT_EQ(request(SIOCSIFADDR, record), 0);
    record = about("eth0");
    EXPECT_EQ(request(SIOCGIFADDR, record), 0);
    EXPECT_EQ(address_in(record), "192.168.7.9");
    EXPECT_EQ(request(SIOCGIFNETMASK, record), 0);
    EXPECT_EQ(address_in(record), "255.255.255.0");

    record = with_address("eth0", "255.255.240.0");
    EXPECT_EQ(request(SIOCSIFNETMASK, record), 0);
    record = with_address("eth0", "255.0.255.0");
    EXPECT_EQ(request(SIOCSIFNETMASK, record), -EINVAL);
    EXPECT_EQ(request(SIOCGIFNETMASK, record), 0);
    EXPECT_EQ(address_in(record), "255.255.240.0");
}

TEST_F(NetworkRequest, AnInterfaceThatIsTakenDownHasNoLinkUntilItIsUpAgain) {
    EXPECT_EQ(flags("eth0"), IFF_UP | IFF_RUNNING);
    ifreq record = about("eth0");
    EXPECT_EQ(request(SIOCSIFFLAGS, record), 0);
    EXPECT_EQ(flags("eth0"), 0);
    EXPECT_EQ(link("eth0"), link_down);
    record.ifr_flags = IFF_UP;
    EXPECT_EQ(request(SIOCSIFFLAGS, record), 0);
    EXPECT_EQ(flags("eth0"), IFF_UP | IFF_RUNNING);
    machine().apply_fault({"link-down", "eth0", 0});
    EXPECT_EQ(flags("eth0"), IFF_UP);
}

TEST_F(NetworkRequest, EverythingElseGoesToTheKernel) {
    ifreq record = about("lo");
    EXPECT_EQ(request(SIOCGIFADDR, record), 0);
    EXPECT_EQ(address_in(record), "127.0.0.1");
    EXPECT_EQ(link("no-such-link"), -ENODEV);
    std::memset(record.ifr_name, 'e', IFNAMSIZ);
    EXPECT_EQ(request(SIOCGIFFLAGS, record), -ENODEV);

    const int file = open("/dev/null", O_RDONLY);
    EXPECT_EQ(link("eth0", file), -ENOTTY);
    close(file);
    EXPECT_EQ(link("eth0", file), -EBADF);
    // The kernel answers for the host's own interface on a socket of another family.
    machine().apply_fault({"link-refused", "eth0", 0});
    const int local = socket(AF_UNIX, SOCK_STREAM, 0);
    link("eth0", local);
    EXPECT_TRUE(events("link").empty());
    close(local);
}

} // namespace
