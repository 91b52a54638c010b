// The commands `tree` and `export`.

#include "addressing.h"
#include "commands.h"
#include "copy_disambiguated.h"
#include "flat_text.h"
#include "json_document.h"
#include "output.h"
#include "value_text.h"
#include "walk.h"

#include <iostream>

namespace arborctl {
namespace {

/// Returns `path` as a prefix of printed paths; empty for the root.
std::string Prefix(const Path& path) { return path.IsRoot() ? "" : path.Text(); }

/// Prints a tree as lines, indented by depth.
class TreeLines {
public:
    TreeLines(const Session& session, const ValueText& texts) : palette(PaletteOf(session)), valueText(texts) {}

    void EnterKey(const std::string& name, std::size_t depth) const {
        if (depth == 0) return;
        std::cout << std::string(4 * (depth - 1), ' ') << palette.key << name << '/' << palette.plain << '\n';
    }
    void PrintValue(const std::string& name, const arbor::Datum& datum, std::size_t depth) const {
        const std::string line = valueText.FormatLine(datum);
        const std::size_t type = TypeName(datum).size();
        std::cout << std::string(4 * depth, ' ') << palette.name << name << palette.plain << ": " << palette.type
                  << line.substr(0, type) << palette.plain << line.substr(type) << '\n';
    }
    void EndValues() const {}
    void LeaveKey() const {}
    void EndLine() const {}

private:
    Palette palette;
    const ValueText& valueText;
};

/// Prints a tree as a JSON document with the names of printed paths.
class TreeJson {
public:
    void EnterKey(const std::string& name, std::size_t) { writer.EnterKey(name); }
    void PrintValue(const std::string& name, const arbor::Datum& datum, std::size_t) { writer.WriteValue(name, datum); }
    void EndValues() { writer.EndValues(); }
    void LeaveKey() { writer.LeaveKey(); }
    void EndLine() { writer.EndLine(); }

private:
    JsonDocumentWriter writer{std::cout};
};

template <class Printer>
int PrintOneValue(const Document& document, const Path& path, const TreeRequest& request, Printer& printer) {
    const ValueSlot value = OpenValue(document.Root(), path);
    const arbor::Datum datum = ReadAs(value, value.Type(), request.as, path.Text());
    OmittedValues omitted;
    omitted.CallOrReport(path.Text(), [&] { printer.PrintValue(value.PrintedName(), datum, 0); });
    printer.EndLine();
    return omitted.ExitCode(kExitDone);
}

/// Prints the values of `key` that `request` includes.
template <class Printer>
void PrintValues(const arbor::Key& key, const std::string& path, std::size_t depth, const TreeRequest& request,
                 Printer& printer, OmittedValues& omitted) {
    const std::string reason =
        request.as == 0 ? "has no text" : "can't be converted to " + std::string(kernel::FindType(request.as)->name);
    ForEachNamedValue(key, [&](const std::string& name, const arbor::Value& value) {
        if (request.type != 0 && value.Type() != request.type) return;
        omitted.CallOrReport(
            JoinPath(path, name), [&] { printer.PrintValue(name, ValueOrThrow(value.Read(request.as), name), depth); },
            reason);
    });
}

template <class Printer>
int PrintTree(const Session& session, const Path& path, const TreeRequest& request, Printer printer) {
    const Document document = session.Load();
    const std::optional<arbor::Key> top = FindKey(document.Root(), path);
    if (!top) return PrintOneValue(document, path, request, printer);
    OmittedValues omitted;
    Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
    PrintedPaths paths(Prefix(path));
    std::size_t open = 0;   // keys that are entered and not left
    Walk(
        *top,
        [&](const arbor::Key& key, std::size_t depth) {
            ++open;
            if (depth > request.depth) return;
            stage.CountKey();
            printer.EnterKey(paths.Enter(key, depth), depth);
            if (depth < request.depth) PrintValues(key, paths.Path(), depth, request, printer, omitted);
            printer.EndValues();
        },
        [&] {
            if (--open <= request.depth) printer.LeaveKey();
        });
    printer.EndLine();
    return omitted.ExitCode(kExitDone);
}

int PrintFlatTree(const Session& session, const Path& path) {
    const Document document = session.Load();
    const auto print = [](const std::string& line) { std::cout << line << '\n'; };
    if (const std::optional<arbor::Key> top = FindKey(document.Root(), path)) {
        Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
        PrintFlat(*top, Prefix(path), print, [&stage] { stage.CountKey(); });
    } else {
        const ValueSlot value = OpenValue(document.Root(), path);
        print(FlatValue(Prefix(path.Parent()), value.PrintedName(), ValueOrThrow(value.Read(0), value.PrintedName())));
    }
    return kExitDone;
}

/// Copies the key at `path` or, if there is none, the value into `exported`. Returns the path of what is the root of
/// `exported`.
Path CopyForExport(const Document& document, const Path& path, const Document& exported) {
    if (const std::optional<arbor::Key> key = FindKey(document.Root(), path)) {
        CopyDisambiguated(*key, exported.Root());
        return path;
    }
    const ValueSlot value = OpenValue(document.Root(), path);
    const ValueSlot copy(exported.Root(), path.Names().back());
    ThrowIfFailed(copy.Set(ValueOrThrow(value.Read(0), value.PrintedName())), copy.PrintedName());
    return path.Parent();
}

/// Removes the values without a text from an export whose root has the path `path`, and reports
/// them.
void RemoveTextless(const Document& exported, const std::string& path, const ValueText& valueText,
                    OmittedValues& omitted) {
    PrintedPaths paths(path);
    Walk(exported.Root(), [&](const arbor::Key& key, std::size_t depth) {
        paths.Enter(key, depth);
        std::vector<std::string> textless;
        ForEachValue(key, [&](const arbor::Value& value) {
            omitted.CallOrReport(JoinPath(paths.Path(), EncodeName(value.Name())), [&] {
                textless.push_back(value.Name());
                static_cast<void>(valueText.Format(Read(value)));   // throws if the value has no text
                textless.pop_back();
            });
        });
        for (const std::string& name : textless) ThrowIfFailed(key.Remove(name), name);
    });
}

int ExportJson(const Session& session, const Path& path) {
    const Document document = session.Load();
    if (const std::optional<arbor::Key> key = FindKey(document.Root(), path)) {
        Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
        WriteJsonDocument(std::cout, *key, [&stage] { stage.CountKey(); });
        return kExitDone;
    }
    const ValueSlot value = OpenValue(document.Root(), path);
    JsonDocumentWriter writer(std::cout);
    writer.EnterKey("");
    writer.WriteValue(value.PrintedName(), ValueOrThrow(value.Read(0), value.PrintedName()));
    writer.EndValues();
    writer.LeaveKey();
    writer.EndLine();
    return kExitDone;
}

}   // namespace

int Tree(const Session& session, const Path& path, const TreeRequest& request) {
    if (session.flat) return PrintFlatTree(session, path);
    if (session.json) return PrintTree(session, path, request, TreeJson());
    const ValueText valueText(session.kernel);
    return PrintTree(session, path, request, TreeLines(session, valueText));
}

int Export(const Session& session, const Path& path) {
    if (session.json) return ExportJson(session, path);
    const Document document = session.Load();
    host::MemoryIo io(session.kernel);
    const Document exported(session.kernel, io);
    const Path top = CopyForExport(document, path, exported);
    OmittedValues omitted;
    try {
        exported.SaveUnconditionally();
    } catch (const StoreError& error) {
        if (error.Code() != kernel::kBufferTooSmall) throw;
        RemoveTextless(exported, Prefix(top), ValueText(session.kernel), omitted);
        exported.SaveUnconditionally();
    }
    std::cout << io.Content();
    return omitted.ExitCode(kExitDone);
}

}   // namespace arborctl
