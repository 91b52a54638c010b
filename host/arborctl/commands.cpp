#include "commands.h"

#include "backups.h"
#include "copy_apart.h"
#include "value_text.h"

#include <host/text.h>

#include <iostream>

namespace arborctl {

int Set(const Session& session, const std::string& path, const std::string& name, kernel::TypeCode type,
        const std::string& text) {
    const Document document = session.Load();
    const arbor::Key key = document.Make(path);
    const bool wide = *key.Type(name) == kernel::tWSTRING;   // it takes any type's bytes as its own
    Demand(key.Set(name, ValueText(session.kernel).Parse(wide ? kernel::tWSTRING : type, text)), name);
    document.Save();
    return kExitDone;
}

int RemoveKey(const Session& session, const std::string& path) {
    const Document document = session.Load();
    Demand(document.Root().RemoveKey(path), path.empty() ? "the root" : path);
    document.Save();
    return kExitDone;
}

int RemoveValue(const Session& session, const std::string& path, const std::string& name) {
    const Document document = session.Load();
    Demand(document.Open(path).Remove(name), name);
    document.Save();
    return kExitDone;
}

int Copy(const Session& session, const std::string& path, const std::filesystem::path& target) {
    if (session.settings.readOnly) throw Refusal(kernel::kReadOnlyObject, "copying to " + PathText(target));
    const Document source = session.Load();
    const arbor::Key key = source.Open(path);   // before the target comes into being
    const Document destination(session.kernel,
                               {.document = target, .create = true, .backupMode = session.settings.backupMode},
                               session.progress);
    Demand(key.CopyTo(destination.Make(path)), "copying");
    destination.Save();
    return kExitDone;
}

int Import(const Session& session, const std::filesystem::path& foreign) {
    const Document source(session.kernel, {.document = foreign}, session.progress);
    const Document destination = session.Load();
    CopyApart(source.Root(), destination.Root());
    destination.Save();
    return kExitDone;
}

int RestoreBackup(const Session& session, const std::string& backup) {
    const std::filesystem::path& document = session.settings.document;
    if (session.settings.readOnly) throw Refusal(kernel::kReadOnlyObject, "restoring " + PathText(document));
    const std::optional<std::filesystem::path> chosen = FindBackup(document, backup);
    if (!chosen) throw Refusal(kernel::kNoDocument, host::Printable(backup) + " is no backup of " + PathText(document));
    static_cast<void>(
        Document(session.kernel, {.document = *chosen, .readOnly = true}, session.progress));   // it must load
    const std::filesystem::path kept = Restore(document, *chosen);
    std::cout << PathText(document) << " is what " << PathText(chosen->filename()) << " holds";
    if (std::filesystem::is_empty(document)) std::cout << ", which is empty";
    if (!kept.empty()) std::cout << "; what it was stands in " << PathText(kept.filename());
    std::cout << '\n';
    return kExitDone;
}

}   // namespace arborctl
