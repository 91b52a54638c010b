/// A document open through the interface, with the failures of its calls as exceptions.
#pragma once

#include "path.h"
#include "progress.h"

#include <component/client/client.h>

#include <host/io_object.h>
#include <host/object.h>
#include <host/timed_file_lock.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace arborctl {

/// What a call of the interface refused; `what()` is the code, its text and what was tried, and printable.
class Refusal : public std::runtime_error {
public:
    Refusal(kernel::ResultCode code, std::string_view tried);

    [[nodiscard]] kernel::ResultCode Code() const { return refused; }
    [[nodiscard]] virtual int ExitCode() const;

private:
    kernel::ResultCode refused;
};

/// A document that can't be loaded.
class LoadError : public Refusal {
public:
    using Refusal::Refusal;

    [[nodiscard]] int ExitCode() const override;
};

/// Throws a `Refusal` if `status` is a failure.
void Demand(arbor::Status status, std::string_view tried);

/// What was read, or a `Refusal`.
template <class T>
[[nodiscard]] T Demand(arbor::Result<T> result, std::string_view tried) {
    Demand(arbor::Status(result.Code()), tried);
    return *std::move(result);
}

/// Whether a missing document is made.
enum class Creation {
    Never,
    Safe,   // not where a former document is left in its backups: later saves would replace them
    Force,
};

struct DocumentSettings {
    std::filesystem::path document{};
    bool readOnly = false;
    Creation create = Creation::Never;
    bool convert = false;   // a foreign document may be saved, as a native one
    std::uint32_t backupMode = 0;
    Path root{};                    // the key that paths start at
    std::chrono::seconds wait{5};   // for other processes that use the document
};

/// The path that an argument names.
[[nodiscard]] std::filesystem::path PathOf(const std::string& argument);

/// The file that a symbolic link leads to, so that a save replaces the file and leaves the link; any other path as it
/// is.
[[nodiscard]] std::filesystem::path FollowLink(const std::filesystem::path& path);

enum class Access {
    Read,
    Change,
};

/// Keeps other runs from changing the document, from before a run loads it until after it has saved it; null where the
/// document's folder is missing. Waits while another run holds it. Throws a `LoadError` if that takes too long.
[[nodiscard]] std::unique_ptr<host::TimedFileLock> LockDocument(const DocumentSettings& settings);

/// A path as messages show it, with what isn't printable escaped.
[[nodiscard]] std::string PathText(const std::filesystem::path& path);

/// The whole content. Waits while the file can't be opened. Throws `std::runtime_error` if it can't be read.
[[nodiscard]] std::string ReadFile(const std::filesystem::path& path, std::chrono::seconds wait);

/// "loads", or that it doesn't and why.
[[nodiscard]] std::string LoadState(kernel::ResultCode code);

/// Not for two threads. What was changed goes with the object unless `Save` is called. Every member may throw a
/// `Refusal`.
class Document {
public:
    /// Loads the document, and locks it first for `Access::Change`. Waits while another process has it open. Shows it,
    /// and the saving, as stages of `progress`. Throws a `LoadError` if it can't be loaded, and a plain `Refusal` if it
    /// has no key `settings.root` or can't be made. A new document gets that key.
    Document(host::Kernel& kernel, const DocumentSettings& settings, Progress& progress, Access access = Access::Read);
    /// Loads what `io` holds, and saves there; nothing makes an empty tree.
    Document(host::Kernel& kernel, host::IoObject& io);
    /// A tree without a document.
    explicit Document(host::Kernel& kernel);

    [[nodiscard]] arbor::Store Root() const { return arbor::Store(object->Get()); }

    /// Stores the document if it was changed. Throws `std::runtime_error` for a foreign one that isn't to be converted.
    void Save() const;
    /// The same whether it was or not.
    void SaveAnyway() const;

private:
    [[nodiscard]] kernel::ResultCode LoadOnce(host::Kernel& kernel, const DocumentSettings& settings);

    std::unique_ptr<host::TimedFileLock> lock{};   // released after the object is gone
    std::optional<host::Object> object;
    Progress* stages = nullptr;
    std::filesystem::path file{};
    bool mayConvert = true;
    std::chrono::seconds wait{0};
};

}   // namespace arborctl
