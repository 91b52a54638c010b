/// Loads a module's file into the process and finds its entry point.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>

namespace host {

/// A module couldn't be loaded or started, or an object couldn't be made by it; `what()` gives the reason.
class ModuleError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A module's entry point, which returns 0 on a failure. `reason` is one of the system loader's or `kHostStartReason`;
/// with the latter, `first` is the root object and `third` points to a result code.
using EntryPoint = std::function<int(void* first, std::uint32_t reason, void* third)>;

/// Owner of a loaded module. The destructor unloads it; no thread may be executing its code then.
class ModuleFile {
public:
    /// Loads the file and reads the entry point from its header, since a module exports no symbol. Throws
    /// `ModuleError`.
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
