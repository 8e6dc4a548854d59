// without_landlock COMMAND...: as on a kernel that has no Landlock.
#include <cerrno>
#include <seccomp.h>
#include <sys/syscall.h>
#include <unistd.h>

int main(int, char** argv) {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    // Calls of another word size are none of this filter's.
    if (seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ALLOW) != 0 ||
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SYS_landlock_create_ruleset, 0) != 0 ||
        seccomp_load(filter) != 0)
        return 1;
    execv(argv[1], argv + 1);
    return 127;
}
