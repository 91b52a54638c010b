// `ModuleFile` and the functions of `system.h` on Linux.

#include <host/module_file.h>
#include <host/system.h>
#include <host/text.h>

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace host {
namespace {

constexpr int kMaxLinks = 40;   // the limit of Linux for one path

using EntryCall = int (*)(void* first, std::uint32_t reason, void* third);

/// The entry point in the ELF header of a loaded module, or null. The header is at the start of the first segment.
EntryCall FindEntry(void* handle) {
    const link_map* map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, static_cast<void*>(&map)) != 0) return nullptr;
    const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(map->l_addr);
    if (header == nullptr || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 || header->e_entry == 0) return nullptr;
    return reinterpret_cast<EntryCall>(map->l_addr + header->e_entry);
}

/// Ignores the signals of the terminal's keys: they are for the program that runs in the foreground.
class IgnoredKeys {
public:
    IgnoredKeys() : interrupt(std::signal(SIGINT, SIG_IGN)), quit(std::signal(SIGQUIT, SIG_IGN)) {}
    ~IgnoredKeys() {
        std::signal(SIGINT, interrupt);
        std::signal(SIGQUIT, quit);
    }
    IgnoredKeys(const IgnoredKeys&) = delete;
    IgnoredKeys& operator=(const IgnoredKeys&) = delete;

private:
    using Handler = void (*)(int);
    Handler interrupt;
    Handler quit;
};

/// Starts the shell with the default action of the terminal's signals. Throws `std::system_error`.
pid_t StartShell(const char* const* arguments) {
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t process = 0;
    const int error =
        posix_spawn(&process, "/bin/sh", nullptr, &attributes, const_cast<char* const*>(arguments), environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) throw std::system_error(error, std::generic_category(), "can't start /bin/sh");
    return process;
}

int DescriptorOf(Stream stream) { return stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO; }

}   // namespace

ModuleFile::ModuleFile(const std::filesystem::path& path) {
    const std::filesystem::path file = std::filesystem::absolute(path);
    handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw ModuleError("can't load the module: " + Printable(dlerror()));
    const EntryCall call = FindEntry(handle);
    if (call == nullptr) {
        dlclose(handle);
        throw ModuleError("can't start the module: " + Printable(file.string()) + ": its header has no entry point");
    }
    entry = call;
}

ModuleFile::~ModuleFile() { dlclose(handle); }

std::string_view PathFault(std::string_view path) {
    if (!IsUtf8(path)) return "the path isn't UTF-8";
    return path.find('\\') == std::string_view::npos ? ""
                                                     : "the path has a backslash, which separates names in the module";
}

std::filesystem::path RealPath(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::path file = std::filesystem::absolute(path);
    std::filesystem::path real = std::filesystem::canonical(file, error);
    if (!error) return real;
    if (std::filesystem::exists(file, error)) return file;   // a link in /proc to a pipe: its target has no path
    for (int links = 0; links < kMaxLinks && std::filesystem::is_symlink(file, error); ++links) {
        file = file.parent_path() / std::filesystem::read_symlink(file);
    }
    const std::filesystem::path directory = std::filesystem::canonical(file.parent_path(), error);
    return error ? file : directory / file.filename();
}

/// The root of the file system is the drive Z.
std::u16string DocumentName(const std::filesystem::path& path) {
    const std::string file = RealPath(path).string();
    const std::string_view fault = PathFault(file);
    if (!fault.empty()) throw PathError(Printable(file).append(": ").append(fault));
    std::u16string name = u"Z:" + ToUtf16(file);
    std::replace(name.begin(), name.end(), u'/', u'\\');
    return name;
}

std::filesystem::path ProgramDirectory() { return std::filesystem::read_symlink("/proc/self/exe").parent_path(); }

const char* ModuleExtension() { return ".so"; }

std::vector<std::string> ProgramArguments(int count, const char* const* values) {
    return {values + std::min(count, 1), values + count};
}

std::string EnvironmentVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool IsTerminal(Stream stream) { return isatty(DescriptorOf(stream)) != 0; }

void PrepareStandardStreams() {
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {   // `open` returns the lowest free descriptor
        descriptor = open("/dev/null", O_RDONLY);
    }
    if (descriptor > STDERR_FILENO) close(descriptor);
}

bool IsPipeClosed(Stream stream) {
    pollfd state{DescriptorOf(stream), POLLOUT, 0};
    return poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0;
}

bool IsSharingViolation(const std::error_code&) { return false; }

/// The module locks bytes beyond the end of any content of a file that it has open, by the open file description. While
/// all bytes are locked here, the module can't claim the file.
bool RemoveIfUnused(const std::filesystem::path& path) {
    const auto fail = [&path](int number) {
        throw std::filesystem::filesystem_error("can't remove", path, {number, std::generic_category()});
    };
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (file < 0) fail(errno);
    struct flock all {};
    all.l_type = F_WRLCK;
    all.l_whence = SEEK_SET;
    const bool isUnused = fcntl(file, F_OFD_SETLK, &all) == 0;
    const int error = isUnused && unlink(path.c_str()) != 0 ? errno : 0;
    close(file);
    if (error != 0) fail(error);
    return isUnused;
}

int RunWithFile(const std::string& commandLine, const std::filesystem::path& file) {
    const std::string script = commandLine + " \"$@\"";
    const char* const arguments[] = {"sh", "-c", script.c_str(), "sh", file.c_str(), nullptr};
    const IgnoredKeys ignored;
    const pid_t process = StartShell(arguments);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int CommandNotFoundCode() { return 127; }

const char* DefaultEditor() { return "vi"; }

void FlushToDisk(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool flushed = file >= 0 && fsync(file) == 0;
    const std::error_code error(errno, std::generic_category());
    if (file >= 0) close(file);
    if (!flushed) throw std::filesystem::filesystem_error("can't flush", path, error);
}

}   // namespace host
