// Stand-ins for the execution of another program, which is then on the virtual device as this one
// is. The symbol's name stands in quotes.
#include "sim/host/inheritance.h"
#include "sim/host/real.h"
#include "sim/programs/environment.h"
#include "sim/programs/search_path.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace k4sim {

namespace {

using Variables = char* const*;
// Executes the file with these variables; the result is that of execve.
using Execution = std::function<int(const char* path, Variables variables)>;

// Runs `execution` with what the program at `path` needs to be on the virtual device.
int execute(const char* path, Variables variables, const Execution& execution) {
    if (!in_run() || path == nullptr) return execution(path, variables);
    if (!can_execute(path)) return -1;
    const std::vector<std::string> texts = environment_for(path, variables);
    return execution(path, pointers_to(texts).data());
}

int execute_file(const char* path, Variables arguments, Variables variables) {
    return execute(path, variables, [&](const char* file, Variables all) {
        return real_function<int(const char*, Variables, Variables)>("execve")(file, arguments,
                                                                               all);
    });
}

// Whether the search goes on behind such a one.
bool is_not_meant(int error) {
    return error == ENOENT || error == ENOTDIR || error == EACCES || error == ENODEV ||
           error == ETIMEDOUT || error == ESTALE;
}

// What has no header of any kind is a script of the shell's.
int execute_as_script(const std::string& path, Variables arguments, Variables variables) {
    std::vector<char*> words{const_cast<char*>("/bin/sh"), const_cast<char*>(path.c_str())};
    if (*arguments != nullptr) ++arguments;
    for (; *arguments != nullptr; ++arguments)
        words.push_back(*arguments);
    words.push_back(nullptr);
    return execute_file("/bin/sh", words.data(), variables);
}

// The first path of that name at which `attempt` gives 0, or an error that ends the search; the
// result is the error. One that may not be executed is told of, where no other could be.
template <typename Attempt>
int search(std::string_view name, Attempt attempt) {
    const bool is_path = name.find('/') != std::string_view::npos;
    bool denied = false;
    int error = ENOENT;
    for (const std::string& path : paths_of(std::string(name))) {
        error = attempt(path);
        if (error == 0 || is_path || !is_not_meant(error)) return error;
        denied = denied || error == EACCES;
    }
    return denied ? EACCES : error;
}

int search_and_execute(const char* name, Variables arguments, Variables variables) {
    errno = search(name, [&](const std::string& path) {
        execute_file(path.c_str(), arguments, variables);
        if (errno == ENOEXEC) execute_as_script(path, arguments, variables);
        return errno;
    });
    return -1;
}

// The arguments of a call such as execl: behind the first one, up to the null pointer.
std::vector<char*> list_from(const char* first, va_list& rest) {
    std::vector<char*> arguments{const_cast<char*>(first)};
    while (arguments.back() != nullptr)
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started it
        arguments.push_back(va_arg(rest, char*));
    return arguments;
}

using SpawnFunction = int(pid_t*, const char*, const posix_spawn_file_actions_t*,
                          const posix_spawnattr_t*, Variables, Variables);

// With the environment of this process such as a program of that path needs it, which libc's own
// executions take.
class EnvironmentOfRun {
public:
    explicit EnvironmentOfRun(const char* path) : former_(environ) {
        if (!in_run()) return;
        texts_ = environment_for(path, environ);
        pointers_ = pointers_to(texts_);
        environ = pointers_.data();
    }
    ~EnvironmentOfRun() { environ = former_; }
    EnvironmentOfRun(const EnvironmentOfRun&) = delete;
    EnvironmentOfRun& operator=(const EnvironmentOfRun&) = delete;

private:
    char** former_;
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

std::string path_of_descriptor(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

std::string path_at(int folder, const char* path) {
    if (*path == '/' || folder == AT_FDCWD) return path;
    return path_of_descriptor(folder) + (*path == '\0' ? "" : "/" + std::string(path));
}

} // namespace

extern "C" {

int stand_in_execve(const char* path, Variables arguments, Variables variables) asm("execve");
int stand_in_execve(const char* path, Variables arguments, Variables variables) {
    return execute_file(path, arguments, variables);
}

int stand_in_execv(const char* path, Variables arguments) asm("execv");
int stand_in_execv(const char* path, Variables arguments) {
    return execute_file(path, arguments, environ);
}

int stand_in_execvp(const char* name, Variables arguments) asm("execvp");
int stand_in_execvp(const char* name, Variables arguments) {
    return search_and_execute(name, arguments, environ);
}

int stand_in_execvpe(const char* name, Variables arguments, Variables variables) asm("execvpe");
int stand_in_execvpe(const char* name, Variables arguments, Variables variables) {
    return search_and_execute(name, arguments, variables);
}

int stand_in_execl(const char* path, const char* first, ...) asm("execl");
int stand_in_execl(const char* path, const char* first, ...) {
    va_list rest;
    va_start(rest, first);
    const std::vector<char*> arguments = list_from(first, rest);
    va_end(rest);
    return execute_file(path, arguments.data(), environ);
}

int stand_in_execlp(const char* name, const char* first, ...) asm("execlp");
int stand_in_execlp(const char* name, const char* first, ...) {
    va_list rest;
    va_start(rest, first);
    const std::vector<char*> arguments = list_from(first, rest);
    va_end(rest);
    return search_and_execute(name, arguments.data(), environ);
}

int stand_in_execle(const char* path, const char* first, ...) asm("execle");
int stand_in_execle(const char* path, const char* first, ...) {
    va_list rest;
    va_start(rest, first);
    const std::vector<char*> arguments = list_from(first, rest);
    char* const* const variables = va_arg(rest, char**);
    va_end(rest);
    return execute_file(path, arguments.data(), variables);
}

int stand_in_execveat(int folder, const char* path, Variables arguments, Variables variables,
                      int flags) asm("execveat");
int stand_in_execveat(int folder, const char* path, Variables arguments, Variables variables,
                      int flags) {
    return execute(path_at(folder, path).c_str(), variables, [&](const char*, Variables all) {
        return real_function<int(int, const char*, Variables, Variables, int)>("execveat")(
            folder, path, arguments, all, flags);
    });
}

int stand_in_fexecve(int descriptor, Variables arguments, Variables variables) asm("fexecve");
int stand_in_fexecve(int descriptor, Variables arguments, Variables variables) {
    const std::string path = path_of_descriptor(descriptor);
    return execute(path.c_str(), variables, [&](const char*, Variables all) {
        return real_function<int(int, Variables, Variables)>("fexecve")(descriptor, arguments, all);
    });
}

int stand_in_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                   const posix_spawnattr_t* attributes, Variables arguments,
                   Variables variables) asm("posix_spawn");
int stand_in_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                   const posix_spawnattr_t* attributes, Variables arguments, Variables variables) {
    const int result = execute(path, variables, [&](const char* file, Variables all) {
        return real_function<SpawnFunction>("posix_spawn")(child, file, actions, attributes,
                                                           arguments, all);
    });
    return result < 0 ? errno : result;
}

int stand_in_spawnp(pid_t* child, const char* name, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, Variables arguments,
                    Variables variables) asm("posix_spawnp");
int stand_in_spawnp(pid_t* child, const char* name, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, Variables arguments, Variables variables) {
    return search(name, [&](const std::string& path) {
        return stand_in_spawn(child, path.c_str(), actions, attributes, arguments, variables);
    });
}

int stand_in_system(const char* command) asm("system");
int stand_in_system(const char* command) {
    const EnvironmentOfRun environment("/bin/sh");
    return real_function<int(const char*)>("system")(command);
}

std::FILE* stand_in_popen(const char* command, const char* type) asm("popen");
std::FILE* stand_in_popen(const char* command, const char* type) {
    const EnvironmentOfRun environment("/bin/sh");
    return real_function<std::FILE*(const char*, const char*)>("popen")(command, type);
}

} // extern "C"

} // namespace k4sim
