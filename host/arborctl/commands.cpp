// The commands that change documents.

#include "commands.h"

#include "addressing.h"
#include "backups.h"
#include "value_text.h"

#include <host/text.h>

#include <iostream>

namespace arborctl {
namespace {

/// Loads the document, calls `work(root)` and saves.
template <class Work>
int ChangeDocument(const Session& session, Work work) {
    const Document document = session.LoadForChange();
    work(document.Root());
    document.Save();
    return kExitDone;
}

}   // namespace

int Set(const Session& session, const ValuePath& path, kernel::TypeCode type, const std::string& text) {
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const ValueSlot value(MakeKey(root, path.key), path.value);
        const bool isWide = value.Type() == kernel::tWSTRING;   // the store would copy the bytes of any other type
        ThrowIfFailed(value.Set(ValueText(session.kernel).Parse(isWide ? kernel::tWSTRING : type, text)), value.Text());
    });
}

int Remove(const Session& session, const Path& path) {
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const std::optional<ValueSlot> value = FindValue(root, path);
        value ? ThrowIfFailed(value->Remove(), value->Text()) : RemoveKey(root, path);
    });
}

int RemoveValue(const Session& session, const ValuePath& path) {
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const ValueSlot value(OpenKey(root, path.key), path.value);
        ThrowIfFailed(value.Remove(), value.Text());
    });
}

int Copy(const Session& session, const Path& path, const std::filesystem::path& target) {
    if (session.settings.readOnly) throw StoreError(kernel::kReadOnlyObject, "copying to " + PathText(target));
    const Document source = session.Load();
    const std::optional<arbor::Key> key = FindKey(source.Root(), path);
    std::optional<arbor::Datum> value;   // read before the target is created: a failure must leave no new file
    if (!key) value = ValueOrThrow(OpenValue(source.Root(), path).Read(0), path.Text());
    const Document destination(session.kernel,
                               {.document = target,
                                .create = session.settings.create == Creation::Force ? Creation::Force : Creation::Safe,
                                .convert = session.settings.convert,
                                .backupMode = session.settings.backupMode,
                                .wait = session.settings.wait},
                               session.progress, Access::Change);
    if (key) {
        ThrowIfFailed(key->CopyTo(MakeKey(destination.Root(), path)), "copying");
    } else {
        const ValueSlot copy(MakeKey(destination.Root(), path.Parent()), path.Names().back());
        ThrowIfFailed(copy.Set(*value), copy.Text());
    }
    destination.Save();
    return kExitDone;
}

int RestoreBackup(const Session& session, const std::string& backup) {
    const std::filesystem::path& document = session.settings.document;
    if (session.settings.readOnly) throw StoreError(kernel::kReadOnlyObject, "restoring " + PathText(document));
    const auto lock = LockDocument(session.settings);
    const std::optional<std::filesystem::path> chosen = FindBackup(document, backup);
    if (!chosen)
        throw StoreError(kernel::kNoDocument, host::Printable(backup) + " is not a backup of " + PathText(document));
    static_cast<void>(session.LoadBackup(*chosen));   // throws if the backup can't be loaded
    const std::filesystem::path kept = Restore(document, *chosen, session.settings.wait);
    std::cout << PathText(document) << " is restored from " << PathText(chosen->filename());
    if (std::filesystem::is_empty(document)) std::cout << ", which is empty";
    if (!kept.empty()) std::cout << "; the former document is in " << PathText(kept.filename());
    std::cout << '\n';
    return kExitDone;
}

}   // namespace arborctl
