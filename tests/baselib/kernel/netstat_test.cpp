// KLTlinuxNetstat3 against what iproute2 says, in a network namespace of the test's own.
#include "baselib/device/netstat.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace {

using Net = KLTlinuxNetstat3;
using testing::Each;

bool succeeds(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}

// Whether the record of the interface has that text.
bool ip_says(const std::string& name, const std::string& text) {
    return succeeds("ip -json address show dev " + name + " | grep -q '" + text + "'");
}

int lowest_free() {
    const int descriptor = dup(0);
    close(descriptor);
    return descriptor;
}

class Netstat : public testing::Test {
protected:
    void SetUp() override {
        if (unshare(CLONE_NEWNET) != 0 || !succeeds("ip link add lan0 type veth peer name far0"))
            GTEST_SKIP() << "no network namespace with veth interfaces can be made here";
    }
    void TearDown() override { EXPECT_EQ(lowest_free(), free_descriptor); }

    const int free_descriptor = lowest_free();
};

TEST_F(Netstat, LinkFollowsBothEnds) {
    for (const std::string state : {"up", "down"}) {
        ASSERT_TRUE(succeeds("ip link set lan0 up && ip link set far0 " + state));
        EXPECT_EQ(Net::linkUp("lan0"), state == "up" ? 1 : 0);
    }
}

// Some have a driver that tells its link, some have not. The kernel's flag that an interface runs
// follows the carrier behind time, so here the carrier stays as it is.
TEST_F(Netstat, EveryKindOfInterfaceIsAsIprouteSays) {
    for (const std::string kind : {"veth", "dummy", "ifb"}) {
        if (!succeeds("ip link add any0 address 02:13:24:35:46:f7 type " + kind)) continue;
        EXPECT_EQ(Net::macAddress("any0"), 0xF74635241302);
        EXPECT_EQ(Net::ipaddrSet("any0", 0xC0A80709), 0);
        EXPECT_EQ(Net::netmaskSet("any0", 0xFFFFFF80), 0);
        EXPECT_TRUE(ip_says("any0", "\"local\":\"192.168.7.9\",\"prefixlen\":25,"));
        EXPECT_EQ(Net::ipaddr("any0"), 0xC0A80709);
        EXPECT_EQ(Net::netmask("any0"), 0xFFFFFF80);

        ASSERT_TRUE(succeeds("ip link set any0 up && ip route add 10.7.0.0/16 dev any0"));
        const bool carrier = !ip_says("any0", "NO-CARRIER");
        EXPECT_EQ(Net::restart("any0"), carrier ? 1 : 0);
        EXPECT_TRUE(ip_says("any0", ",\"UP\"")) << "left down";
        EXPECT_FALSE(succeeds("ip route show | grep 10.7.0.0")) << "never was down";
        const bool told = !ip_says("any0", "\"operstate\":\"UNKNOWN\"");
        EXPECT_EQ(Net::linkUp("any0"), !told ? -3 : carrier ? 1 : 0) << kind;
        ASSERT_TRUE(succeeds("ip link del any0"));
    }
}

void expect_refused(const char* name, int question, int setting) {
    EXPECT_THAT((std::vector{Net::linkUp(name), Net::restart(name)}), Each(question));
    EXPECT_THAT((std::vector{Net::ipaddrSet(name, 1), Net::netmaskSet(name, 1)}), Each(setting));
    EXPECT_THAT((std::vector{Net::ipaddr(name), Net::netmask(name)}), Each(0));
    EXPECT_EQ(Net::macAddress(name), 0U);
}

// A name that the kernel has no room for must not touch anything behind the record.
TEST_F(Netstat, RefusalsHaveTheirCodes) {
    const std::string longest = "interface-name1"; // 15 characters
    ASSERT_TRUE(succeeds("ip link add " + longest + " type veth peer name far1"));
    EXPECT_EQ(Net::linkUp(longest.c_str()), 0);
    for (const std::string& name : {longest + "6", std::string(5000, 'x'), std::string("absent0")})
        expect_refused(name.c_str(), -3, -8588);
    expect_refused(nullptr, -1, -8592);
    expect_refused("", -1, -8592);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlim_t former = std::exchange(limit.rlim_cur, free_descriptor);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    expect_refused("lan0", -2, -8598);
    limit.rlim_cur = former;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

} // namespace
