// The command `edit`. The edited text makes a tree of its own; the differences between that tree and the document are
// then applied to the document. The document isn't locked while the editor runs, so before the save it is compared with
// what it was at the start.

#include "addressing.h"
#include "apply.h"
#include "change.h"
#include "diff.h"
#include "flat_text.h"

#include <host/system.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <random>
#include <utility>

namespace arborctl {
namespace {

std::string EditorCommand() {
    for (const char* name : {"VISUAL", "EDITOR"}) {
        const std::string value = host::EnvironmentVariable(name);
        const std::size_t start = value.find_first_not_of(" \t");
        if (start != value.npos) return value.substr(start);
    }
    return host::DefaultEditor();
}

/// Editors that open a file at a line by the argument "+LINE".
constexpr std::string_view kLineEditors[] = {"vi",    "vim",         "nvim", "view", "gvim", "nano", "pico",
                                             "emacs", "emacsclient", "mg",   "joe",  "jed",  "kak",  "micro"};

/// The program of a command line, whose path may be in quotes.
std::filesystem::path ProgramOf(const std::string& command) {
    const bool isQuoted = command.starts_with('"') || command.starts_with('\'');
    const std::size_t end = command.find(isQuoted ? command[0] : ' ', 1);
    return PathFromArgument(command.substr(isQuoted ? 1 : 0, end - (isQuoted ? 1 : 0)));
}

std::string LineOption(const std::string& command, std::size_t line) {
    const std::filesystem::path program = ProgramOf(command);
    const bool takesLine = std::ranges::find(kLineEditors, program.stem().string()) != std::end(kLineEditors);
    return takesLine && line > 1 ? " +" + std::to_string(line) : "";
}

/// The file that the editor opens, in a new directory that only this user can read. Removed at the end, unless kept.
class EditedFile {
public:
    explicit EditedFile(const std::filesystem::path& document) {
        std::random_device random;
        do {
            folder = std::filesystem::temp_directory_path() / ("arborctl-edit-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(folder));
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        file = folder / document.filename();
        file += ".txt";
    }
    ~EditedFile() {
        std::error_code ignored;   // what remains is in the directory for temporary files
        if (!isKept) std::filesystem::remove_all(folder, ignored);
    }
    EditedFile(const EditedFile&) = delete;
    EditedFile& operator=(const EditedFile&) = delete;

    void Write(const std::string& text) const {
        std::ofstream stream(file, std::ios::binary);
        if (!(stream << text << std::flush)) throw std::runtime_error(PathText(file) + " can't be written");
    }
    [[nodiscard]] std::string Read() const { return ReadFile(file, std::chrono::seconds(0)); }

    /// Lets the editor change the file, which has `text`. Throws `std::runtime_error` if it fails.
    void Edit(const std::string& text, std::size_t line) {
        Write(text);
        const std::string command = EditorCommand();
        const int exitCode = host::RunWithFile(command + LineOption(command, line), file);
        if (exitCode == 0) return;
        const bool isChanged = std::filesystem::exists(file) && Read() != text;
        if (exitCode == host::CommandNotFoundCode() && !isChanged)
            throw std::runtime_error("the editor " + command + " isn't found; VISUAL or EDITOR can name another one");
        std::string reason =
            "the editor " + command + " ended with code " + std::to_string(exitCode) + "; nothing is saved";
        if (isChanged) reason += KeepFile();
        throw std::runtime_error(reason);
    }

    /// Keeps the file after the end of the program. Returns a text for the end of an error message that names it.
    std::string KeepFile() {
        isKept = true;
        return "; the edited text is in " + PathText(file);
    }

private:
    std::filesystem::path folder;
    std::filesystem::path file;
    bool isKept = false;
};

constexpr std::string_view kRefused = "# Refused: ";

/// Why a text was refused, for its next edit.
struct Refusal {
    std::size_t line;
    std::string reason;
};

/// Returns `text` without the message that an earlier round put at its top.
std::string WithoutMessage(std::string text) {
    if (text.starts_with(kRefused)) text.erase(0, std::min(text.find('\n'), text.size() - 1) + 1);
    return text;
}

bool HasLines(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start != line.npos && line[start] != '#') return true;
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return false;
}

std::string Header(const Path& path) {
    return "# " + path.Text() +
           ": a line is PATH VALUE TYPE TEXT, or PATH/ for a key. A removed line removes its value or key.\n"
           "# Nothing is saved if the text is empty or unchanged.\n";
}

/// Edits a subtree of a document.
class EditSession {
public:
    EditSession(const Session& givenSession, const Path& top) : session(givenSession), path(top) {}

    int Run() {
        ReadDocument();
        file.emplace(session.settings.document);
        const std::vector<Change> changes = EditUntilAccepted(Text());
        ChangePrinter printer(session);
        for (const Change& change : changes) printer.Add(change);
        printer.End();
        if (session.dryRun || changes.empty()) return kExitDone;
        try {
            Save(changes);
        } catch (const std::exception&) {
            std::cerr << "arborctl: nothing is saved" << file->KeepFile() << '\n';
            throw;
        }
        return kExitDone;
    }

private:
    void ReadDocument() {
        const Document document(session.kernel, session.settings, session.progress, Access::Trial);
        const arbor::Key key = OpenKey(document.Root(), path);
        if (!path.IsRoot()) subtree = Pack(key, PackedNames::Printed);
        tree =
            Pack(document.Root(), PackedNames::Printed, session.progress.Begin("reading", session.settings.document));
    }

    [[nodiscard]] const PackedTree& Before() const { return path.IsRoot() ? tree : subtree; }

    /// Returns the text that the editor gets first.
    [[nodiscard]] std::string Text() const {
        const Progress::Stage stage = session.progress.Begin("writing the text of", session.settings.document);
        std::error_code missing;
        const std::uintmax_t fileBytes = std::filesystem::file_size(session.settings.document, missing);
        std::string text = Header(path);
        // Flat text is about as long as the document. Growing the string would need a copy of it.
        if (!missing) text.reserve(static_cast<std::size_t>(fileBytes) / 4 * 5);
        PrintFlat(Before(), path.IsRoot() ? "" : path.Text(),
                  [&text](const std::string& line) { text.append(line).append("\n"); });
        return text;
    }

    /// Opens the editor until its text is accepted. Throws `std::runtime_error` if the text is empty, or if a refused
    /// text wasn't changed.
    std::vector<Change> EditUntilAccepted(std::string text) {
        const bool hadLines = HasLines(text);
        for (std::optional<Refusal> refusal;;) {
            Edit(text, refusal);
            if (!HasLines(text) && hadLines)
                throw std::runtime_error("the edited text is empty; nothing is saved; \"rm\" removes a key");
            try {
                return ChangesTo(text);
            } catch (const LineError& error) {
                const std::size_t line = error.Line() + 1;   // the message will be the first
                refusal = {line, "line " + std::to_string(line) + ": " + error.Reason()};
            } catch (const StoreError& error) {
                refusal = {1, error.what()};
            }
        }
    }

    /// Replaces `text` by what the editor makes of it. Throws `std::runtime_error` if it was refused and is unchanged.
    void Edit(std::string& text, const std::optional<Refusal>& refusal) {
        std::string edited = EditOnce(text, refusal);
        if (refusal && edited == text)
            throw std::runtime_error(refusal->reason + "; nothing is saved" + file->KeepFile());
        text.swap(edited);
    }

    /// Returns what the editor makes of `text`.
    std::string EditOnce(const std::string& text, const std::optional<Refusal>& refusal) {
        file->Edit(refusal ? std::string(kRefused) + refusal->reason + '\n' + text : text, refusal ? refusal->line : 1);
        return WithoutMessage(file->Read());
    }

    /// Returns the difference between the subtree and the text.
    std::vector<Change> ChangesTo(const std::string& text) {
        const Document edited(session.kernel);
        const arbor::Key top = MakeKey(edited.Root(), path);
        ApplyText(session.kernel, edited.Root(), text, "the edited text", {.forms = LineForms::Flat, .within = path});
        std::vector<Change> changes;
        Compare(Before().Root(), top, [&changes](Change change) { changes.push_back(std::move(change)); });
        const ValueText valueText(session.kernel);
        const ExactConverter values(valueText, Exactness::Exact, "\"apply --lenient\" stores that");
        for (Change& change : changes) {
            if (change.after) values.ThrowIfNotKept(*change.after, JoinPath(change.path, *change.value));
            if (!path.IsRoot()) change.path = change.path.empty() ? path.Text() : JoinPath(path.Text(), change.path);
        }
        return changes;
    }

    void Save(const std::vector<Change>& changes) {
        const ChangedDocument current(session, session.settings);
        ThrowIfChanged(current.Root());
        std::string lines;
        FlatChanges flat([&lines](const std::string& line) { lines += line + '\n'; });
        for (const Change& change : changes) flat.Add(change);
        flat.End();
        ApplyText(session.kernel, current.Root(), lines, "the edited text");
        current.Finish();
    }

    /// Throws `std::runtime_error` if the document isn't as it was before the edit. Frees the tree that it was.
    void ThrowIfChanged(const arbor::Key& root) {
        const Progress::Stage stage = session.progress.Begin("comparing", session.settings.document);
        Compare(tree.Root(), root, [this](const Change&) {
            throw std::runtime_error(PathText(session.settings.document) + " changed meanwhile");
        });
        static_cast<void>(std::exchange(tree, {}));   // an assignment would keep its memory
    }

    const Session& session;
    const Path path;
    PackedTree tree{};      // of the document before the edit
    PackedTree subtree{};   // of the key that is edited, unless that is the root
    std::optional<EditedFile> file{};
};

}   // namespace

int Edit(const Session& session, const Path& path) {
    if (session.settings.readOnly) throw StoreError(kernel::kReadOnlyObject, "editing " + path.Text());
    return EditSession(session, path).Run();
}

}   // namespace arborctl
