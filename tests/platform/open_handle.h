/// What the tests of files have in common: a handle that closes itself, and the error of the call before.
#pragma once

#include <component/platform/errors.h>
#include <component/platform/files.h>

#include <filesystem>
#include <string>

namespace platform_test {

/// The layer is this project's own work here and not the system's. Where it is the system's, rows marked `OursOnly` are
/// left out: they ask for what Windows does and what emulators of it, or they for an administrator, do otherwise.
inline constexpr bool kLayerIsOurs = std::filesystem::path::preferred_separator == '/';
enum class Scope {
    Everywhere,
    OursOnly
};

[[nodiscard]] constexpr bool IsLeftOut(Scope scope) { return scope == Scope::OursOnly && !kLayerIsOurs; }

inline constexpr std::uint32_t kShareAll = platform::kShareRead | platform::kShareWrite | platform::kShareDelete;

class OpenHandle {
public:
    OpenHandle(const std::u16string& path, std::uint32_t access, std::uint32_t share, std::uint32_t creation,
               std::uint32_t flags = 0) {
        platform::SetLastError(platform::kErrorSuccess);
        handle = platform::CreateFileW(path.c_str(), access, share, nullptr, creation, flags, nullptr);
        openError = handle == platform::kInvalidHandle ? platform::GetLastError() : platform::kErrorSuccess;
    }
    OpenHandle(const OpenHandle&) = delete;
    OpenHandle& operator=(const OpenHandle&) = delete;
    ~OpenHandle() { Close(); }

    void Close() {
        if (handle != platform::kInvalidHandle) platform::CloseHandle(handle);
        handle = platform::kInvalidHandle;
    }

    /// 0 for a file that is open.
    [[nodiscard]] std::uint32_t Error() const { return openError; }
    [[nodiscard]] platform::Handle Get() const { return handle; }

private:
    platform::Handle handle;
    std::uint32_t openError;
};

/// 0 for a call that succeeded, else its error.
[[nodiscard]] inline std::uint32_t ErrorOf(bool succeeded) {
    return succeeded ? platform::kErrorSuccess : platform::GetLastError();
}

}   // namespace platform_test
