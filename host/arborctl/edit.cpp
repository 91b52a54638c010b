// The command `edit`. The text is applied to an empty tree; what that tree differs in from the document is applied to
// the document. The document isn't locked while the editor runs: it is compared with what it was before the save.

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
        if (isChanged) reason += Keep();
        throw std::runtime_error(reason);
    }

    /// Keeps the file. Returns the end of a message that names it.
    std::string Keep() {
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
std::string WithoutMessage(const std::string& text) {
    return text.starts_with(kRefused) ? text.substr(std::min(text.find('\n'), text.size() - 1) + 1) : text;
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

/// The content of the document's file; empty if it is missing.
std::string ContentOf(const DocumentSettings& settings) {
    return std::filesystem::exists(settings.document) ? ReadFile(settings.document, settings.wait) : "";
}

/// Edits a subtree of a document.
class Editing {
public:
    Editing(const Session& givenSession, const Path& top)
        : session(givenSession),
          path(top),
          content(ContentOf(session.settings)),
          document(session.kernel, session.settings, session.progress, Access::Trial),
          key(OpenKey(document.Root(), path)),
          file(session.settings.document) {}

    int Run() {
        std::string original = Header(path);
        PrintFlat(
            key, path.IsRoot() ? "" : path.Text(), [&original](const std::string& line) { original += line + '\n'; },
            [] {});
        const std::vector<Change> changes = EditUntilAccepted(original);
        PrintChanges(session, changes);
        if (session.dryRun || changes.empty()) return kExitDone;
        try {
            Save(changes);
        } catch (const std::exception&) {
            std::cerr << "arborctl: nothing is saved" << file.Keep() << '\n';
            throw;
        }
        return kExitDone;
    }

private:
    /// Opens the editor until its text is accepted. Throws `std::runtime_error` if the text is empty, or if a refused
    /// text wasn't changed.
    std::vector<Change> EditUntilAccepted(const std::string& original) {
        std::string text = original;
        for (std::optional<Refusal> refusal;;) {
            const std::string edited = EditOnce(text, refusal);
            if (!HasLines(edited) && HasLines(original))
                throw std::runtime_error("the edited text is empty; nothing is saved; \"rm\" removes a key");
            if (refusal && edited == text)
                throw std::runtime_error(refusal->reason + "; nothing is saved" + file.Keep());
            text = edited;
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

    /// Returns what the editor makes of `text`.
    std::string EditOnce(const std::string& text, const std::optional<Refusal>& refusal) {
        file.Edit(refusal ? std::string(kRefused) + refusal->reason + '\n' + text : text, refusal ? refusal->line : 1);
        return WithoutMessage(file.Read());
    }

    /// Returns the difference between the subtree and the text.
    std::vector<Change> ChangesTo(const std::string& text) {
        const Document tree(session.kernel);
        const arbor::Key top = MakeKey(tree.Root(), path);
        ApplyText(session.kernel, tree.Root(), text, "the edited text", {.forms = LineForms::Flat, .within = path});
        std::vector<Change> changes = Compare(key, top);
        const ValueText valueText(session.kernel);
        const ExactValues values(valueText, Exactness::Exact, "\"apply --lenient\" stores that");
        for (Change& change : changes) {
            if (change.after) values.ThrowIfNotKept(*change.after, JoinPath(change.path, *change.value));
            if (!path.IsRoot()) change.path = change.path.empty() ? path.Text() : JoinPath(path.Text(), change.path);
        }
        return changes;
    }

    void Save(const std::vector<Change>& changes) const {
        const ChangedDocument current(session, session.settings);
        if (ContentOf(session.settings) != content)
            throw std::runtime_error(PathText(session.settings.document) + " changed meanwhile");
        std::string lines;
        for (const std::string& line : FlatLines(changes)) lines += line + '\n';
        ApplyText(session.kernel, current.Root(), lines, "the edited text");
        current.Finish();
    }

    const Session& session;
    const Path path;
    const std::string content;   // read before the document, so that a change in between is found
    const Document document;
    const arbor::Key key;
    EditedFile file;
};

}   // namespace

int Edit(const Session& session, const Path& path) {
    if (session.settings.readOnly) throw StoreError(kernel::kReadOnlyObject, "editing " + path.Text());
    return Editing(session, path).Run();
}

}   // namespace arborctl
