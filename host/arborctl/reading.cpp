#include "addressing.h"
#include "backups.h"
#include "commands.h"
#include "compare.h"
#include "copy_apart.h"
#include "json.h"
#include "value_text.h"
#include "walk.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace arborctl {
namespace {

/// Escape sequences of a terminal; empty where there is none.
struct Palette {
    std::string_view key = "";
    std::string_view name = "";
    std::string_view type = "";
    std::string_view removed = "";
    std::string_view added = "";
    std::string_view plain = "";
};
constexpr Palette kColours = {"\033[1;34m", "\033[36m", "\033[2m", "\033[31m", "\033[32m", "\033[0m"};

Palette PaletteOf(const Session& session) { return session.colours ? kColours : Palette{}; }

/// The values that a command leaves out because they have no text; it names each on standard error.
class OmittedValues {
public:
    /// Calls `show()`, which throws a `Refusal` if the value at `path` has no text.
    template <class Show>
    void Try(const std::string& path, Show show) {
        try {
            show();
        } catch (const Refusal& refusal) {
            std::cerr << "arborctl: " << Refusal(refusal.Code(), path + " has no text").what() << '\n';
            isEmpty = false;
        }
    }

    /// The exit code of a command that would end with `complete` if no value were left out.
    [[nodiscard]] int ExitCode(int complete) const { return isEmpty ? complete : kExitRefused; }

private:
    bool isEmpty = true;
};

/// `path` as the start of others.
std::string Prefix(const Path& path) { return path.IsRoot() ? "" : path.Text(); }

/// A tree as lines, indented by its depth.
class TreeLines {
public:
    TreeLines(const Session& session, const ValueText& texts) : palette(PaletteOf(session)), valueText(texts) {}

    void Enter(const std::string& name, std::size_t depth) const {
        if (depth == 0) return;
        std::cout << std::string(4 * (depth - 1), ' ') << palette.key << name << '/' << palette.plain << '\n';
    }
    void Show(const std::string& name, const arbor::Datum& datum, std::size_t depth) const {
        const std::string line = valueText.Line(datum);
        const std::size_t type = TypeName(datum).size();
        std::cout << std::string(4 * depth, ' ') << palette.name << name << palette.plain << ": " << palette.type
                  << line.substr(0, type) << palette.plain << line.substr(type) << '\n';
    }
    void EndValues() const {}
    void Leave() const {}
    void End() const {}

private:
    Palette palette;
    const ValueText& valueText;
};

/// A tree as objects with "name", "values" and "keys".
class TreeJson {
public:
    explicit TreeJson(const ValueText& texts) : json(std::cout), valueText(texts) {}

    void Enter(const std::string& name, std::size_t) {
        json.BeginObject().Member("name", name).Name("values").BeginArray();
    }
    void Show(const std::string& name, const arbor::Datum& datum, std::size_t) {
        json.BeginObject().Member("name", name).Members(datum, valueText).EndObject();
    }
    void EndValues() { json.EndArray().Name("keys").BeginArray(); }
    void Leave() { json.EndArray().EndObject(); }
    void End() { json.End(); }

private:
    Json json;
    const ValueText& valueText;
};

template <class Printer>
int PrintTree(const Session& session, const Path& path, Printer printer) {
    const Document document = session.Load();
    const std::optional<arbor::Key> top = FindKey(document.Root(), path);
    OmittedValues omitted;
    if (!top) {
        const ValueSlot value = OpenValue(document.Root(), path);
        const arbor::Datum datum = Demand(value.Read(0), value.Text());
        omitted.Try(path.Text(), [&] { printer.Show(value.Text(), datum, 0); });
        printer.End();
        return omitted.ExitCode(kExitDone);
    }
    Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
    WalkedNames names(Prefix(path));
    Walk(
        *top,
        [&](const arbor::Key& key, std::size_t depth) {
            stage.Step();
            printer.Enter(names.Enter(key, depth), depth);
            SiblingNames valueNames = ValueNames(key);
            ForEachValue(key, [&](const arbor::Value& value) {
                const std::string name = valueNames.Next(value.Name());
                const arbor::Datum datum = Read(value);
                omitted.Try(Below(names.Path(), name), [&] { printer.Show(name, datum, depth); });
            });
            printer.EndValues();
        },
        [&] { printer.Leave(); });
    printer.End();
    return omitted.ExitCode(kExitDone);
}

/// Takes the values without a text out of an export to `path`.
void RemoveTextless(const Document& exported, const std::string& path, const ValueText& valueText,
                    OmittedValues& omitted) {
    WalkedNames names(path);
    Walk(exported.Root(), [&](const arbor::Key& key, std::size_t depth) {
        names.Enter(key, depth);
        std::vector<std::string> textless;
        ForEachValue(key, [&](const arbor::Value& value) {
            omitted.Try(Below(names.Path(), EncodeName(value.Name())), [&] {
                textless.push_back(value.Name());
                static_cast<void>(valueText.Show(Read(value)));
                textless.pop_back();
            });
        });
        for (const std::string& name : textless) Demand(key.Remove(name), name);
    });
}

bool Contains(const std::string& text, const std::string& small) {
    return Lower(text).find(small) != std::string::npos;
}

/// A file's time in UTC, as ISO 8601 has it.
std::string TimeOf(const std::filesystem::path& path) {
    const auto time = std::chrono::file_clock::to_sys(std::filesystem::last_write_time(path));
    const std::time_t seconds = std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
    std::ostringstream text;
    text << std::put_time(std::gmtime(&seconds), "%Y-%m-%dT%H:%M:%SZ");
    return text.str();
}

kernel::ResultCode LoadCode(const Session& session, const std::filesystem::path& path) {
    try {
        const Document document(session.kernel, {.document = path, .readOnly = true, .wait = session.settings.wait},
                                session.progress);
        return kernel::kDone;
    } catch (const Refusal& refusal) {
        return refusal.Code();
    }
}

}   // namespace

int Tree(const Session& session, const Path& path) {
    const ValueText valueText(session.kernel);
    return session.json ? PrintTree(session, path, TreeJson(valueText))
                        : PrintTree(session, path, TreeLines(session, valueText));
}

int Get(const Session& session, const ValuePath& path, kernel::TypeCode type) {
    const Document document = session.Load();
    const ValueSlot value(OpenKey(document.Root(), path.key), path.value);
    const arbor::Datum datum = Demand(value.Read(type), value.Text());
    const ValueText valueText(session.kernel);
    OmittedValues omitted;
    omitted.Try(Below(Prefix(path.key), value.Text()), [&] {
        if (session.json) {
            Json(std::cout).BeginObject().Members(datum, valueText).EndObject().End();
        } else {
            std::cout << valueText.Show(datum) << '\n';
        }
    });
    return omitted.ExitCode(kExitDone);
}

int Find(const Session& session, const std::string& text) {
    const Document document = session.Load();
    const ValueText valueText(session.kernel);
    const std::string wanted = Lower(text);
    OmittedValues omitted;
    WalkedNames names;
    Json json(std::cout);
    std::size_t found = 0;
    Progress::Stage stage = session.progress.Begin("searching", session.settings.document);
    if (session.json) json.BeginArray();
    Walk(document.Root(), [&](const arbor::Key& key, std::size_t depth) {
        stage.Step();
        names.Enter(key, depth);
        const std::string& path = names.Path();
        if (depth > 0 && Contains(NameOf(key), wanted)) {
            ++found;
            if (session.json)
                json.BeginObject().Member("path", path).EndObject();
            else
                std::cout << path << "/\n";
        }
        SiblingNames valueNames = ValueNames(key);
        ForEachValue(key, [&](const arbor::Value& value) {
            const std::string valueName = valueNames.Next(value.Name());
            const arbor::Datum datum = Read(value);
            omitted.Try(Below(path, valueName), [&] {
                const std::string shown = valueText.Show(datum);
                if (!Contains(value.Name(), wanted) && !Contains(shown, wanted)) return;
                ++found;
                if (session.json) {
                    json.BeginObject().Member("path", path).Member("name", valueName);
                    json.Members(datum, valueText).EndObject();
                } else {
                    std::cout << Below(path, valueName) << ": " << valueText.Line(datum) << '\n';
                }
            });
        });
    });
    if (session.json) json.EndArray().End();
    return omitted.ExitCode(found != 0 ? kExitDone : kExitRefused);
}

int Diff(const Session& session, const std::filesystem::path& other) {
    const Document was = session.Load();
    DocumentSettings settings = session.settings;
    settings.document = other;
    settings.create = Creation::Never;
    const Document now(session.kernel, settings, session.progress);
    const ValueText valueText(session.kernel);
    const std::vector<Change> changes = Compare(was.Root(), now.Root());
    if (session.json) {
        Json json(std::cout);
        json.BeginArray();
        for (const Change& change : changes) Print(json, valueText, change);
        json.EndArray().End();
        return changes.empty() ? kExitDone : kExitRefused;
    }
    const Palette palette = PaletteOf(session);
    OmittedValues omitted;
    for (const Change& change : changes) {
        omitted.Try(Below(change.path, change.value.value_or("")), [&] {
            for (const std::string& line : Lines(valueText, change)) {
                std::cout << (line.front() == '-' ? palette.removed : palette.added) << line << palette.plain << '\n';
            }
        });
    }
    return changes.empty() ? kExitDone : kExitRefused;
}

int Export(const Session& session, const Path& path) {
    if (session.json) return Tree(session, path);
    const Document document = session.Load();
    host::MemoryIo io(session.kernel);
    const Document exported(session.kernel, io);
    const std::optional<arbor::Key> key = FindKey(document.Root(), path);
    if (key) {
        CopyApart(*key, exported.Root());
    } else {
        const ValueSlot value = OpenValue(document.Root(), path);
        const ValueSlot copy(exported.Root(), path.Names().back());
        Demand(copy.Set(Demand(value.Read(0), value.Text())), copy.Text());
    }
    OmittedValues omitted;
    try {
        exported.SaveAnyway();
    } catch (const Refusal& refusal) {
        if (refusal.Code() != kernel::kBufferTooSmall) throw;
        const Path top = key ? path : path.Parent();
        RemoveTextless(exported, Prefix(top), ValueText(session.kernel), omitted);
        exported.SaveAnyway();
    }
    std::cout << io.Content();
    return omitted.ExitCode(kExitDone);
}

int Backups(const Session& session) {
    const std::vector<BackupFile> files = FindBackups(session.settings.document);
    if (files.empty()) throw LoadError(kernel::kNoDocument, PathText(session.settings.document));
    Json json(std::cout);
    if (session.json) json.BeginArray();
    for (const BackupFile& file : files) {
        const kernel::ResultCode code = LoadCode(session, file.path);
        const std::uintmax_t size = std::filesystem::file_size(file.path);
        const std::string loads = size == 0 && kernel::IsSuccess(code) ? "empty" : LoadState(code);
        if (session.json) {
            json.BeginObject().Member("file", PathText(file.path)).Member("role", file.role);
            json.Member("modified", TimeOf(file.path)).Member("bytes", size).Member("state", loads).EndObject();
        } else {
            std::cout << TimeOf(file.path) << std::setw(12) << size << "  " << PathText(file.path.filename()) << " ("
                      << file.role << "): " << loads << '\n';
        }
    }
    if (session.json) json.EndArray().End();
    return kExitDone;
}

}   // namespace arborctl
