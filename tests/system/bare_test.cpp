// No program runs on the real machine, whatever way it is started. A probe that looks at no more
// than its own maps tells "virtual" or "bare".
#include "virtual_run.h"

#include <fstream>
#include <linux/capability.h>
#include <sstream>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

using namespace k4test;
namespace fs = std::filesystem;

// Of the launcher's word size, and of the other where there is a library for it.
constexpr const char* bare_probes[] = {"bare_probe"
#ifdef __i386__
                                       ,
                                       "bare_probe64"
#endif
};

class Bare : public testing::Test {
protected:
    Bare() {
        fs::permissions(folder_.path(), fs::perms(0755)); // for another user
        install("build");
    }

    // The launcher with its libraries and the probes.
    void install(const std::string& name) const {
        const fs::path target = folder_.path() / name;
        fs::create_directory(target);
        fs::copy(K4_SIM, target / "k4sim");
        fs::copy(K4_WITHOUT_LANDLOCK, target / "without_landlock");
        for (const auto& entry : fs::directory_iterator(fs::path(K4_SIM).parent_path())) {
            const std::string file = entry.path().filename();
            if (file.starts_with("libk4sim") || file.starts_with("bare_probe") ||
                file == "k4sim-alsa.conf")
                fs::copy(entry.path(), target / file);
        }
    }

    std::string file(const std::string& name) const { return folder_.file("build/" + name); }

    fs::path copy_of_probe(const std::string& name) const {
        fs::copy(file("bare_probe"), file(name));
        return file(name);
    }

    // Words as for a shell, in the folder of the launcher; by root, and by a user without rights.
    void expect(const std::string& words, int status, const std::string& out,
                const std::string& must_say = "", const std::string& build = "build") const {
        for (const bool nobody : {false, true}) {
            SCOPED_TRACE(words + " in " + build + (nobody ? " by nobody" : ""));
            std::vector<std::string> command{"/bin/sh", "-c", "cd \"$0\"; exec " + words,
                                             folder_.file(build)};
            if (nobody && geteuid() == 0)
                command.insert(command.begin(), {"/usr/bin/setpriv", "--reuid=65534",
                                                 "--regid=65534", "--clear-groups", "--"});
            const CommandResult result = run_command(command);
            EXPECT_EQ(result.status, status) << result.error;
            EXPECT_EQ(result.out, out);
            EXPECT_NE(result.error.find(must_say), std::string::npos) << result.error;
            EXPECT_EQ(result.error.empty(), must_say.empty()) << result.error;
        }
    }

    const ScratchFolder folder_;
};

TEST_F(Bare, TheNameOfTheFolderIsNoWayPastTheDevice) {
    for (const std::string name : {"a blank", "a:colon", "$ORIGIN", "$LIB", "semi;colon\t"}) {
        install(name);
        for (const char* probe : bare_probes)
            expect("./k4sim run --quiet ./" + std::string(probe), 0, "virtual\n", "", name);
    }
}

// What the loader warns of only.
TEST_F(Bare, AProgramWithoutTheDeviceIsKilledBeforeItBegins) {
    for (const auto& entry : fs::directory_iterator(folder_.file("build")))
        if (entry.path().filename().string().starts_with("libk4sim")) fs::resize_file(entry, 64);
    for (const char* probe : bare_probes)
        expect("./k4sim run ./" + std::string(probe), 125, "", "killed before it began");
}

// The loader takes no library for them.
TEST_F(Bare, AProgramWithRightsOfItsOwnIsRefused) {
    fs::permissions(copy_of_probe("set-uid"), fs::perms(04755));
    fs::permissions(copy_of_probe("set-gid"), fs::perms(02755));
    const vfs_cap_data raw_ports{VFS_CAP_REVISION_2, {{1 << CAP_SYS_RAWIO, 0}, {0, 0}}};
    const fs::path capable = copy_of_probe("capable");
    const bool can_give =
        setxattr(capable.c_str(), "security.capability", &raw_ports, XATTR_CAPS_SZ_2, 0) == 0;
    EXPECT_EQ(can_give, geteuid() == 0);
    for (const std::string name : {"set-uid", "set-gid", can_give ? "capable" : "set-uid"})
        expect("./k4sim run ./" + name, 2, "", name + " is set-uid, set-gid or has capabilities");
}

TEST_F(Bare, WhateverItIsStartedByItIsOnTheVirtualDevice) {
    for (const std::string name : bare_probes) {
        const std::string probe = "./" + name;
        std::ofstream(file("script")) << "#!" << probe << " \n";
        fs::permissions(file("script"), fs::perms(0755));
        for (const std::string& words :
             {"timeout 60 " + probe, "env " + probe, "env -i " + probe, "nice " + probe,
              "setarch -R " + probe, "xargs " + probe, "find " + name + " -exec " + probe + " \\;",
              "sh -c 'stdbuf -oL " + probe + " 2>/dev/null'", "sh -c '" + probe + "; true'",
              "sh -c 'exec " + probe + "'", "bash -c '" + probe + " & wait'",
              std::string("sh -c ./script")})
            expect("./k4sim run --quiet " + words, 0, "virtual\n");
        for (const char* by : bare_probes)
            for (const std::string way :
                 {"system", "popen", "execl", "execlp", "execle", "execv", "execvp", "execvpe",
                  "fexecve", "execveat", "posix_spawn", "posix_spawnp"})
                expect("./k4sim run --quiet ./" + (by + (" " + way)) + " " + probe, 0, "virtual\n");
    }
}

TEST_F(Bare, WhatCantBeOnTheVirtualDeviceIsRefusedAtItsExecution) {
    fs::permissions(copy_of_probe("set-uid"), fs::perms(04755));
    const std::pair<std::string, std::string> programs[] = {
        {"./set-uid", "k4sim: ./set-uid is set-uid"},
        {"./bare_probe_static", "k4sim: ./bare_probe_static is statically linked"},
        {"/lib64/ld-linux-x86-64.so.2", "ld-linux-x86-64.so.2 is statically linked"},
    };
    for (const auto& [program, must_say] : programs)
        for (const std::string way : {"sh -c", "env", "./bare_probe posix_spawn", "nice"})
            expect("./k4sim run " + way + " " + program, 126, "", must_say);
}

// A program that is past the library.
TEST_F(Bare, TheKernelKeepsPortsAndDeviceFilesFromIt) {
    for (const std::string probe : bare_probes)
        expect("./k4sim run --quiet ./" + probe + " ports", 0, "denied\n");
    expect("./k4sim run /bin/sh -c ': </dev/kmsg'", 2, "", "/dev/kmsg: Permission denied");
    expect("./k4sim run /bin/mknod node c 1 3", 1, "", "node: Permission denied");
    // The rest of the system is there as ever.
    expect("./k4sim run --quiet /bin/sh -c 'for name in null zero full random urandom ptmx fd/0 "
           "stdin; do"
           "  : </dev/$name || exit; done;"
           "cd $(mktemp -d) && mkdir from to && : >from/file && ln from/file to &&"
           "ln to/file /dev/shm/k4-$$ 2>&1 | grep -c cross-device; rm -r $PWD'",
           0, "1\n");
    expect("./without_landlock ./k4sim run ./bare_probe ports", 0, "denied\n", "only seccomp");
}

struct OneDevice : Bare {
    CommandResult record(const std::string& name, const std::string& words) const {
        return run_command({"/bin/sh", "-c",
                            "cd " + folder_.path().string() +
                                "; exec build/k4sim run --quiet --record " + name + " -- " +
                                words});
    }
    std::string recorded(const std::string& path) const {
        std::ostringstream text;
        text << std::ifstream(folder_.file(path), std::ios::binary).rdbuf();
        return text.str();
    }
};

// The record is of the process that has the device, to the byte.
TEST_F(OneDevice, IsOfTheProcessThatOpensItFirst) {
    record("alone", K4_PROGRAM " run");
    record("started", "timeout 600 nice sh -c '/bin/true; \"$0\" run; echo end' " K4_PROGRAM);
    EXPECT_GT(recorded("alone/events.jsonl").size(), 1000U);
    for (const std::string name : {"events.jsonl", "console.txt", "report.json"})
        EXPECT_EQ(recorded("alone/" + name), recorded("started/" + name)) << name;
    const CommandResult twice =
        record("twice", "sh -c '\"$0\" >/dev/null && \"$0\"; echo $? >&2' " K4_PROGRAM);
    EXPECT_TRUE(twice.error.starts_with(
        "k4sim: another process of this run has opened the device, which is for one process\n"))
        << twice.error;
    EXPECT_EQ(twice.error.find("k4sim:", 1), std::string::npos) << twice.error;
}

} // namespace
