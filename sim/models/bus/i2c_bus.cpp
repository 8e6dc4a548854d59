#include "sim/models/bus/i2c_bus.h"

namespace k4sim {

namespace {

constexpr std::uint32_t address_bits = 0x7F;

constexpr std::string_view dark_glass = "nothing stands on the glass, but the keys work";

// What comes from the panel is its type, its version and the words of its keys.
constexpr Expectation bus_expectations[] = {
    {"panel.link.acknowledge=missing", Finding::escaped, "the engine tells of no acknowledges",
     on_engine},
    {"panel.link.in.bit?=flaky-100", Finding::escaped, "a wrong word is followed by a right one"},
    {"panel.link.in.bit[01]=stuck-0", Finding::operator_,
     "keys that are held down count as pressed, but end the lamp test"},
    {"panel.link.in.bit0=stuck-1", Finding::detected, "", on_engine},
    {"panel.link.in.bit0=*", Finding::operator_,
     "it is taken for the other known type, whose glass is another one"},
    {"panel.link.in.bit[3-5]=stuck-1", Finding::detected, ""},
    {"panel.link.in.bit[67]=stuck-0", Finding::detected, ""},
    {"panel.link.out.bit?=flaky-100", Finding::operator_, "it spoils what stands on the glass"},
    {"panel.link.out.bit[0-57]=stuck-0", Finding::operator_, dark_glass},
    {"panel.*", Finding::blocked,
     "a panel that can't be reached has no key that could end the run"},
};

} // namespace

void I2cBus::attach(std::uint8_t address, I2cSlave& slave) {
    attached_.emplace_back(address, &slave);
    straps_.set_on_change([this] { strap(); });
    strap();
}

void I2cBus::strap() {
    slaves_.fill(nullptr);
    for (const auto& [address, slave] : attached_)
        slaves_[straps_.through(address) & address_bits] = slave;
}

void I2cBus::name_sites(FaultSites& sites) {
    sites.about("Frontpanel", bus_expectations);
    for (const bool level : {false, true}) {
        const std::string_view way = level ? "stuck-1" : "stuck-0";
        const auto stuck = [level](bool broken) {
            return broken ? std::optional(level) : std::nullopt;
        };
        sites.add("panel.link.sda", way, [this, stuck](bool broken) { hold_sda(stuck(broken)); });
        sites.add("panel.link.scl", way,
                  [this, stuck](bool broken) { scl_stuck_ = stuck(broken); });
    }
    sites.add("panel.link.sda-scl", "tied-low", [this](bool broken) { tied_ = broken; });
    sites.add("panel.link.wires", "open", [this](bool broken) { open_ = broken; });
    sites.add("panel.link.acknowledge", "missing", [this](bool broken) { silent_ = broken; });
    for (const auto& attached : attached_)
        straps_.name_constant(sites, "panel.address.bit", attached.first, address_bits);
    to_slave_.name_bits(sites, "panel.link.out.bit", 0xFF, BitJoint::steady | BitJoint::flaky_100);
    from_slave_.name_bits(sites, "panel.link.in.bit", 0xFF, BitJoint::steady | BitJoint::flaky_100);
}

bool I2cBus::start(std::uint8_t address_byte) {
    selected_ = nullptr;
    I2cSlave* slave = slaves_[address_byte >> 1];
    if (slave == nullptr || open_) return false;
    const bool answers = address_byte & i2c_read_bit ? slave->begin_read() : slave->begin_write();
    if (answers) selected_ = slave;
    return answers && !silent_;
}

bool I2cBus::write(std::uint8_t byte) {
    return selected_ != nullptr && selected_->write_byte(to_slave_.through_byte(byte)) && !silent_;
}

std::uint8_t I2cBus::read() {
    return selected_ == nullptr ? 0xFF : from_slave_.through_byte(selected_->read_byte());
}

} // namespace k4sim
