// KLTlinuxNetstat3 against what iproute2 says, in a network namespace of the test's own.
#include "baselib/device/netstat.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using nlohmann::json;
using Net = KLTlinuxNetstat3;

bool succeeds(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}

json told_by_ip(const std::string& object) {
    FILE* pipe = popen(("ip -json " + object).c_str(), "r");
    const json told = json::parse(pipe);
    pclose(pipe);
    return told;
}

json interface_record(const std::string& name) {
    return told_by_ip("address show dev " + name).at(0);
}

bool has_flag(const json& record, const char* flag) {
    return std::ranges::count(record.at("flags"), flag) != 0;
}

std::uint32_t host_order(const std::string& dotted) { return ntohl(inet_addr(dotted.c_str())); }

int lowest_free_descriptor() {
    const int lowest = dup(0);
    close(lowest);
    return lowest;
}

// Each test leaves as many descriptors as there were.
class Netstat : public testing::Test {
protected:
    void SetUp() override {
        if (unshare(CLONE_NEWNET) != 0) GTEST_SKIP() << "no network namespace can be made here";
        if (!succeeds("ip link add lan0 type veth peer name far0"))
            GTEST_SKIP() << "no veth interfaces here";
    }
    void TearDown() override { EXPECT_EQ(lowest_free_descriptor(), lowest_free); }

    const int lowest_free = lowest_free_descriptor();
};

TEST_F(Netstat, LinkFollowsBothEnds) {
    EXPECT_EQ(Net::linkUp("lan0"), Net::linkIsDown);
    ASSERT_TRUE(succeeds("ip link set lan0 up && ip link set far0 up"));
    EXPECT_EQ(interface_record("lan0").at("operstate"), "UP");
    EXPECT_EQ(Net::linkUp("lan0"), Net::linkIsUp);
    ASSERT_TRUE(succeeds("ip link set far0 down"));
    EXPECT_NE(interface_record("lan0").at("operstate"), "UP");
    EXPECT_EQ(Net::linkUp("lan0"), Net::linkIsDown);
}

// Some have a driver that tells its link, some have not. The kernel's flag that an interface runs
// follows the carrier behind time, so here the carrier stays as it is.
TEST_F(Netstat, EveryKindOfInterfaceIsAsIprouteSays) {
    for (const std::string kind : {"veth", "dummy", "ifb"}) {
        if (!succeeds("ip link add any0 type " + kind)) continue;
        const std::string mac = interface_record("any0").at("address");
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(Net::macAddress("any0") >> 8 * i & 0xFF,
                      std::stoul(mac.substr(3 * i), nullptr, 16));
        EXPECT_EQ(Net::ipaddrSet("any0", host_order("192.168.7.9")), 0);
        EXPECT_EQ(Net::netmaskSet("any0", host_order("255.255.255.128")), 0);
        EXPECT_EQ(interface_record("any0").at("addr_info").at(0).at("local"), "192.168.7.9");
        EXPECT_EQ(interface_record("any0").at("addr_info").at(0).at("prefixlen"), 25);
        EXPECT_EQ(Net::ipaddr("any0"), host_order("192.168.7.9"));
        EXPECT_EQ(Net::netmask("any0"), host_order("255.255.255.128"));

        ASSERT_TRUE(succeeds("ip link set any0 up && ip route add 10.7.0.0/16 dev any0"));
        const bool carrier = !has_flag(interface_record("any0"), "NO-CARRIER");
        EXPECT_EQ(Net::restart("any0"), carrier ? 1 : 0);
        const json record = interface_record("any0");
        EXPECT_TRUE(has_flag(record, "UP")) << "left down";
        EXPECT_EQ(told_by_ip("route show 10.7.0.0/16"), json::array()) << "never was down";
        const bool told = record.at("operstate") != "UNKNOWN";
        EXPECT_EQ(Net::linkUp("any0"), !told ? -3 : carrier ? 1 : 0) << record;
        ASSERT_TRUE(succeeds("ip link del any0"));
    }
}

void expect_refused(const char* name, int question, int setting) {
    using testing::Each;
    EXPECT_THAT((std::vector{Net::linkUp(name), Net::restart(name)}), Each(question));
    EXPECT_THAT((std::vector{Net::ipaddrSet(name, 1), Net::netmaskSet(name, 1)}), Each(setting));
    EXPECT_THAT((std::vector{Net::ipaddr(name), Net::netmask(name)}), Each(0));
    EXPECT_EQ(Net::macAddress(name), 0U);
}

// A name that the kernel has no room for must not touch anything behind the record.
TEST_F(Netstat, RefusalsHaveTheirCodes) {
    const std::string longest = "interface-name1"; // 15 characters
    ASSERT_TRUE(succeeds("ip link add " + longest + " type veth peer name far1"));
    EXPECT_EQ(Net::linkUp(longest.c_str()), Net::linkIsDown);
    for (const std::string& name : {longest + "6", std::string(5000, 'x'), std::string("absent0")})
        expect_refused(name.c_str(), -3, -8588);
    expect_refused(nullptr, -1, -8592);
    expect_refused("", -1, -8592);

    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &former), 0);
    const rlimit no_more{static_cast<rlim_t>(lowest_free), former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &no_more), 0);
    expect_refused("lan0", -2, -8598);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &former), 0);

    constexpr uid_t nobody = 65534;
    if (seteuid(nobody) != 0) GTEST_SKIP() << "there is no other user here";
    EXPECT_EQ(Net::linkUp(longest.c_str()), Net::linkIsDown) << "anybody may ask";
    EXPECT_EQ(Net::restart(longest.c_str()), -4) << "not taken down";
    EXPECT_EQ(Net::ipaddrSet(longest.c_str(), 1), -8588);
    ASSERT_EQ(seteuid(0), 0);
}

} // namespace
