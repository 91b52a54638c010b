#include "completion.h"

#include "addressing.h"
#include "backups.h"
#include "command_line.h"
#include "walk.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <utility>

#include <CLI/CLI.hpp>

namespace arborctl {
namespace {

using Words = std::vector<std::string>;

/// The arguments so far, by the names of their options and operands, and the command.
using Given = std::map<std::string, std::string>;
constexpr const char* kCommand = "COMMAND";

/// Empty for one that isn't given.
std::string ValueOf(const Given& given, const char* name) {
    const auto found = given.find(name);
    return found == given.end() ? "" : found->second;
}

/// The words that `work(document)` finds in the document.
template <class Work>
Words ReadDocument(const Given& given, const std::string& root, Work work) {
    host::Kernel kernel;
    Progress progress(nullptr);
    kernel.LoadModule(ModuleOf(ValueOf(given, "--module")));
    const DocumentSettings settings{.document = DocumentOf(ValueOf(given, "DOCUMENT")),
                                    .readOnly = true,
                                    .root = Path(root),
                                    .wait = std::chrono::seconds(0)};
    const Document document(kernel, settings, progress);
    return work(document);
}

/// Keys end with a separator, so that the shell doesn't end the word there.
Words KeysIn(const arbor::Key& parent, const std::string& path) {
    Words words;
    SiblingNames names = KeyNames(parent);
    arbor::KeyRange children = parent.Keys();
    for (const arbor::Key& child : children) words.push_back(path + names.Next(NameOf(child)) + '/');
    return words;
}

Words ValuesIn(const arbor::Key& parent, const std::string& path) {
    Words words;
    SiblingNames names = ValueNames(parent);
    ForEachValue(parent, [&](const arbor::Value& value) { words.push_back(path + names.Next(value.Name())); });
    return words;
}

/// The path that `word` begins with, up to its last separator.
std::string ParentPath(const std::string& word) { return word.substr(0, word.find_last_of("/\\") + 1); }

Words Roots(const Given& given, const std::string& word) {
    return ReadDocument(given, "", [&word](const Document& document) {
        const std::string path = ParentPath(word);
        return KeysIn(OpenKey(document.Root(), Path(path)), path);
    });
}

/// The keys and values a level down from the last separator.
Words Paths(const Given& given, const std::string& word) {
    return ReadDocument(given, ValueOf(given, "--root"), [&word](const Document& document) {
        const std::string path = ParentPath(word);
        const arbor::Key parent = OpenKey(document.Root(), Path(path));
        Words words = KeysIn(parent, path);
        std::ranges::copy(ValuesIn(parent, path), std::back_inserter(words));
        return words;
    });
}

/// A name is no path: separators in it need no escape.
std::string WithSeparators(std::string name) {
    for (const auto& [escape, separator] : {std::pair("%x2F", "/"), std::pair("%x5C", "\\")}) {
        for (std::size_t at = 0; (at = name.find(escape, at)) != std::string::npos;) name.replace(at, 4, separator);
    }
    return name;
}

Words Names(const Given& given, const std::string&) {
    return ReadDocument(given, ValueOf(given, "--root"), [&given](const Document& document) {
        Words words = ValuesIn(OpenKey(document.Root(), Path(ValueOf(given, "PATH"))), "");
        std::ranges::transform(words, words.begin(), WithSeparators);
        return words;
    });
}

Words AllTypes() {
    Words words;
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes) words.emplace_back(row.name);
    return words;
}

/// `set` takes a value's own path and no name.
bool IsNameLeftOut(const Given& given) {
    return ValueOf(given, kCommand) == "set" && !Path(ValueOf(given, "PATH")).IsOfKey();
}

Words TypesWithoutName(const Given& given, const std::string&) { return IsNameLeftOut(given) ? AllTypes() : Words{}; }

Words Types(const Given& given, const std::string&) {
    const bool isText = IsNameLeftOut(given) && kernel::FindType(ValueOf(given, "VALUE")) != nullptr;
    return isText ? Words{} : AllTypes();
}

Words BackupNames(const Given& given, const std::string&) {
    const std::filesystem::path document = DocumentOf(ValueOf(given, "DOCUMENT"));
    Words words;
    for (const BackupFile& file : FindBackups(document)) {
        if (file.path.filename() != document.filename()) words.push_back(PathText(file.path.filename()));
    }
    return words;
}

Words ColourWords(const Given&, const std::string&) {
    Words words;
    for (const ColourRow& row : kColourRows) words.emplace_back(row.word);
    return words;
}

Words BackupModes(const Given&, const std::string&) {
    Words words;
    for (std::uint32_t mode = 0; mode <= kMaxBackupMode; ++mode) words.push_back(std::to_string(mode));
    return words;
}

/// What an option or operand can be. A null is for files; one without a row is free text.
struct Source {
    std::string_view name;
    Words (*words)(const Given& given, const std::string& word);
};
constexpr Source kSources[] = {
    {"DOCUMENT", nullptr},
    {"OTHER-DOCUMENT", nullptr},
    {"TARGET-DOCUMENT", nullptr},
    {"FOREIGN.xml", nullptr},
    {"--module", nullptr},
    {"PATH", Paths},
    {"--root", Roots},
    {"VALUE", Names},
    {"VALUE", TypesWithoutName},
    {"TYPE", Types},
    {"--as", Types},
    {"BACKUP", BackupNames},
    {"--color", ColourWords},
    {"--backup", BackupModes},
};

Words CommandNames(const CLI::App& tool) {
    Words words;
    for (const CLI::App* command : tool.get_subcommands({})) words.push_back(command->get_name());
    return words;
}

Words OptionNames(const CLI::App& level) {
    Words words;
    for (const CLI::Option* option : level.get_options()) {
        for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
    }
    return words;
}

/// Where a word stands on the command line.
class Position {
public:
    explicit Position(const CLI::App& app) : tool(app), level(&app) {}

    /// Steps over a word.
    void Pass(const std::string& word) {
        if (const CLI::Option* option = std::exchange(pending, nullptr)) {
            given[option->get_name()] = word;
        } else if (IsOption(word)) {
            PassOption(word);
        } else if (const CLI::Option* operand = NextOperand()) {
            given[operand->get_name()] = word;
            ++operands;
        } else if (const CLI::App* command = FindCommand(*level, word)) {
            level = command;
            given[kCommand] = word;
            operands = 0;
            optionsEnded = false;
        }
    }

    struct Result {
        Words words{};
        bool files = false;
    };

    /// What can stand for `word` here.
    [[nodiscard]] Result Complete(const std::string& word) const {
        if (pending != nullptr) return From(*pending, word);
        if (IsOption(word)) return CompleteOption(word);
        const CLI::Option* operand = NextOperand();
        Result result = operand != nullptr ? From(*operand, word) : Result{};
        if (level == &tool) result.words = CommandNames(tool);
        return result;
    }

private:
    [[nodiscard]] bool IsOption(const std::string& word) const { return !optionsEnded && word.starts_with('-'); }

    [[nodiscard]] const CLI::Option* NextOperand() const {
        const auto all = level->get_options([](const CLI::Option* option) { return option->get_positional(); });
        return operands < all.size() ? all[operands] : nullptr;
    }

    void PassOption(const std::string& word) {
        if (word == "--") {
            optionsEnded = true;
            return;
        }
        const std::size_t equals = word.find('=');
        const CLI::Option* option = level->get_option_no_throw(word.substr(0, equals));
        if (option == nullptr || option->get_items_expected_max() == 0) return;
        if (equals == std::string::npos)
            pending = option;
        else
            given[option->get_name()] = word.substr(equals + 1);
    }

    [[nodiscard]] Result CompleteOption(const std::string& word) const {
        const std::size_t end = word.find('=') + 1;
        if (end == 0) return {OptionNames(*level)};
        const CLI::Option* option = level->get_option_no_throw(word.substr(0, end - 1));
        Result result = option != nullptr ? From(*option, word.substr(end)) : Result{};
        for (std::string& value : result.words) value.insert(0, word, 0, end);
        return result;
    }

    [[nodiscard]] Result From(const CLI::Option& option, const std::string& word) const {
        Result result;
        for (const Source& source : kSources) {
            if (source.name != option.get_name()) continue;
            if (source.words == nullptr)
                result.files = true;
            else
                std::ranges::move(TryWords(source, word), std::back_inserter(result.words));
        }
        return result;
    }

    /// None of a document that can't be read.
    [[nodiscard]] Words TryWords(const Source& source, const std::string& word) const {
        try {
            return source.words(given, word);
        } catch (const std::exception&) {
            return {};
        }
    }

    const CLI::App& tool;
    const CLI::App* level;                  // the tool or a command
    const CLI::Option* pending = nullptr;   // whose value comes next
    std::size_t operands = 0;
    bool optionsEnded = false;
    Given given;
};

}   // namespace

int PrintCompletions(std::vector<std::string> words) {
    if (words.empty()) return kExitUsage;
    const std::string word = std::move(words.back());
    words.pop_back();
    const std::shared_ptr<const CLI::App> tool = DescribeCommandLine();
    Position position(*tool);
    const bool isDocument = words.size() == 1 && FindCommand(*tool, words[0]) != nullptr;   // the command came first
    if (!isDocument) {
        PutDocumentFirst(*tool, words);
        for (const std::string& passed : words) position.Pass(passed);
    }
    Position::Result result = position.Complete(word);
    if (isDocument) result.words.clear();
    std::cout << (result.files ? "files\n" : "words\n");
    for (const std::string& each : result.words) {
        if (each.starts_with(word)) std::cout << each << '\n';
    }
    return kExitDone;
}

}   // namespace arborctl
