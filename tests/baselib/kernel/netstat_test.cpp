// KLTlinuxNetstat3 against what iproute2 says, in a network namespace of the test's own.
#include "baselib/device/netstat.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using nlohmann::json;

std::string output_of(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return {};
    std::string text;
    char buffer[4096];
    for (std::size_t n = 0; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, n);
    return pclose(pipe) == 0 ? text : std::string{};
}

bool succeeds(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}

json interface_record(const std::string& name) {
    return json::parse(output_of("ip -json address show dev " + name)).at(0);
}

std::uint32_t host_order(const std::string& dotted) { return ntohl(inet_addr(dotted.c_str())); }

std::uint64_t hardware_address(const std::string& text) {
    unsigned bytes[6] = {};
    EXPECT_EQ(std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", &bytes[0], &bytes[1], &bytes[2],
                          &bytes[3], &bytes[4], &bytes[5]),
              6);
    std::uint64_t address = 0;
    for (int i = 5; i >= 0; --i)
        address = address << 8 | bytes[i];
    return address;
}

class Netstat : public testing::Test {
protected:
    void SetUp() override {
        if (unshare(CLONE_NEWNET) != 0) GTEST_SKIP() << "no network namespace can be made here";
        if (!succeeds("ip link add lan0 type veth peer name far0"))
            GTEST_SKIP() << "no veth interfaces here";
    }
};

// Some have a driver that tells its link, some have not.
class NetstatOfKind : public Netstat, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        Netstat::SetUp();
        if (IsSkipped()) return;
        if (!succeeds("ip link add any0 type " + std::string(GetParam())))
            GTEST_SKIP() << "no " << GetParam() << " interfaces here";
        ASSERT_TRUE(succeeds("ip address add 10.1.2.3/20 dev any0"));
    }
};

INSTANTIATE_TEST_SUITE_P(Kernel, NetstatOfKind, testing::Values("veth", "dummy", "ifb"),
                         [](const auto& kind) { return std::string(kind.param); });

bool has_flag(const json& record, const char* flag) {
    const json& flags = record.at("flags");
    return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

TEST_F(Netstat, LinkFollowsBothEnds) {
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsDown);
    ASSERT_TRUE(succeeds("ip link set lan0 up && ip link set far0 up"));
    EXPECT_EQ(interface_record("lan0").at("operstate"), "UP");
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsUp);
    ASSERT_TRUE(succeeds("ip link set far0 down"));
    EXPECT_NE(interface_record("lan0").at("operstate"), "UP");
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsDown);
}

TEST_P(NetstatOfKind, AddressesAreThoseOfIproute) {
    const json record = interface_record("any0");
    const json& address = record.at("addr_info").at(0);
    EXPECT_EQ(KLTlinuxNetstat3::ipaddr("any0"), host_order(address.at("local")));
    EXPECT_EQ(KLTlinuxNetstat3::netmask("any0"), ~0U << (32 - address.at("prefixlen").get<int>()));
    EXPECT_EQ(KLTlinuxNetstat3::macAddress("any0"), hardware_address(record.at("address")));
}

TEST_P(NetstatOfKind, SettersArriveInTheKernel) {
    EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet("any0", host_order("192.168.7.9")), 0);
    EXPECT_EQ(KLTlinuxNetstat3::netmaskSet("any0", host_order("255.255.255.128")), 0);
    const json address = interface_record("any0").at("addr_info").at(0);
    EXPECT_EQ(address.at("local"), "192.168.7.9");
    EXPECT_EQ(address.at("prefixlen"), 25);
}

// The kernel's flag that an interface runs follows the carrier behind time, so here the
// carrier stays as it is, and the kernel has noticed what it is.
TEST_P(NetstatOfKind, RestartAndLinkAreThoseOfIproute) {
    ASSERT_TRUE(succeeds("ip link set any0 up && ip route add 10.7.0.0/16 dev any0"));
    const bool carrier = !has_flag(interface_record("any0"), "NO-CARRIER");
    EXPECT_EQ(KLTlinuxNetstat3::restart("any0"), carrier ? 1 : 0);
    const json record = interface_record("any0");
    EXPECT_TRUE(has_flag(record, "UP")) << "left down";
    EXPECT_EQ(output_of("ip route show 10.7.0.0/16"), "") << "never was down";
    const bool told = record.at("operstate") != "UNKNOWN";
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("any0"), !told ? -3 : carrier ? 1 : 0) << record;
}

TEST_F(Netstat, WithoutPrivilegeQuestionsAreAnsweredAndNothingIsSet) {
    ASSERT_TRUE(succeeds("ip address add 10.1.2.3/20 dev lan0 && ip link set lan0 up"));
    constexpr uid_t nobody = 65534;
    if (seteuid(nobody) != 0) GTEST_SKIP() << "there is no other user here";
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsDown);
    EXPECT_EQ(KLTlinuxNetstat3::ipaddr("lan0"), host_order("10.1.2.3"));
    EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet("lan0", 1), -8588);
    EXPECT_EQ(KLTlinuxNetstat3::netmaskSet("lan0", 1), -8588);
    EXPECT_EQ(KLTlinuxNetstat3::restart("lan0"), -4) << "not taken down";
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_TRUE(has_flag(interface_record("lan0"), "UP"));
}

// While it lives, the process gets that many more descriptors and no more.
class RoomForDescriptors {
public:
    explicit RoomForDescriptors(unsigned count) {
        const int lowest = open("/dev/null", O_RDONLY);
        close(lowest);
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &former_), 0);
        const rlimit narrow{static_cast<rlim_t>(lowest) + count, former_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &narrow), 0);
    }
    ~RoomForDescriptors() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &former_), 0); }
    RoomForDescriptors(const RoomForDescriptors&) = delete;
    RoomForDescriptors& operator=(const RoomForDescriptors&) = delete;

private:
    rlimit former_{};
};

TEST_F(Netstat, EachOperationGivesItsSocketBack) {
    const RoomForDescriptors room(1);
    const std::uint32_t address = host_order("10.1.2.3");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), 0);
        EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet("lan0", address), 0);
        EXPECT_EQ(KLTlinuxNetstat3::netmaskSet("lan0", host_order("255.255.0.0")), 0);
        EXPECT_EQ(KLTlinuxNetstat3::ipaddr("lan0"), address);
        EXPECT_EQ(KLTlinuxNetstat3::netmask("lan0"), host_order("255.255.0.0"));
        EXPECT_NE(KLTlinuxNetstat3::macAddress("lan0"), 0U);
        EXPECT_GE(KLTlinuxNetstat3::restart("lan0"), 0);
        EXPECT_EQ(KLTlinuxNetstat3::linkUp("absent0"), -3);
    }
}

TEST_F(Netstat, NoSocketHasItsOwnCode) {
    const RoomForDescriptors room(0);
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), -2);
    EXPECT_EQ(KLTlinuxNetstat3::restart("lan0"), -2);
    EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet("lan0", 1), -8598);
    EXPECT_EQ(KLTlinuxNetstat3::netmaskSet("lan0", 1), -8598);
    EXPECT_EQ(KLTlinuxNetstat3::ipaddr("lan0"), 0U);
    EXPECT_EQ(KLTlinuxNetstat3::macAddress("lan0"), 0U);
}

// A name that the kernel has no room for must not touch anything behind the record.
TEST_F(Netstat, NamesThatCannotBe) {
    const std::string longest = "interface-name1"; // 15 characters
    ASSERT_TRUE(succeeds("ip link add " + longest + " type veth peer name far1"));
    EXPECT_EQ(KLTlinuxNetstat3::linkUp(longest.c_str()), KLTlinuxNetstat3::linkIsDown);

    for (const std::string& name :
         {longest + "6", std::string(5000, 'x'), std::string("absent0")}) {
        EXPECT_EQ(KLTlinuxNetstat3::linkUp(name.c_str()), -3);
        EXPECT_EQ(KLTlinuxNetstat3::ipaddr(name.c_str()), 0U);
        EXPECT_EQ(KLTlinuxNetstat3::netmask(name.c_str()), 0U);
        EXPECT_EQ(KLTlinuxNetstat3::macAddress(name.c_str()), 0U);
        EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet(name.c_str(), 1), -8588);
        EXPECT_EQ(KLTlinuxNetstat3::netmaskSet(name.c_str(), 1), -8588);
        EXPECT_EQ(KLTlinuxNetstat3::restart(name.c_str()), -3);
    }
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(KLTlinuxNetstat3::linkUp(name), -1);
        EXPECT_EQ(KLTlinuxNetstat3::ipaddr(name), 0U);
        EXPECT_EQ(KLTlinuxNetstat3::netmask(name), 0U);
        EXPECT_EQ(KLTlinuxNetstat3::macAddress(name), 0U);
        EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet(name, 1), -8592);
        EXPECT_EQ(KLTlinuxNetstat3::netmaskSet(name, 1), -8592);
        EXPECT_EQ(KLTlinuxNetstat3::restart(name), -1);
    }
}

} // namespace
