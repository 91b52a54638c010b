// Errors, the lock file and the retries while another process uses the document.

#include "document.h"

#include "addressing.h"
#include "backups.h"
#include "document_scan.h"
#include "exit_codes.h"
#include "retry.h"

#include <host/result_text.h>
#include <host/system.h>
#include <host/text.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace arborctl {
namespace {

/// Resolves links, so that all paths of one document use one lock.
std::filesystem::path LockFilePath(const std::filesystem::path& document) {
    return host::RealPath(document) += ".lock";
}

/// Whether another run holds the lock. Its save may have moved the document to a backup and not yet replaced it.
bool IsBeingSaved(const std::filesystem::path& document) {
    std::error_code unknown;
    return std::filesystem::exists(LockFilePath(document), unknown);
}

/// True for a writable regular file: only another process that has it open can prevent its replacement.
bool IsReplaceable(const std::filesystem::path& document) {
    using std::filesystem::perms;
    constexpr perms kWriting = perms::owner_write | perms::group_write | perms::others_write;
    std::error_code unknown;
    const std::filesystem::file_status status = std::filesystem::status(document, unknown);
    return std::filesystem::is_regular_file(status) && (status.permissions() & kWriting) != perms::none;
}

/// Throws a `StoreError` if a backup or a temporary file of the missing `document` isn't empty.
void ThrowIfFormerDocumentRemains(const std::filesystem::path& document) {
    for (const BackupFile& backup : FindBackups(document)) {
        if (!backup.isOverwritten || std::filesystem::file_size(backup.path) == 0) continue;
        const std::string file = PathText(document);
        const std::string name = PathText(backup.path.filename());
        std::string reason = name;
        reason.append(" holds a former ").append(file).append(": \"arborctl ").append(file).append(" restore ");
        reason.append(name).append("\" restores it, --create=force creates a new one");
        throw StoreError(kernel::kAlreadyExists, reason);
    }
}

/// Returns what to do about a document that can't be loaded, for the end of the message.
std::string LoadHint(kernel::ResultCode code, bool wasToChange) {
    if (code == kernel::kNoDocument && wasToChange) return "; --create makes a new one";
    if (code == kernel::kBadDocument || code == kernel::kInvalidArgument) return "; \"check\" shows where and why";
    return "";
}

}   // namespace

int StoreError::ExitCode() const { return code == kernel::kFileInUse ? kExitNotLoaded : kExitRefused; }

int LoadError::ExitCode() const { return kExitNotLoaded; }

/// The tool's own buffers are never too small: the code means a number without a text.
std::string StoreError::Reason(kernel::ResultCode result) {
    return result == kernel::kBufferTooSmall ? "0x80000044: the text of a tDOUBLE is longer than 255 characters"
                                             : host::Describe(result);
}

StoreError::StoreError(kernel::ResultCode result, std::string_view operation)
    : std::runtime_error(Reason(result).append(" (").append(host::Printable(operation)).append(")")), code(result) {}

void ThrowIfFailed(arbor::Status status, std::string_view operation) {
    if (!status) throw StoreError(status.Code(), operation);
}

std::filesystem::path PathFromArgument(const std::string& argument) {
    return std::u8string(argument.begin(), argument.end());
}

std::filesystem::path FollowLink(const std::filesystem::path& path) {
    std::error_code ignored;   // a path whose status can't be read is returned unchanged
    return std::filesystem::is_symlink(path, ignored) ? host::RealPath(path) : path;
}

std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return host::Printable({reinterpret_cast<const char*>(text.data()), text.size()});
}

std::string ReadFile(const std::filesystem::path& path, std::chrono::seconds wait, std::uintmax_t maxBytes) {
    std::ifstream stream;
    RetryFor(wait, [&] {
        stream.open(path, std::ios::binary);
        return stream.is_open();
    });
    std::error_code unknown;
    if (!stream || std::filesystem::is_directory(path, unknown))
        throw std::runtime_error(PathText(path) + " can't be read");
    if (!std::filesystem::is_regular_file(path, unknown))   // a pipe has no size
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    std::string content(static_cast<std::size_t>(std::min(std::filesystem::file_size(path), maxBytes)), '\0');
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream) throw std::runtime_error(PathText(path) + " can't be read");
    return content;
}

std::string LoadState(kernel::ResultCode code) {
    return kernel::IsSuccess(code) ? "loads" : "doesn't load: " + host::Describe(code);
}

std::unique_ptr<host::TimedFileLock> LockDocument(const DocumentSettings& settings) {
    const std::filesystem::path file = LockFilePath(settings.document);
    if (settings.create != Creation::Never) std::filesystem::create_directories(file.parent_path());
    if (!std::filesystem::exists(file.parent_path())) return nullptr;
    auto lock = std::make_unique<host::TimedFileLock>(file, settings.wait);
    if (!lock->IsHeld()) throw LoadError(kernel::kFileInUse, "another run is changing " + PathText(settings.document));
    return lock;
}

Document::Document(host::Kernel& kernel, const DocumentSettings& settings, Progress& stages, Access access)
    : progress(&stages), file(settings.document), isConversionAllowed(settings.convert), wait(settings.wait) {
    const bool mayChange = (access == Access::Change && !settings.readOnly) || settings.create != Creation::Never;
    if (mayChange && access != Access::Trial) lock = LockDocument(settings);
    const bool isNew = settings.create != Creation::Never && !std::filesystem::exists(file);
    if (isNew && settings.create == Creation::Safe) ThrowIfFormerDocumentRemains(file);
    if (isNew && access == Access::Trial) {
        isConversionAllowed = true;
        LoadEmpty(kernel);
        return;
    }
    const Progress::Stage stage = stages.Begin("loading", file);
    kernel::ResultCode code = kernel::kDone;
    RetryFor(wait, [&] {
        code = TryLoad(kernel, settings);
        return !(code == kernel::kFileInUse || (code == kernel::kNoDocument && lock == nullptr && IsBeingSaved(file)));
    });
    if (kernel::IsFailure(code))
        throw LoadError(code, "loading " + PathText(file) + LoadHint(code, access != Access::Read));
    if (settings.root.IsRoot()) return;
    const arbor::Key root = isNew ? MakeKey(Root(), settings.root) : OpenKey(Root(), settings.root);
    if (isNew) Save();
    ThrowIfFailed(arbor::Status(object->OwnMethods().SetRootKey(object->Get(), root.Handle())), settings.root.Text());
}

Document::Document(host::Kernel& kernel, host::IoObject& io) : object(kernel) {
    ThrowIfFailed(arbor::Status(object->SetIoObject(io.Get())), "setting the IO object");
    const kernel::ResultCode code = object->Ready();
    if (kernel::IsFailure(code)) throw LoadError(code, "loading");
}

Document::Document(host::Kernel& kernel) { LoadEmpty(kernel); }

void Document::LoadEmpty(host::Kernel& kernel) {
    object.emplace(kernel);
    ThrowIfFailed(arbor::Status(object->Ready()), "creating an empty tree");
}

/// Loads into a new object: an object can load only once.
kernel::ResultCode Document::TryLoad(host::Kernel& kernel, const DocumentSettings& settings) {
    object.emplace(kernel);
    const auto set = [](kernel::ResultCode code) { ThrowIfFailed(arbor::Status(code), "setting up the document"); };
    set(object->SetDocument(file));
    set(object->SetNumber(kernel::PropertyReadOnly, settings.readOnly ? 1 : 0));
    set(object->SetNumber(kernel::PropertyOpenFlags, settings.create != Creation::Never ? kernel::kOpenFlagCreate : 0));
    const bool hasFormer = std::filesystem::exists(file);   // the first save of a new document has none to keep
    set(object->SetNumber(kernel::PropertyBackupMode,
                          hasFormer || settings.backupMode != kBackupFormer ? settings.backupMode : 0));
    return object->Ready();
}

/// Reads the whole file only if its start has no root element.
bool Document::IsFileForeign() const {
    constexpr std::uintmax_t kStartBytes = 64 * 1024;
    const DocumentForm form = FormOfRoot(WithoutByteOrderMark(ReadFile(file, wait, kStartBytes)));
    if (form != DocumentForm::Unknown) return form == DocumentForm::Foreign;
    return IsForeign(WithoutByteOrderMark(ReadFile(file, wait)));
}

void Document::ThrowIfNotConvertible() const {
    if (!isConversionAllowed && IsFileForeign()) {
        throw std::runtime_error(
            PathText(file) +
            " is a foreign document: a change saves it as a native one, without its comments, processing "
            "instructions and what follows a text in an element; --convert allows that, and \"import\" copies it into "
            "another document");
    }
}

void Document::Save() const {
    ThrowIfNotConvertible();
    const Progress::Stage stage = progress != nullptr ? progress->Begin("saving", file) : Progress::Stage();
    kernel::ResultCode code = kernel::kDone;
    RetryFor(wait, [&] {
        code = Root().Save().Code();
        return !((code == kernel::kFileInUse || code == kernel::kAccessDenied) && IsReplaceable(file));
    });
    ThrowIfFailed(arbor::Status(code), "saving " + PathText(file));
}

/// Adds and removes a key: that marks the document as changed and doesn't change it.
void Document::SaveUnconditionally() const {
    std::string name = "#";
    while (Root().Open(name)) name += '#';
    ThrowIfFailed(arbor::Status(Root().Make(name).Code()), "marking the document as changed");
    ThrowIfFailed(Root().RemoveKey(name), "marking the document as changed");
    Save();
}

}   // namespace arborctl
