// The command `import`: reads the whole input before it locks and loads the document, so that input that is refused
// changes nothing.

#include "import.h"

#include "addressing.h"
#include "commands.h"
#include "copy_disambiguated.h"
#include "document_scan.h"
#include "json_document.h"

#include <iostream>
#include <iterator>

namespace arborctl {
namespace {

/// What a command reads: a file, or standard input for "-".
struct Input {
    std::filesystem::path file{};   // empty for standard input
    std::string content{};

    [[nodiscard]] bool IsFile() const { return !file.empty(); }
    [[nodiscard]] std::string Name() const { return IsFile() ? PathText(file) : "standard input"; }
};

Input ReadInput(const Session& session, const std::filesystem::path& argument) {
    if (argument == "-") return {{}, {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()}};
    if (!std::filesystem::exists(argument)) throw LoadError(kernel::kNoDocument, PathText(argument));
    return {argument, ReadFile(argument, session.settings.wait)};
}

ImportForm FormOf(std::string_view content) {
    const std::string_view text = WithoutByteOrderMark(content);
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != text.npos && text[start] == '{') return ImportForm::Json;
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

/// Loads the document, calls `add(key)` with the key at `path`, which is created if it is missing, and saves.
template <class Add>
int AddToDocument(const Session& session, const Path& path, Add add) {
    const Document document = session.LoadForChange();
    add(MakeKey(document.Root(), path));
    document.Save();
    return kExitDone;
}

}   // namespace

int Import(const Session& session, const std::filesystem::path& file, const Path& path, ImportForm wanted) {
    Input input = ReadInput(session, file);
    const ImportForm form = wanted == ImportForm::Any ? FormOf(input.content) : wanted;
    if (form == ImportForm::Json) {
        const std::deque<TreeEntry> entries = ReadJsonDocument(input.content, input.Name());
        input.content = {};
        return AddToDocument(session, path, [&](const arbor::Key& key) { AddEntries(entries, key); });
    }
    RequireXmlForm(input, wanted);
    const Source source = LoadXml(session, std::move(input));
    return AddToDocument(session, path, [&](const arbor::Key& key) { CopyDisambiguated(source.document.Root(), key); });
}

}   // namespace arborctl
