// Saving and --dry-run, in one place for all commands.

#include "change.h"

#include "diff.h"

namespace arborctl {

ChangedDocument::ChangedDocument(const Session& givenSession, const DocumentSettings& given)
    : session(givenSession),
      settings(given),
      document(session.kernel, settings, session.progress, Purpose()),
      before(session.dryRun
                 ? Pack(document.Root(), PackedNames::Printed, session.progress.Begin("reading", settings.document))
                 : PackedTree()) {}

void ChangedDocument::Finish() const {
    if (!session.dryRun) return document.Save();
    document.ThrowIfNotConvertible();
    static_cast<void>(PrintDifference(session, before.Root(), document.Root()));
}

int ChangeDocument(const Session& session, const std::function<void(const arbor::Key& root)>& work) {
    const ChangedDocument document(session, session.settings);
    work(document.Root());
    document.Finish();
    return kExitDone;
}

void PrintFileChanges(const Session& session, const std::filesystem::path& before, const std::filesystem::path& after) {
    const auto load = [&session](const std::filesystem::path& file) {
        const DocumentSettings settings{.document = file, .create = Creation::Force, .wait = session.settings.wait};
        return Document(session.kernel, settings, session.progress, Access::Trial);
    };
    const PackedTree former = [&] {
        const Document document = load(before);
        return Pack(document.Root(), PackedNames::Printed, session.progress.Begin("reading", before));
    }();
    static_cast<void>(PrintDifference(session, former.Root(), load(after).Root()));
}

}   // namespace arborctl
