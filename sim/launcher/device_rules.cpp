#include "sim/launcher/device_rules.h"

#include "sim/launcher/options.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/landlock.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

namespace fs = std::filesystem;

// Since the second version of Landlock, whoever wants to move a file to another folder needs it.
constexpr std::uint64_t move_between_folders = 1ULL << 13;
constexpr int version_with_moves = 2;

constexpr std::uint64_t open_file = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE;
constexpr std::uint64_t make_device = LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_BLOCK;

// Links such as fd and stdin lead elsewhere, and need no rule.
constexpr const char* harmless_devices[] = {"null", "zero", "full", "random", "urandom",
                                            "tty",  "ptmx", "pts",  "shm"};

// Not in every C library.
int create_ruleset(const landlock_ruleset_attr* attributes, std::size_t size, unsigned flags) {
    return static_cast<int>(syscall(SYS_landlock_create_ruleset, attributes, size, flags));
}

int version() { return create_ruleset(nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION); }

// What is not there, or not for this user to see, needs no rule.
void allow(int rules, const fs::path& path, std::uint64_t rights) {
    const int parent = open(path.c_str(), O_PATH | O_CLOEXEC);
    if (parent < 0) return;
    struct stat status {};
    if (fstat(parent, &status) == 0 && !S_ISDIR(status.st_mode)) rights &= open_file;
    const landlock_path_beneath_attr rule{rights, parent};
    const long result =
        syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0U);
    const int error = errno;
    close(parent);
    if (result != 0)
        throw UsageError("the device files can't be guarded: " + path.string() + ": " +
                         std::strerror(error));
}

} // namespace

int make_device_rules(const std::vector<fs::path>& real) {
    const int known = version();
    if (known < 1) return -1;
    const std::uint64_t moves = known >= version_with_moves ? move_between_folders : 0;
    const landlock_ruleset_attr handled{open_file | make_device | moves};
    const int rules = create_ruleset(&handled, sizeof handled, 0);
    if (rules < 0)
        throw UsageError(std::string("the device files can't be guarded: ") + std::strerror(errno));
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/", error))
        if (entry.path() != "/dev") allow(rules, entry.path(), open_file | moves);
    for (const char* name : harmless_devices)
        allow(rules, fs::path("/dev") / name, open_file | moves);
    for (const fs::path& path : real)
        allow(rules, path, open_file);
    return rules;
}

bool keep_to_rules(int rules) { return syscall(SYS_landlock_restrict_self, rules, 0U) == 0; }

} // namespace k4sim
