/// Loads, locks and saves a document through the module's interface, and turns failed calls into exceptions.
#pragma once

#include "path.h"
#include "progress.h"

#include <component/client/client.h>

#include <host/io_object.h>
#include <host/object.h>
#include <host/timed_file_lock.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace arborctl {

/// Reports a failed call of the store. `what()` holds the code, its text and the operation, without control characters.
class StoreError : public std::runtime_error {
public:
    StoreError(kernel::ResultCode result, std::string_view operation);

    [[nodiscard]] kernel::ResultCode Code() const { return code; }
    [[nodiscard]] virtual int ExitCode() const;

private:
    [[nodiscard]] static std::string Reason(kernel::ResultCode result);

    kernel::ResultCode code;
};

/// The document can't be loaded.
class LoadError : public StoreError {
public:
    using StoreError::StoreError;

    [[nodiscard]] int ExitCode() const override;
};

/// Throws a `StoreError` if `status` is a failure.
void ThrowIfFailed(arbor::Status status, std::string_view operation);

/// Returns the value, or throws a `StoreError` if `result` is a failure.
template <class T>
[[nodiscard]] T ValueOrThrow(arbor::Result<T> result, std::string_view operation) {
    ThrowIfFailed(arbor::Status(result.Code()), operation);
    return *std::move(result);
}

/// Whether a missing document is created.
enum class Creation {
    Never,
    Safe,    // unless there are backups of an earlier document, which later saves would replace
    Force,   // always
};

/// The backup mode in which each save keeps the former document, with the ending ".bak2".
inline constexpr std::uint32_t kBackupFormer = 1;

struct DocumentSettings {
    std::filesystem::path document{};
    bool readOnly = false;
    Creation create = Creation::Never;
    bool convert = false;   // allows a save to convert a foreign document into a native one
    std::uint32_t backupMode = 0;
    Path root{};                    // the key that is opened as the root
    std::chrono::seconds wait{5};   // how long to wait for other processes that use the document
};

/// Converts an argument, which is UTF-8, to a path.
[[nodiscard]] std::filesystem::path PathFromArgument(const std::string& argument);

/// Returns the target if `path` is a symbolic link, else `path`. A save replaces the target and keeps the link.
[[nodiscard]] std::filesystem::path FollowLink(const std::filesystem::path& path);

enum class Access {
    Read,
    Change,
    Trial,   // as `Change`, but without a lock and without a new file: nothing will be saved
};

/// Locks the document against other runs that change it; held from before the load until after the save. Returns null
/// if the document's directory is missing. Waits up to `settings.wait` for another run, then throws a `LoadError`.
[[nodiscard]] std::unique_ptr<host::TimedFileLock> LockDocument(const DocumentSettings& settings);

/// Returns `path` for a message, with unprintable bytes escaped.
[[nodiscard]] std::string PathText(const std::filesystem::path& path);

/// Returns the content of a file; of a regular one at most `maxBytes`. Retries for `wait` if it can't be opened. Throws
/// `std::runtime_error` on failure.
[[nodiscard]] std::string ReadFile(const std::filesystem::path& path, std::chrono::seconds wait,
                                   std::uintmax_t maxBytes = std::numeric_limits<std::uintmax_t>::max());

/// Returns "loads", or "doesn't load" with the text of `code`.
[[nodiscard]] std::string LoadState(kernel::ResultCode code);

/// A loaded document. Changes are lost unless `Save` is called. Every member may throw a `StoreError`. For one thread
/// at a time.
class Document {
public:
    /// Loads the document. Locks it first if `access` is `Change` or if it may be created. Waits while another process
    /// has it open. With `Trial`, a missing document that may be created is an empty tree. Reports loading and saving
    /// as stages of `progress`, which must outlive the document. Creates the key `settings.root` in a new document.
    /// Throws a `LoadError` if the document can't be loaded, and another `StoreError` if an existing one doesn't have
    /// that key or a new one can't be created.
    Document(host::Kernel& kernel, const DocumentSettings& settings, Progress& progress, Access access = Access::Read);
    /// Loads from `io` and saves to it. An empty `io` gives an empty tree. Throws a `LoadError` if it can't be loaded.
    Document(host::Kernel& kernel, host::IoObject& io);
    /// An empty tree in memory, for conversions of values.
    explicit Document(host::Kernel& kernel);

    [[nodiscard]] arbor::Store Root() const { return arbor::Store(object->Get()); }

    /// Saves the document if it was changed. Throws `std::runtime_error` if it is foreign and may not be converted.
    void Save() const;
    /// Throws `std::runtime_error` if the document is foreign and may not be converted.
    void ThrowIfNotConvertible() const;
    /// Saves even an unchanged document.
    void SaveUnconditionally() const;

private:
    [[nodiscard]] bool IsFileForeign() const;
    void LoadEmpty(host::Kernel& kernel);
    [[nodiscard]] kernel::ResultCode TryLoad(host::Kernel& kernel, const DocumentSettings& settings);

    std::unique_ptr<host::TimedFileLock> lock{};   // before `object`, so that it is released after it
    std::optional<host::Object> object;
    Progress* progress = nullptr;   // null for a document without a file
    std::filesystem::path file{};
    bool isConversionAllowed = true;
    std::chrono::seconds wait{0};
};

}   // namespace arborctl
