#include "commands.h"

#include "addressing.h"
#include "backups.h"
#include "copy_apart.h"
#include "value_text.h"

#include <host/text.h>

#include <iostream>

namespace arborctl {

int Set(const Session& session, const ValuePath& path, kernel::TypeCode type, const std::string& text) {
    const Document document = session.LoadToChange();
    const ValueSlot value(MakeKey(document.Root(), path.key), path.value);
    const bool wide = value.Type() == kernel::tWSTRING;   // it takes any type's bytes as its own
    Demand(value.Set(ValueText(session.kernel).Parse(wide ? kernel::tWSTRING : type, text)), value.Text());
    document.Save();
    return kExitDone;
}

int Remove(const Session& session, const Path& path) {
    const Document document = session.LoadToChange();
    const std::optional<ValueSlot> value = FindValue(document.Root(), path);
    value ? Demand(value->Remove(), value->Text()) : RemoveKey(document.Root(), path);
    document.Save();
    return kExitDone;
}

int RemoveValue(const Session& session, const ValuePath& path) {
    const Document document = session.LoadToChange();
    const ValueSlot value(OpenKey(document.Root(), path.key), path.value);
    Demand(value.Remove(), value.Text());
    document.Save();
    return kExitDone;
}

int Copy(const Session& session, const Path& path, const std::filesystem::path& target) {
    if (session.settings.readOnly) throw Refusal(kernel::kReadOnlyObject, "copying to " + PathText(target));
    const Document source = session.Load();
    const std::optional<arbor::Key> key = FindKey(source.Root(), path);
    std::optional<arbor::Datum> value;   // read before the target comes into being
    if (!key) value = Demand(OpenValue(source.Root(), path).Read(0), path.Text());
    const Document destination(session.kernel,
                               {.document = target,
                                .create = session.settings.create == Creation::Force ? Creation::Force : Creation::Safe,
                                .convert = session.settings.convert,
                                .backupMode = session.settings.backupMode,
                                .wait = session.settings.wait},
                               session.progress, Access::Change);
    if (key) {
        Demand(key->CopyTo(MakeKey(destination.Root(), path)), "copying");
    } else {
        const ValueSlot copy(MakeKey(destination.Root(), path.Parent()), path.Names().back());
        Demand(copy.Set(*value), copy.Text());
    }
    destination.Save();
    return kExitDone;
}

int Import(const Session& session, const std::filesystem::path& foreign) {
    const Document source(session.kernel, {.document = foreign, .wait = session.settings.wait}, session.progress);
    const Document destination = session.LoadToChange();
    CopyApart(source.Root(), destination.Root());
    destination.Save();
    return kExitDone;
}

int RestoreBackup(const Session& session, const std::string& backup) {
    const std::filesystem::path& document = session.settings.document;
    if (session.settings.readOnly) throw Refusal(kernel::kReadOnlyObject, "restoring " + PathText(document));
    const auto lock = LockDocument(session.settings);
    const std::optional<std::filesystem::path> chosen = FindBackup(document, backup);
    if (!chosen) throw Refusal(kernel::kNoDocument, host::Printable(backup) + " is no backup of " + PathText(document));
    static_cast<void>(Document(session.kernel, {.document = *chosen, .readOnly = true, .wait = session.settings.wait},
                               session.progress));   // it must load
    const std::filesystem::path kept = Restore(document, *chosen, session.settings.wait);
    std::cout << PathText(document) << " is what " << PathText(chosen->filename()) << " holds";
    if (std::filesystem::is_empty(document)) std::cout << ", which is empty";
    if (!kept.empty()) std::cout << "; what it was stands in " << PathText(kept.filename());
    std::cout << '\n';
    return kExitDone;
}

}   // namespace arborctl
