/// A module's file in memory, and the way into it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>

namespace host {

/// A module that can't be loaded or started; `what()` names the file and the reason.
class ModuleError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The entry of a module: a truth value for the system's reasons and the host's.
using EntryPoint = std::function<int(void* first, std::uint32_t reason, void* third)>;

/// Owner of a loaded module; the destructor unloads it, and nothing of it may run any more.
class ModuleFile {
public:
    /// Loads the file and finds the entry that its header names: a module exports nothing. Throws `ModuleError`.
    explicit ModuleFile(const std::filesystem::path& path);
    ~ModuleFile();
    ModuleFile(const ModuleFile&) = delete;
    ModuleFile& operator=(const ModuleFile&) = delete;

    [[nodiscard]] const EntryPoint& Entry() const { return entry; }

private:
    void* handle = nullptr;
    EntryPoint entry;
};

}   // namespace host
