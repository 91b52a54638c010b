// The commands `rm`, `mv` and `cp`, also from one document to another.

#include "commands.h"

#include "addressing.h"
#include "change.h"
#include "moving.h"
#include "value_text.h"

#include <host/text.h>

#include <iostream>

namespace arborctl {
namespace {

bool IsSameFile(const std::filesystem::path& left, const std::filesystem::path& right) {
    std::error_code missing;
    return std::filesystem::equivalent(left, right, missing);
}

/// The settings of the document to which a key or value is copied.
DocumentSettings TargetSettings(const Session& session, const std::filesystem::path& document) {
    return {.document = document,
            .create = session.settings.create == Creation::Force ? Creation::Force : Creation::Safe,
            .convert = session.settings.convert,
            .backupMode = session.settings.backupMode,
            .wait = session.settings.wait};
}

/// Throws a `StoreError` if there is neither a value nor a key at `path`, or if a save of another document changes one
/// of its values.
void RequireKept(const Session& session, const arbor::Key& root, const Path& path, Exactness exactness) {
    const ValueText valueText(session.kernel);
    const ExactConverter values(valueText, exactness);
    const std::string where = path.IsRoot() ? "" : path.Text();
    if (const std::optional<ValueSlot> value = FindValue(root, path))
        values.ThrowIfNotKept(ValueOrThrow(value->Read(0), where), where);
    else
        values.ThrowIfNotKept(OpenKey(root, path), where);
}

int CopyToDocument(const Session& session, const Transfer& transfer, const std::filesystem::path& document,
                   Exactness exactness) {
    const Document source = session.Load();
    RequireKept(session, source.Root(), transfer.source, exactness);
    const ChangedDocument target(session, TargetSettings(session, document));
    CopyOrMove(session.kernel, source.Root(), target.Root(), transfer);
    target.Finish();
    return kExitDone;
}

/// Saves the target first: a failure between the two saves leaves what is moved in both documents.
int MoveToDocument(const Session& session, const Transfer& transfer, const std::filesystem::path& document,
                   Exactness exactness) {
    const ChangedDocument source(session, session.settings);
    RequireKept(session, source.Root(), transfer.source, exactness);
    const ChangedDocument target(session, TargetSettings(session, document));
    CopyOrMove(session.kernel, source.Root(), target.Root(), transfer);
    if (session.dryRun) std::cout << PathText(document) << ":\n";
    target.Finish();
    if (session.dryRun) std::cout << PathText(session.settings.document) << ":\n";
    source.Finish();
    return kExitDone;
}

}   // namespace

int Remove(const Session& session, const Path& path) {
    return ChangeDocument(session, [&](const arbor::Key& root) { RemoveEntry(root, path); });
}

int RemoveValue(const Session& session, const ValuePath& path) {
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const ValueSlot value(OpenKey(root, path.key), path.value);
        ThrowIfFailed(value.Remove(), path.Text());
    });
}

int CopyOrMove(const Session& session, const Transfer& transfer, const std::optional<std::filesystem::path>& other,
               Exactness exactness) {
    if (!other || IsSameFile(*other, session.settings.document)) {
        return ChangeDocument(session,
                              [&](const arbor::Key& root) { CopyOrMove(session.kernel, root, root, transfer); });
    }
    if (session.settings.readOnly) throw StoreError(kernel::kReadOnlyObject, "copying to " + PathText(*other));
    return transfer.isMove ? MoveToDocument(session, transfer, *other, exactness)
                           : CopyToDocument(session, transfer, *other, exactness);
}

}   // namespace arborctl
