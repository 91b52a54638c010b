// Parses the line argument by argument, since CLI11 can't parse an incomplete one. The options and operands come from
// the same tables as in `command_line.cpp`.

#include "completion.h"

#include "addressing.h"
#include "ascii.h"
#include "backups.h"
#include "command_table.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <utility>

namespace arborctl {
namespace {

using Words = std::vector<std::string>;

/// The arguments before the word to complete, by the names of their options and operands. The command is stored under
/// `kCommand`.
using GivenArguments = std::map<std::string, std::string, std::less<>>;
constexpr const char* kCommand = "COMMAND";

/// Returns the argument, or "" if it isn't given.
std::string ValueOf(const GivenArguments& given, const char* name) {
    const auto found = given.find(name);
    return found == given.end() ? "" : found->second;
}

/// Loads the document that the command line names, with the given root, and returns `work(document)`.
template <class Work>
Words CompleteFromDocument(const GivenArguments& given, const std::string& root, Work work) {
    host::Kernel kernel;
    Progress progress(nullptr);
    kernel.LoadModule(ModulePath(ValueOf(given, "--module")));
    const DocumentSettings settings{.document = ParseDocument(ValueOf(given, "DOCUMENT")),
                                    .readOnly = true,
                                    .root = Path(root),
                                    .wait = std::chrono::seconds(0)};
    const Document document(kernel, settings, progress);
    return work(document);
}

/// Returns the paths of child keys. A separator at the end keeps the shell from ending the word.
Words KeysIn(const arbor::Key& parent, const std::string& path) {
    Words words;
    ForEachNamedKey(parent, [&](const std::string& name, const arbor::Key&) { words.push_back(path + name + '/'); });
    return words;
}

Words ValuesIn(const arbor::Key& parent, const std::string& path) {
    Words words;
    ForEachNamedValue(parent, [&](const std::string& name, const arbor::Value&) { words.push_back(path + name); });
    return words;
}

/// Returns `word` up to and including its last separator.
std::string ParentPath(const std::string& word) { return word.substr(0, word.find_last_of("/\\") + 1); }

/// Candidates for the key of --root.
Words Roots(const GivenArguments& given, const std::string& word) {
    return CompleteFromDocument(given, "", [&word](const Document& document) {
        const std::string path = ParentPath(word);
        return KeysIn(OpenKey(document.Root(), Path(path)), path);
    });
}

/// Candidates for PATH: the keys and values in the key whose path ends at the last separator of `word`.
Words Paths(const GivenArguments& given, const std::string& word) {
    return CompleteFromDocument(given, ValueOf(given, "--root"), [&word](const Document& document) {
        const std::string path = ParentPath(word);
        const arbor::Key parent = OpenKey(document.Root(), Path(path));
        Words words = KeysIn(parent, path);
        std::ranges::copy(ValuesIn(parent, path), std::back_inserter(words));
        return words;
    });
}

/// VALUE is a single name, in which separators aren't escaped.
std::string UnescapeSeparators(std::string name) {
    for (const auto& [escape, separator] : {std::pair("%x2F", "/"), std::pair("%x5C", "\\")}) {
        for (std::size_t at = 0; (at = name.find(escape, at)) != std::string::npos;) name.replace(at, 4, separator);
    }
    return name;
}

/// Candidates for VALUE: names in the key PATH.
Words Names(const GivenArguments& given, const std::string&) {
    return CompleteFromDocument(given, ValueOf(given, "--root"), [&given](const Document& document) {
        Words words = ValuesIn(OpenKey(document.Root(), Path(ValueOf(given, "PATH"))), "");
        std::ranges::transform(words, words.begin(), UnescapeSeparators);
        return words;
    });
}

Words AllTypes() {
    Words words;
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes) words.emplace_back(row.name);
    return words;
}

/// True for `set` with the path of a value, which no VALUE follows.
bool IsNameOmitted(const GivenArguments& given) {
    return ValueOf(given, kCommand) == "set" && !Path(ValueOf(given, "PATH")).IsOfKey();
}

/// Candidates for the argument after PATH if VALUE is omitted: types.
Words TypesInsteadOfName(const GivenArguments& given, const std::string&) {
    return IsNameOmitted(given) ? AllTypes() : Words{};
}

Words Types(const GivenArguments& given, const std::string&) {
    const bool typeIsGiven = IsNameOmitted(given) && kernel::FindType(ValueOf(given, "VALUE")) != nullptr;
    return typeIsGiven ? Words{} : AllTypes();   // if it is given, this argument is the text
}

Words BackupNames(const GivenArguments& given, const std::string&) {
    const std::filesystem::path document = ParseDocument(ValueOf(given, "DOCUMENT"));
    Words words;
    for (const BackupFile& file : FindBackups(document)) {
        if (file.path.filename() != document.filename()) words.push_back(PathText(file.path.filename()));
    }
    return words;
}

Words ColourWords(const GivenArguments&, const std::string&) {
    Words words;
    for (const ColourRow& row : kColourRows) words.emplace_back(row.word);
    return words;
}

Words ImportFormWords(const GivenArguments&, const std::string&) {
    Words words;
    for (const ImportFormRow& row : kImportForms) words.emplace_back(row.word);
    return words;
}

Words BackupModes(const GivenArguments&, const std::string&) {
    Words words;
    for (std::uint32_t mode = 0; mode <= kMaxBackupMode; ++mode) words.push_back(std::to_string(mode));
    return words;
}

Words CommandNames(const GivenArguments&, const std::string&) {
    Words words;
    for (const CommandRow& row : Commands()) words.emplace_back(row.name);
    return words;
}

/// The candidates for an option's value or an operand. Null means file names. Those without a row are free text.
struct CandidateSource {
    std::string_view name;
    Words (*words)(const GivenArguments& given, const std::string& word);
    std::string_view command = "";   // the only one, if the name has several meanings
};
constexpr CandidateSource kCandidateSources[] = {
    {"DOCUMENT", nullptr},
    {"OTHER-DOCUMENT", nullptr},
    {"--to", nullptr},
    {"FILE", nullptr},
    {"--module", nullptr},
    {"--from", nullptr, "set"},
    {"--against", nullptr},
    {"PATH", Paths},
    {"TARGET", Paths},
    {"--root", Roots},
    {"VALUE", Names},
    {"VALUE", TypesInsteadOfName},
    {"TYPE", Types},
    {"--as", Types},
    {"--type", Types},
    {"BACKUP", BackupNames},
    {"COMMAND", CommandNames},
    {"--color", ColourWords},
    {"--from", ImportFormWords, "import"},
    {"--backup", BackupModes},
};

/// Follows the arguments of a command line in order and completes the one that comes next.
class LineState {
public:
    /// Processes one complete argument.
    void Consume(const std::string& word) {
        if (const OptionRow* option = std::exchange(pending, nullptr))
            given[std::string(option->name)] = word;
        else if (IsOption(word))
            ConsumeOption(word);
        else
            words.push_back(word);
    }

    struct Result {
        Words words{};
        bool files = false;
    };

    /// Returns the candidates for `word` as the next argument. Throws `std::invalid_argument` for a wrong line.
    [[nodiscard]] Result Complete(const std::string& word) {
        ClassifiedOperands split = ClassifyOperands(words);
        command = split.command;
        given["DOCUMENT"] = split.document;
        if (pending != nullptr) return CandidatesFor(pending->name, word);
        if (IsOption(word)) return CompleteOption(word);
        if (command == nullptr) {
            Result result = words.empty() ? CandidatesFor("DOCUMENT", word) : Result{};
            std::ranges::move(CommandNames(given, word), std::back_inserter(result.words));
            return result;
        }
        if (command->family != Family::Tool && split.document.empty()) return CandidatesFor("DOCUMENT", word);
        given[kCommand] = command->name;
        const OperandNames names = OperandsOf(*command);
        for (std::size_t i = 0; i < split.operands.size(); ++i) given[std::string(names.At(i))] = split.operands[i];
        return CandidatesFor(names.At(split.operands.size()), word);
    }

private:
    [[nodiscard]] bool IsOption(const std::string& word) const { return !optionsEnded && word.starts_with('-'); }

    void ConsumeOption(const std::string& word) {
        if (word == "--") {
            optionsEnded = true;
            return;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const auto option = std::ranges::find(Options(), std::string_view(name), &OptionRow::name);
        if (option == Options().end() || option->IsFlag()) return;
        if (equals == std::string::npos)
            pending = &*option;
        else
            given[name] = word.substr(equals + 1);
    }

    /// The options of the command and then those of all.
    [[nodiscard]] Words OptionNames() const {
        Words names;
        for (const OptionRow& row : Options()) {
            if (FindOption(command, row.name) == &row) names.emplace_back(row.name);
        }
        return names;
    }

    [[nodiscard]] Result CompleteOption(const std::string& word) const {
        const std::size_t end = word.find('=') + 1;
        if (end == 0) return {OptionNames()};
        Result result = CandidatesFor(word.substr(0, end - 1), word.substr(end));
        for (std::string& value : result.words) value.insert(0, word, 0, end);
        return result;
    }

    [[nodiscard]] Result CandidatesFor(std::string_view name, const std::string& word) const {
        Result result;
        for (const CandidateSource& source : kCandidateSources) {
            const bool isForCommand = source.command.empty() || (command != nullptr && source.command == command->name);
            if (source.name != name || !isForCommand) continue;
            if (source.words == nullptr)
                result.files = true;
            else
                std::ranges::move(TryWords(source, word), std::back_inserter(result.words));
        }
        return result;
    }

    /// Returns no candidates if the document can't be read.
    [[nodiscard]] Words TryWords(const CandidateSource& source, const std::string& word) const {
        try {
            return source.words(given, word);
        } catch (const std::exception&) {
            return {};
        }
    }

    const CommandRow* command = nullptr;
    const OptionRow* pending = nullptr;   // the option whose argument comes next
    bool optionsEnded = false;            // after "--"
    Words words;                          // the operands of the whole line
    GivenArguments given;
};

}   // namespace

int PrintCompletions(std::vector<std::string> words) {
    if (words.empty()) return kExitUsage;
    const std::string word = std::move(words.back());
    words.pop_back();
    LineState state;
    for (const std::string& argument : words) state.Consume(argument);
    LineState::Result result;
    try {
        result = state.Complete(word);
    } catch (const std::invalid_argument&) {
    }   // a wrong line has no candidates
    std::cout << (result.files ? "files\n" : "words\n");
    const std::string lower = ToLower(word);   // names and types can be given in any case
    for (const std::string& candidate : result.words) {
        if (ToLower(candidate).starts_with(lower)) std::cout << candidate << '\n';
    }
    return kExitDone;
}

}   // namespace arborctl
