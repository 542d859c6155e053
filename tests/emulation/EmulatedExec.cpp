// Preloaded (LD_PRELOAD) into the test programs when a cross build runs them under qemu-arm-static, so that a
// test can start programs as it does natively: itself again in a child process, or a program of the build
// machine such as zbarimg. Two things stand in the way under qemu 7.2's user-mode emulation:
//
// - Qt's process launcher makes its children with clone(CLONE_PIDFD) once waitid(P_PIDFD, ...) shows that the
//   kernel has process file descriptors. qemu passes that probe on to the kernel but refuses the clone flag
//   (EINVAL; qemu supports it from 8.0 on), so every QProcess start would fail. The probe is answered "not
//   supported" here, and Qt forks the classic way.
// - Without a binfmt_misc entry for ARM the kernel cannot exec an ARM program. An exec of a 32-bit ARM ELF
//   file becomes an exec of the emulator named by QSP_EMULATOR, which takes the sysroot from QEMU_LD_PREFIX
//   in the environment and gets this library preloaded again. Programs of the build machine are exec'd as
//   they are, without this ARM library in their LD_PRELOAD.

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

extern "C" char **environ;

namespace {

constexpr long IdTypePidFd = 3; // P_PIDFD, newer than some C library headers
constexpr const char PreloadPrefix[] = "LD_PRELOAD=";

using SyscallFunction = long (*)(long, ...);
using ExecveFunction = int (*)(const char *, char *const[], char *const[]);

// The C library's own function of that name. No function-local static: its guard would wait on a futex, and
// futex waits come through syscall() below.
template<typename Function>
Function next(std::atomic<Function> &slot, const char *name)
{
    Function function = slot.load(std::memory_order_acquire);
    if (!function) {
        function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        slot.store(function, std::memory_order_release);
    }
    return function;
}

std::atomic<SyscallFunction> nextSyscall{nullptr};
std::atomic<ExecveFunction> nextExecve{nullptr};

bool isArmProgram(const char *path)
{
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    Elf32_Ehdr header{};
    const bool complete = ::read(fd, &header, sizeof header) == static_cast<ssize_t>(sizeof header);
    ::close(fd);
    return complete && std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_ident[EI_CLASS] == ELFCLASS32 && header.e_machine == EM_ARM;
}

} // namespace

extern "C" long syscall(long number, ...) noexcept
{
    // Seven words, as many as the C library's own syscall() passes on to the kernel on ARM.
    long a[7];
    va_list arguments;
    va_start(arguments, number);
    for (long &word : a)
        word = va_arg(arguments, long);
    va_end(arguments);
    if (number == SYS_waitid && a[0] == IdTypePidFd) {
        errno = EINVAL;
        return -1;
    }
    return next(nextSyscall, "syscall")(number, a[0], a[1], a[2], a[3], a[4], a[5], a[6]);
}

extern "C" int execve(const char *path, char *const argv[], char *const envp[]) noexcept
{
    const ExecveFunction exec = next(nextExecve, "execve");
    const char *preload = std::getenv("LD_PRELOAD");
    const char *emulator = std::getenv("QSP_EMULATOR");

    std::vector<char *> environment;
    for (char *const *entry = envp; entry && *entry; ++entry) {
        if (std::strncmp(*entry, PreloadPrefix, sizeof PreloadPrefix - 1) != 0)
            environment.push_back(*entry);
    }
    environment.push_back(nullptr);

    if (!emulator || !*emulator || !isArmProgram(path))
        return exec(path, argv, environment.data());

    std::string preloadOption = std::string(PreloadPrefix) + (preload ? preload : "");
    std::vector<char *> arguments{const_cast<char *>(emulator), const_cast<char *>("-0"),
                                  const_cast<char *>(argv[0] ? argv[0] : path)};
    if (preload && *preload) {
        arguments.push_back(const_cast<char *>("-E"));
        arguments.push_back(preloadOption.data());
    }
    arguments.push_back(const_cast<char *>(path));
    for (char *const *argument = argv[0] ? argv + 1 : argv; *argument; ++argument)
        arguments.push_back(*argument);
    arguments.push_back(nullptr);
    return exec(emulator, arguments.data(), environment.data());
}

extern "C" int execv(const char *path, char *const argv[]) noexcept
{
    return execve(path, argv, environ);
}
