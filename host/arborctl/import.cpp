// The command `import`. It reads the whole input before it locks and loads the document, so that a refused input
// changes nothing.

#include "import.h"

#include "addressing.h"
#include "apply.h"
#include "change.h"
#include "copy_disambiguated.h"
#include "document_scan.h"
#include "input.h"
#include "json_document.h"
#include "text_location.h"

#include <utility>

namespace arborctl {
namespace {

/// Detects the form of an input by its first characters.
ImportForm DetectForm(std::string_view content) {
    const std::string_view text = WithoutByteOrderMark(content);
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != text.npos && text[start] == '{') return ImportForm::Json;
    constexpr std::string_view kUtf16Bytes("\0\xFE\xFF", 3);   // the load of UTF-16 then reports what is wrong
    const bool isUtf16 = text.substr(0, 2).find_first_of(kUtf16Bytes) != text.npos;
    if (start != text.npos && text[start] != '<' && !isUtf16) return ImportForm::Flat;
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

/// Adds to `error` where and why the content can't be loaded.
[[noreturn]] void ThrowWithLocation(const Session& session, const LoadError& error, std::string_view content,
                                    const std::string& name) {
    const std::string_view text = WithoutByteOrderMark(content);
    const ScanResult result = ScanDocument(session.kernel, text, [](const Finding&) {});
    if (!result.fault) throw error;
    const TextLocation location = LocationCounter(text).At(result.fault->offset);
    throw LoadError(error.Code(), name + Suffix(location) + ": " + result.fault->text);
}

/// Loads a file as the store does, which may wait for another process; standard input from `io`.
Document LoadXml(const Session& session, const Input& input, host::MemoryIo& io) {
    try {
        if (!input.IsFile()) return Document(session.kernel, io);
        const DocumentSettings settings{.document = input.file, .wait = session.settings.wait};
        return Document(session.kernel, settings, session.progress);
    } catch (const LoadError& error) {
        const std::string content = input.IsFile() ? ReadFile(input.file, session.settings.wait) : io.Content();
        ThrowWithLocation(session, error, content, input.Name());
    }
}

/// Frees `input`, so that its content doesn't take memory beside the tree.
PackedTree ReadXml(const Session& session, Input& input, ImportForm wanted, const ExactConverter& values) {
    RequireXmlForm(input, wanted);
    host::MemoryIo io(session.kernel, input.IsFile() ? "" : std::move(input.content));
    input.Free();
    const Document source = LoadXml(session, input, io);
    values.ThrowIfNotKept(source.Root(), "");
    return Pack(source.Root(), PackedNames::Own, session.progress.Begin("reading", input.file));
}

/// Frees `input`, as `ReadXml`.
PackedTree ReadJson(const Session& session, Input& input, const ExactConverter& values) {
    const Progress::Stage stage = session.progress.Begin("reading", input.file);
    PackedTree tree = ReadJsonDocument(input.content, input.Name(), &values);
    input.Free();
    return tree;
}

/// Changes the document by `add(key)` with the key at `path`, which is created if it is missing.
int AddToDocument(const Session& session, const Input& input, const Path& path,
                  const std::function<void(const arbor::Key& key)>& add) {
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const Progress::Stage stage = session.progress.Begin("importing", input.file);
        add(MakeKey(root, path));
    });
}

}   // namespace

int Import(const Session& session, const std::filesystem::path& file, const Path& path, ImportForm wanted,
           Exactness exactness) {
    const ValueText valueText(session.kernel);
    const ExactConverter values(valueText, exactness);
    Input input = ReadInput(file, session.settings.wait);
    const ImportForm form = wanted == ImportForm::Any ? DetectForm(input.content) : wanted;
    if (form == ImportForm::Flat) {
        return AddToDocument(session, input, path, [&](const arbor::Key& key) {
            ApplyText(session.kernel, key, input.content, input.Name(), {.forms = LineForms::Flat, .values = &values});
            input.Free();   // before the save, which takes memory
        });
    }
    PackedTree tree =
        form == ImportForm::Json ? ReadJson(session, input, values) : ReadXml(session, input, wanted, values);
    return AddToDocument(session, input, path, [&](const arbor::Key& key) {
        CopyDisambiguated(tree, key);
        static_cast<void>(std::exchange(tree, {}));   // as above
    });
}

}   // namespace arborctl
