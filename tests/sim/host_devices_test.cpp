// The ports, the console device and the network interfaces, as a program reaches them.
#include "support/boards.h"
#include "support/ports.h"

#include "sim/time/scheduler.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/kd.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/io.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace k4sim;

namespace {

class PortTrap : public testing::Test {
protected:
    ~PortTrap() override { iopl(0); }

    // Reads give the port's low byte, inverted.
    ScriptedPorts ports_{0xD000, [](std::uint16_t port) { return ~port & 0xFF; }};
    const AttachedPorts attached_{ports_};
};

using PortTrapDeathTest = PortTrap;

TEST_F(PortTrap, AllFourFormsReachThePortInAMicrosecond) {
    unsigned accumulator = 0x12345600; // only its low byte may change
    const Microseconds start = scheduler().now();
    errno = 55;
    asm volatile("inb %%dx, %%al" : "+a"(accumulator) : "d"(0x7770D001));
    EXPECT_EQ(accumulator, 0x123456FEu);
    asm volatile("outb %%al, %%dx" : : "a"(0x1234565A), "d"(0x7770DA00));
    asm volatile("inb $0x61, %%al" : "+a"(accumulator));
    EXPECT_EQ(accumulator, 0x1234569Eu);
    asm volatile("outb %%al, $0x80" : : "a"(0xC3));
    EXPECT_EQ(ports_.take(), "r1 w@da00=5a r@0061 w@0080=c3");
    EXPECT_EQ(scheduler().now(), start + 4);
    EXPECT_EQ(errno, 55);
}

TEST_F(PortTrapDeathTest, AnythingElseKillsTheProcess) {
    EXPECT_DEATH(*static_cast<volatile int*>(nullptr) = 1, "");
    EXPECT_DEATH(asm volatile("hlt"), "");
    EXPECT_DEATH(raise(SIGSEGV), "");
    EXPECT_EQ(iopl(4), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(iopl(2), 0); // leaves the ports to the system
    const std::string where = ", which the virtual device does not play: thread 0 at 0x[0-9a-f]+ "
                              "\\(sim_tests\\+0x[0-9a-f]+\\)\n";
    const std::string bare = "access to a port without I/O privilege \\(iopl\\)" + where;
    EXPECT_DEATH(asm volatile("inb $0x61, %%al" : : : "eax"), bare);
    EXPECT_DEATH(asm volatile("outl %%eax, %%dx" : : : "memory"), bare);
    EXPECT_EQ(ioperm(0x61, 1, 0), 0);
    EXPECT_DEATH(ioperm(0x61, 1, 1), "a request for single ports \\(ioperm\\)" + where);
    EXPECT_EQ(iopl(3), 0);
    const std::string wide = "a port instruction of more than a byte" + where;
    EXPECT_DEATH(asm volatile("inw %%dx, %%ax" : : : "eax"), wide);
    EXPECT_DEATH(asm volatile("outw %%ax, $0x80" : : : "memory"), wide);
    EXPECT_DEATH(asm volatile("inl $0x61, %%eax" : : : "eax"), wide);
    EXPECT_DEATH(asm volatile("rep outsb"
                              :
                              :
                              : "memory"),
                 "a port instruction for strings" + where);
    EXPECT_DEATH(asm volatile(".byte 0x66\n inb %%dx, %%al"
                              :
                              :
                              : "eax"),
                 "a port instruction with a prefix" + where);
}

using ConsoleDevice = BoardTest;

TEST_F(ConsoleDevice, IsARealDescriptor) {
    const int console = openat(AT_FDCWD, "/dev/console", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(fcntl(console, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(write(console, "text", 4), 4);
    EXPECT_EQ(ioctl(console, KIOCSOUND, 1193), 0);
    EXPECT_EQ(count_events("speaker", "sound"), 1);
    EXPECT_EQ(ioctl(console, KDMKTONE, 100 << 16 | 2386), 0);
    EXPECT_EQ(count_events("speaker", "tone"), 1);
    EXPECT_EQ(ioctl(console, KDGKBTYPE, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    close(console);
}

// What the kernel says of its own loopback interface, the virtual device says of its own.
class NetworkRequest : public BoardTest {
protected:
    ~NetworkRequest() override { close(socket_); }

    // 0 or an error number, negative. What the answer is stays in `record_`.
    int request(unsigned long number, const char* name = "eth0") {
        std::strncpy(record_.ifr_name, name, IFNAMSIZ);
        return ioctl(socket_, number, &record_) == 0 ? 0 : -errno;
    }

    int link(const char* name, std::uint32_t command = ETHTOOL_GLINK) {
        ethtool_value value{command, 77};
        record_.ifr_data = reinterpret_cast<char*>(&value);
        const int result = request(SIOCETHTOOL, name);
        return result == 0 ? static_cast<int>(value.data) : result;
    }

    int flags(const char* name) {
        EXPECT_EQ(request(SIOCGIFFLAGS, name), 0);
        return record_.ifr_flags & (IFF_UP | IFF_RUNNING);
    }

    int set_address(unsigned long number, const char* address) {
        reinterpret_cast<sockaddr_in&>(record_.ifr_addr) = {AF_INET, 0, {inet_addr(address)}, {}};
        return request(number);
    }

    std::string address(unsigned long number, const char* name = "eth0") {
        EXPECT_EQ(request(number, name), 0);
        return inet_ntoa(reinterpret_cast<sockaddr_in&>(record_.ifr_addr).sin_addr);
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
    EXPECT_EQ(address(SIOCGIFADDR, "lo"), "127.0.0.1");
    EXPECT_EQ(link("no-such-link"), -ENODEV);
    // On what is no socket of the internet it is the kernel that answers.
    close(std::exchange(socket_, open("/dev/null", O_RDONLY)));
    EXPECT_EQ(link("usb0"), -ENOTTY);
}

TEST_F(NetworkRequest, KeepsAddresses) {
    EXPECT_EQ(request(SIOCGIFADDR), -EADDRNOTAVAIL);
    EXPECT_EQ(set_address(SIOCSIFNETMASK, "255.255.0.0"), -EADDRNOTAVAIL);
    for (const auto& [own, mask] : {std::pair{"10.1.2.3", "255.0.0.0"},
                                    {"192.168.7.9", "255.255.255.0"},
                                    {"172.16.1.2", "255.255.0.0"}}) {
        EXPECT_EQ(set_address(SIOCSIFADDR, own), 0);
        EXPECT_EQ(address(SIOCGIFNETMASK), mask);
    }
    EXPECT_EQ(set_address(SIOCSIFNETMASK, "255.0.255.0"), -EINVAL);
    machine().set_privilege_refused(true);
    for (const unsigned long number : {SIOCSIFNETMASK, SIOCSIFADDR, SIOCSIFFLAGS})
        EXPECT_EQ(set_address(number, "1.0.0.0"), -EPERM);
    EXPECT_EQ(address(SIOCGIFADDR), "172.16.1.2");
}

TEST_F(NetworkRequest, LinksComeAndGoInVirtualTime) {
    const std::pair<const char*, std::string> cases[] = {
        // each half a second, from a quarter of a second on
        {"link-dropped", "-+++++++++++++++++++++++"},
        {"link-flapping", "--++++++++--++++++++--++"},
        {"link-down", "------"}, // whatever it did before
    };
    for (const auto& [fault, half_seconds] : cases) {
        machine().apply_fault({fault, "eth0", 0});
        usleep(250'000);
        for (const char state : half_seconds) {
            EXPECT_EQ(link("eth0"), state == '+' ? 1 : 0) << fault;
            usleep(500'000);
        }
    }
    EXPECT_EQ(flags("eth0"), IFF_UP);
    record_.ifr_flags = 0;
    EXPECT_EQ(request(SIOCSIFFLAGS), 0);
    EXPECT_EQ(flags("eth0"), 0);
    machine().apply_fault({"link-absent", "eth0", 0});
    EXPECT_EQ(link("eth0"), -ENODEV);
}

} // namespace
