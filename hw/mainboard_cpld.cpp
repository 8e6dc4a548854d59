#include "hw/mainboard_cpld.h"

#include "hw/ports.h"

#include <array>
#include <utility>

namespace {

constexpr std::array<std::uint16_t, 2> bases = {0xD000, 0x0A00};
constexpr int offsetId = 0;
constexpr int offsetVersion = 1;

using Driver = std::unique_ptr<CHCPLDinterface_k4>;

template <class Concrete>
Driver make(std::uint16_t base) {
    return std::make_unique<Concrete>(base);
}

struct KnownCpld {
    std::uint8_t id;
    std::uint8_t version;
    Driver (*make)(std::uint16_t base);
};

constexpr KnownCpld knownCplds[] = {
    {1, 6, make<MymainCPLD_0x01_0x06>},  {1, 7, make<MymainCPLD_0x01_0x06>},
    {1, 8, make<MymainCPLD_0x01_0x08>},  {1, 9, make<MymainCPLD_0x01_0x09>},
    {1, 10, make<MymainCPLD_0x01_0x09>}, {1, 16, make<MymainCPLD_0x01_0x09>},
    {2, 1, make<MymainCPLD_0x02_0x01>},  {2, 2, make<MymainCPLD_0x02_0x01>},
};

Driver driverFor(std::uint8_t id, std::uint8_t version, std::uint16_t base) {
    for (const KnownCpld& known : knownCplds)
        if (known.id == id && known.version == version) return known.make(base);
    return nullptr;
}

} // namespace

CHmainboardCPLD_K4::CHmainboardCPLD_K4()
    : fplink(std::make_unique<Myfplink_fake>()), cpld(std::make_unique<MymainCPLD_fake>()) {}

CHmainboardCPLD_K4::~CHmainboardCPLD_K4() { setLink(nullptr); }

int CHmainboardCPLD_K4::detect() {
    if (!iopl3()) return errorNoPrivilege;
    for (const std::uint16_t base : bases) {
        if (Driver driver = probe(base)) {
            setDriver(std::move(driver));
            return 0;
        }
    }
    setDriver(std::make_unique<MymainCPLD_fake>());
    return 0;
}

bool CHmainboardCPLD_K4::iopl3() const { return portRequestPrivilege(); }

CHfplinkK4* CHmainboardCPLD_K4::initSerialLink() {
    // A thread that is cancelled while the driver opens its link leaves the fake one behind.
    setLink(std::make_unique<Myfplink_fake>());
    setLink(std::unique_ptr<CHfplinkK4>(cpld->initSerialLink()));
    return fplink.get();
}

Driver CHmainboardCPLD_K4::probe(std::uint16_t base) {
    port = base;
    const PortBlock ports(base);
    id = ports.in(offsetId);
    version = ports.in(offsetVersion);
    return driverFor(id, version, base);
}

bool CHmainboardCPLD_K4::isLinkDriver() const {
    return dynamic_cast<const CHCPLDinterface_k4*>(&*fplink) == &*cpld;
}

void CHmainboardCPLD_K4::setLink(std::unique_ptr<CHfplinkK4> link) {
    if (isLinkDriver()) static_cast<void>(fplink.release()); // `cpld` deletes it
    fplink = std::move(link);
}

void CHmainboardCPLD_K4::setDriver(Driver driver) {
    if (isLinkDriver()) setLink(std::make_unique<Myfplink_fake>());
    cpld = std::move(driver);
}
