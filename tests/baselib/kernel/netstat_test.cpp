// KLTlinuxNetstat3 against what iproute2 says, in a network namespace of the test's own.
#include "baselib/netstat.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sched.h>
#include <string>

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
        if (!succeeds("ip link add lan0 type veth peer name far0") ||
            !succeeds("ip address add 10.1.2.3/20 dev lan0"))
            GTEST_SKIP() << "no veth interfaces here";
    }
};

TEST_F(Netstat, LinkFollowsBothEnds) {
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsDown);
    ASSERT_TRUE(succeeds("ip link set lan0 up && ip link set far0 up"));
    EXPECT_EQ(interface_record("lan0").at("operstate"), "UP");
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsUp);
    ASSERT_TRUE(succeeds("ip link set far0 down"));
    EXPECT_NE(interface_record("lan0").at("operstate"), "UP");
    EXPECT_EQ(KLTlinuxNetstat3::linkUp("lan0"), KLTlinuxNetstat3::linkIsDown);
}

TEST_F(Netstat, AddressesAreThoseOfIproute) {
    const json record = interface_record("lan0");
    const json& address = record.at("addr_info").at(0);
    EXPECT_EQ(KLTlinuxNetstat3::ipaddr("lan0"), host_order(address.at("local")));
    EXPECT_EQ(KLTlinuxNetstat3::netmask("lan0"), ~0U << (32 - address.at("prefixlen").get<int>()));
    EXPECT_EQ(KLTlinuxNetstat3::macAddress("lan0"), hardware_address(record.at("address")));
}

TEST_F(Netstat, SettersArriveInTheKernel) {
    EXPECT_EQ(KLTlinuxNetstat3::ipaddrSet("lan0", host_order("192.168.7.9")), 0);
    EXPECT_EQ(KLTlinuxNetstat3::netmaskSet("lan0", host_order("255.255.255.128")), 0);
    const json address = interface_record("lan0").at("addr_info").at(0);
    EXPECT_EQ(address.at("local"), "192.168.7.9");
    EXPECT_EQ(address.at("prefixlen"), 25);
}

TEST_F(Netstat, RestartTellsWhetherItRuns) {
    ASSERT_TRUE(succeeds("ip link set lan0 up && ip link set far0 up"));
    EXPECT_EQ(KLTlinuxNetstat3::restart("lan0"), KLTlinuxNetstat3::linkIsUp);
    ASSERT_TRUE(succeeds("ip link set far0 down"));
    EXPECT_EQ(KLTlinuxNetstat3::restart("lan0"), KLTlinuxNetstat3::linkIsDown);
    const json flags = interface_record("lan0").at("flags");
    EXPECT_NE(std::find(flags.begin(), flags.end(), "UP"), flags.end()) << "left down";
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
