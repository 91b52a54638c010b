#include "document.h"

#include "addressing.h"
#include "backups.h"
#include "document_scan.h"
#include "exit_codes.h"
#include "retry.h"

#include <host/result_text.h>
#include <host/system.h>
#include <host/text.h>

#include <fstream>

namespace arborctl {
namespace {

/// Paths that lead to one document have one lock.
std::filesystem::path LockFile(const std::filesystem::path& document) { return host::RealPath(document) += ".lock"; }

/// A save with backups moves the document away before it moves the new one there.
bool IsBeingReplaced(const std::filesystem::path& document) {
    std::error_code unknown;
    return std::filesystem::exists(LockFile(document), unknown);
}

/// Whether only a process that has the document open can be the reason that it can't be replaced.
bool IsReplaceable(const std::filesystem::path& document) {
    using std::filesystem::perms;
    constexpr perms kWriting = perms::owner_write | perms::group_write | perms::others_write;
    std::error_code unknown;
    const std::filesystem::file_status status = std::filesystem::status(document, unknown);
    return std::filesystem::is_regular_file(status) && (status.permissions() & kWriting) != perms::none;
}

/// Throws a `Refusal` if the missing `document` is left in a backup or a temporary file.
void RefuseFormerDocument(const std::filesystem::path& document) {
    for (const BackupFile& backup : FindBackups(document)) {
        if (!backup.isReplaced || std::filesystem::file_size(backup.path) == 0) continue;
        const std::string file = PathText(document);
        const std::string left = PathText(backup.path.filename());
        throw Refusal(kernel::kAlreadyExists, left + " holds a former " + file + ": \"arborctl " + file + " restore " +
                                                  left + "\" brings it back, --create=force makes a new one");
    }
}

}   // namespace

int Refusal::ExitCode() const { return refused == kernel::kFileInUse ? kExitNotLoaded : kExitRefused; }

int LoadError::ExitCode() const { return kExitNotLoaded; }

Refusal::Refusal(kernel::ResultCode code, std::string_view tried)
    : std::runtime_error(host::Describe(code).append(" (").append(host::Printable(tried)).append(")")), refused(code) {}

void Demand(arbor::Status status, std::string_view tried) {
    if (!status) throw Refusal(status.Code(), tried);
}

std::filesystem::path PathOf(const std::string& argument) { return std::u8string(argument.begin(), argument.end()); }

std::filesystem::path FollowLink(const std::filesystem::path& path) {
    std::error_code ignored;   // a path that can't be examined is no link
    return std::filesystem::is_symlink(path, ignored) ? host::RealPath(path) : path;
}

std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return host::Printable({reinterpret_cast<const char*>(text.data()), text.size()});
}

std::string ReadFile(const std::filesystem::path& path, std::chrono::seconds wait) {
    std::ifstream stream;
    RetryFor(wait, [&] {
        stream.open(path, std::ios::binary | std::ios::ate);
        return stream.is_open();
    });
    std::string content(stream ? static_cast<std::size_t>(stream.tellg()) : 0, '\0');
    stream.seekg(0);
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream) throw std::runtime_error(PathText(path) + " can't be read");
    return content;
}

std::string LoadState(kernel::ResultCode code) {
    return kernel::IsSuccess(code) ? "loads" : "doesn't load: " + host::Describe(code);
}

std::unique_ptr<host::TimedFileLock> LockDocument(const DocumentSettings& settings) {
    const std::filesystem::path file = LockFile(settings.document);
    if (settings.create != Creation::Never) std::filesystem::create_directories(file.parent_path());
    if (!std::filesystem::exists(file.parent_path())) return nullptr;
    auto lock = std::make_unique<host::TimedFileLock>(file, settings.wait);
    if (!lock->IsHeld()) throw LoadError(kernel::kFileInUse, "another run changes " + PathText(settings.document));
    return lock;
}

Document::Document(host::Kernel& kernel, const DocumentSettings& settings, Progress& progress, Access access)
    : stages(&progress), file(settings.document), mayConvert(settings.convert), wait(settings.wait) {
    if ((access == Access::Change && !settings.readOnly) || settings.create != Creation::Never) {
        lock = LockDocument(settings);
    }
    const bool isNew = settings.create != Creation::Never && !std::filesystem::exists(file);
    if (isNew && settings.create == Creation::Safe) RefuseFormerDocument(file);
    const Progress::Stage stage = progress.Begin("loading", file);
    kernel::ResultCode code = kernel::kDone;
    RetryFor(wait, [&] {
        code = LoadOnce(kernel, settings);
        return !(code == kernel::kFileInUse ||
                 (code == kernel::kNoDocument && lock == nullptr && IsBeingReplaced(file)));
    });
    if (kernel::IsFailure(code)) throw LoadError(code, "loading " + PathText(file));
    if (settings.root.IsRoot()) return;
    const arbor::Key root = isNew ? MakeKey(Root(), settings.root) : OpenKey(Root(), settings.root);
    if (isNew) Save();
    Demand(arbor::Status(object->OwnMethods().SetRootKey(object->Get(), root.Handle())), settings.root.Text());
}

Document::Document(host::Kernel& kernel, host::IoObject& io) : object(kernel) {
    Demand(arbor::Status(object->SetIoObject(io.Get())), "naming the document's home");
    Demand(arbor::Status(object->Ready()), "loading");
}

Document::Document(host::Kernel& kernel) : object(kernel) {
    Demand(arbor::Status(object->Ready()), "making an empty tree");
}

/// An object loads once, so each attempt takes a new one.
kernel::ResultCode Document::LoadOnce(host::Kernel& kernel, const DocumentSettings& settings) {
    object.emplace(kernel);
    const auto set = [](kernel::ResultCode code) { Demand(arbor::Status(code), "setting up the document"); };
    set(object->SetDocument(file));
    set(object->SetNumber(kernel::PropertyReadOnly, settings.readOnly ? 1 : 0));
    set(object->SetNumber(kernel::PropertyOpenFlags, settings.create != Creation::Never ? kernel::kOpenFlagCreate : 0));
    set(object->SetNumber(kernel::PropertyBackupMode, settings.backupMode));
    return object->Ready();
}

void Document::Save() const {
    if (!mayConvert && IsForeign(WithoutMark(ReadFile(file, wait)))) {
        throw std::runtime_error(
            PathText(file) +
            " is a foreign document: a change saves it as a native one, without its comments, processing "
            "instructions and what follows a text in an element; --convert allows that, and \"import\" reads it into "
            "another document");
    }
    const Progress::Stage stage = stages != nullptr ? stages->Begin("saving", file) : Progress::Stage();
    kernel::ResultCode code = kernel::kDone;
    RetryFor(wait, [&] {
        code = Root().Save().Code();
        return !((code == kernel::kFileInUse || code == kernel::kAccessDenied) && IsReplaceable(file));
    });
    Demand(arbor::Status(code), "saving");
}

/// A key that comes and goes marks the document as changed and leaves it as it was.
void Document::SaveAnyway() const {
    std::string name = "#";
    while (Root().Open(name)) name += '#';
    Demand(arbor::Status(Root().Make(name).Code()), "marking");
    Demand(Root().RemoveKey(name), "marking");
    Save();
}

}   // namespace arborctl
