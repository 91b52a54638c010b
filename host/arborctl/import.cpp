// The command `import`: reads the whole input before it locks and loads the document, so that input that is refused
// changes nothing.

#include "import.h"

#include "addressing.h"
#include "apply.h"
#include "change.h"
#include "copy_disambiguated.h"
#include "document_scan.h"
#include "input.h"
#include "json_document.h"

namespace arborctl {
namespace {

ImportForm FormOf(std::string_view content) {
    const std::string_view text = WithoutByteOrderMark(content);
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != text.npos && text[start] == '{') return ImportForm::Json;
    if (start != text.npos && text[start] != '<') return ImportForm::Flat;
    return IsForeign(text) ? ImportForm::Foreign : ImportForm::Native;
}

/// Throws `std::runtime_error` if XML isn't of the form that --from demands.
void RequireXmlForm(const Input& input, ImportForm wanted) {
    const ImportForm found = IsForeign(WithoutByteOrderMark(input.content)) ? ImportForm::Foreign : ImportForm::Native;
    if (wanted == ImportForm::Any || wanted == found) return;
    throw std::runtime_error(input.Name() + (found == ImportForm::Foreign
                                                 ? " is foreign: its root element isn't \"arbor\"; use --from foreign"
                                                 : " is native: its root element is \"arbor\"; use --from native"));
}

/// A document that was read, and what it was read from.
struct Source {
    std::unique_ptr<host::MemoryIo> io{};   // before `document`, which uses it
    Document document;
};

/// Loads a file as the store does, which may wait for another process; standard input from memory.
Source LoadXml(const Session& session, Input input) {
    if (input.IsFile()) {
        return {nullptr,
                Document(session.kernel, {.document = input.file, .wait = session.settings.wait}, session.progress)};
    }
    auto io = std::make_unique<host::MemoryIo>(session.kernel, std::move(input.content));
    host::MemoryIo& source = *io;
    return {std::move(io), Document(session.kernel, source)};
}

/// Changes the document by `add(key)` with the key at `path`, which is created if it is missing.
int AddToDocument(const Session& session, const Path& path, const std::function<void(const arbor::Key& key)>& add) {
    return ChangeDocument(session, [&](const arbor::Key& root) { add(MakeKey(root, path)); });
}

}   // namespace

int Import(const Session& session, const std::filesystem::path& file, const Path& path, ImportForm wanted) {
    Input input = ReadInput(file, session.settings.wait);
    const ImportForm form = wanted == ImportForm::Any ? FormOf(input.content) : wanted;
    if (form == ImportForm::Json) {
        const std::deque<TreeEntry> entries = ReadJsonDocument(input.content, input.Name());
        input.content = {};
        return AddToDocument(session, path, [&](const arbor::Key& key) { AddEntries(entries, key); });
    }
    if (form == ImportForm::Flat) {
        return AddToDocument(session, path, [&](const arbor::Key& key) {
            ApplyText(session.kernel, key, input.content, input.Name(), LineForms::Flat);
        });
    }
    RequireXmlForm(input, wanted);
    const Source source = LoadXml(session, std::move(input));
    return AddToDocument(session, path, [&](const arbor::Key& key) { CopyDisambiguated(source.document.Root(), key); });
}

}   // namespace arborctl
