#include "sim/launcher/real_parts.h"

#include "sim/launcher/options.h"
#include "sim/models/nearest.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <linux/capability.h>
#include <linux/ethtool.h>
#include <linux/kd.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/personality.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace k4sim {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view confirmed = "this-is-a-k4";
constexpr std::string_view card_prefix = "hw:";

// How many devices a role can name, and what they are.
struct Naming {
    Role role;
    std::size_t least, most;
    std::string_view example;
};
constexpr Naming namings[] = {
    {Role::serial, 1, 10, "serial=/dev/ttyUSB4,/dev/ttyUSB5"},
    {Role::network, 2, 2, "network=eth1,eth2, the LAN first"},
    {Role::sound, 1, 1, "sound=hw:2"},
    {Role::speaker, 1, 1, "speaker=/dev/console"},
    {Role::ports, 1, 1, "ports=this-is-a-k4"},
};

[[noreturn]] void refuse(Role role, const std::string& why) {
    throw UsageError("--real " + std::string(name_of(roles, role)) + ": " + why);
}

[[noreturn]] void refuse_device(Role role, const std::string& name, int error) {
    refuse(role, name + ": " + std::strerror(error));
}

// Between commas.
std::vector<std::string> parts_of(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text)
        if (c == ',')
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

Role role_of(const std::string& name) {
    const auto role = value_of(roles, name);
    if (!role) throw UsageError("--real: " + no_such("role", name, names_of(roles)));
    return *role;
}

void add(Setup& setup, Role role, std::vector<std::string> names) {
    std::erase_if(setup.real, [&](const RealPart& part) { return part.role == role; });
    setup.real.push_back({role, std::move(names)});
}

// The name of a sound device may have commas.
void add_named(Setup& setup, const std::string& role_name, const std::string& value) {
    const Role role = role_of(role_name);
    const Naming& naming = *std::ranges::find(namings, role, &Naming::role);
    auto names = role == Role::sound ? std::vector{value} : parts_of(value);
    if (names.size() < naming.least || names.size() > naming.most ||
        std::ranges::any_of(names, &std::string::empty) ||
        (role == Role::ports && names[0] != confirmed))
        refuse(role, "say for example --real " + std::string(naming.example));
    add(setup, role, std::move(names));
}

// Closed at the end.
class Opened {
public:
    explicit Opened(int descriptor) : descriptor_(descriptor) {}
    ~Opened() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    int number() const { return descriptor_; }

private:
    int descriptor_;
};

int open_device(const std::string& path) {
    return open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

std::vector<std::string> names_of_part(const RealPart& part) {
    if (!part.names.empty()) return part.names;
    if (part.role == Role::network) return {"eth0", "usb0"};
    if (part.role == Role::speaker) return {"/dev/console"};
    return {};
}

void check_serial(const RealPart& part) {
    for (const std::string& path : names_of_part(part)) {
        const Opened line(open_device(path));
        if (line.number() < 0 || isatty(line.number()) == 0) refuse_device(part.role, path, errno);
    }
    Setup alone;
    alone.real = {part};
    if (real_files(alone).empty())
        refuse(part.role, "there is no /dev/ttyUSB0 to 9; name your adapters as in --real "
                          "serial=/dev/ttyS0,/dev/ttyS1");
}

void check_network(const RealPart& part) {
    const Opened socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    for (const std::string& name : names_of_part(part)) {
        ethtool_value link{};
        link.cmd = ETHTOOL_GLINK;
        ifreq request{};
        if (name.size() >= IFNAMSIZ) refuse_device(part.role, name, ENAMETOOLONG);
        name.copy(request.ifr_name, IFNAMSIZ - 1);
        request.ifr_data = reinterpret_cast<char*>(&link);
        if (ioctl(socket.number(), SIOCETHTOOL, &request) != 0)
            refuse_device(part.role, name, errno);
    }
}

// A card of this machine; any other name is for libasound to find.
void check_sound(const RealPart& part) {
    const std::string name = part.names.empty() ? "hw:0" : part.names[0];
    if (!name.starts_with(card_prefix)) return;
    const std::string card = name.substr(card_prefix.size());
    std::error_code none;
    const bool by_number = fs::exists("/dev/snd/controlC" + card, none);
    if (!by_number && !fs::exists("/proc/asound/" + card, none))
        refuse(part.role, "there is no sound card " + name);
}

void check_speaker(const RealPart& part) {
    for (const std::string& path : names_of_part(part)) {
        const Opened console(open_device(path));
        if (console.number() < 0 || ioctl(console.number(), KIOCSOUND, 0) != 0)
            refuse_device(part.role, path, errno);
    }
}

bool may_use_ports() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> held{};
    if (syscall(SYS_capget, &header, held.data()) != 0) return true;
    return (held[0].effective & 1U << CAP_SYS_RAWIO) != 0;
}

// Whether the system is one of 32 bits, and does not only say so to this process.
bool is_32_bit_system() {
    utsname system{};
    if (uname(&system) != 0 || (personality(0xFFFFFFFF) & PER_MASK) == PER_LINUX32) return false;
    const std::string_view machine(system.machine);
    return machine.size() == 4 && machine[0] == 'i' && machine.ends_with("86");
}

// Other machines have other things at these ports. On most of them the system is of 64 bits, which
// the K/4's is not.
void check_ports(const RealPart& part) {
    if (!may_use_ports() || !part.names.empty() || is_32_bit_system()) return;
    refuse(part.role, "this does not look like a K/4, and its ports belong to something else; if "
                      "it is one, say --real ports=" +
                          std::string(confirmed));
}

} // namespace

void add_real(Setup& setup, const std::string& value) {
    const std::size_t equals = value.find('=');
    if (value == "all")
        for (const auto& role : roles)
            add(setup, role.value, {});
    else if (equals != std::string::npos)
        add_named(setup, value.substr(0, equals), value.substr(equals + 1));
    else
        for (const std::string& name : parts_of(value))
            add(setup, role_of(name), {});
}

void check_real(const Setup& setup) {
    const bool all = setup.real.size() == std::size(roles);
    constexpr struct {
        Role role;
        void (*check)(const RealPart& part);
    } checks[] = {
        {Role::serial, check_serial},   {Role::network, check_network}, {Role::sound, check_sound},
        {Role::speaker, check_speaker}, {Role::ports, check_ports},
    };
    for (const auto& [role, check] : checks)
        if (const RealPart* part = real_part(setup, role))
            if (!all || !part->names.empty() || role == Role::ports) check(*part);
}

std::vector<fs::path> real_files(const Setup& setup) {
    std::vector<fs::path> files;
    const auto add_present = [&](const std::string& path) {
        std::error_code none;
        if (fs::exists(path, none)) files.emplace_back(path);
    };
    if (const RealPart* serial = real_part(setup, Role::serial)) {
        for (const std::string& name : serial->names)
            add_present(name);
        if (serial->names.empty())
            for (const char digit : std::string_view("0123456789"))
                add_present(std::string("/dev/ttyUSB") + digit);
    }
    if (const RealPart* speaker = real_part(setup, Role::speaker))
        add_present(names_of_part(*speaker)[0]);
    if (real_part(setup, Role::sound) != nullptr) add_present("/dev/snd");
    return files;
}

} // namespace k4sim
