// Lines of flat text: their words, and the walk that prints a subtree.

#include "flat_text.h"

#include "addressing.h"
#include "exact_text.h"

#include <host/text.h>

#include <algorithm>

#include <component/kernel/type_table.h>

namespace arborctl {
namespace {

constexpr std::string_view kSpace = " \t";
constexpr std::string_view kPlainPunctuation = "_./%+-:@,=#";   // needs no quotes, apart from a leading "#"

struct Escape {
    char letter;
    char character;
};
constexpr Escape kEscapes[] = {{'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

bool IsPlain(char c) {
    return IsLetter(c) || IsDigit(c) || static_cast<unsigned char>(c) >= 0x80 ||
           kPlainPunctuation.find(c) != std::string_view::npos;
}

bool NeedsQuotes(std::string_view text) {
    return text.empty() || text.front() == '#' || !std::ranges::all_of(text, IsPlain) || !host::IsUtf8(text) ||
           host::Printable(text) != text;
}

/// Appends a character that isn't printable.
void AppendEscape(std::string& quoted, char character) {
    const auto* const row = std::ranges::find(kEscapes, character, &Escape::character);
    quoted += '\\';
    if (row != std::end(kEscapes)) {
        quoted += row->letter;
    } else {
        AppendHex(quoted += 'x', character);
    }
}

/// Reads the words of a line from left to right.
class WordReader {
public:
    explicit WordReader(std::string_view line) : rest(line) {}

    /// Moves to the next word. Returns false if there is none.
    bool FindWord() {
        rest.remove_prefix(std::min(rest.find_first_not_of(kSpace), rest.size()));
        return !rest.empty() && rest.front() != '#';
    }

    std::string ReadWord() {
        std::string word;
        while (!rest.empty() && kSpace.find(rest.front()) == std::string_view::npos) {
            const char first = rest.front();
            if (first == '\'') {
                ReadSingleQuoted(word);
            } else if (first == '"') {
                ReadDoubleQuoted(word);
            } else {
                ReadCharacter(word, &WordReader::ReadPlainEscape);
            }
        }
        return word;
    }

private:
    void ReadSingleQuoted(std::string& word) {
        const std::size_t end = rest.find('\'', 1);
        if (end == std::string_view::npos) throw std::invalid_argument("a ' has no closing '");
        word += rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
    }

    void ReadDoubleQuoted(std::string& word) {
        rest.remove_prefix(1);
        while (!rest.empty() && rest.front() != '"') ReadCharacter(word, &WordReader::ReadQuotedEscape);
        if (rest.empty()) throw std::invalid_argument("a \" has no closing \"");
        rest.remove_prefix(1);
    }

    void ReadCharacter(std::string& word, char (WordReader::*readEscape)(char)) {
        const char character = Next();
        word += character == '\\' ? (this->*readEscape)(Next()) : character;
    }

    char Next() {
        if (rest.empty()) throw std::invalid_argument("no character follows the \\ at the end");
        const char character = rest.front();
        rest.remove_prefix(1);
        return character;
    }

    /// Returns the character of an escape in double quotes; `letter` follows the backslash.
    char ReadQuotedEscape(char letter) {
        if (letter == 'x') return ReadHexByte();
        const auto* const row = std::ranges::find(kEscapes, letter, &Escape::letter);
        return row != std::end(kEscapes) ? row->character : ReadPlainEscape(letter);
    }

    /// The same outside quotes. Refuses a backslash before a letter, which is likely to be meant as a separator.
    char ReadPlainEscape(char letter) {
        if (IsLetter(letter) || IsDigit(letter)) {
            throw std::invalid_argument(std::string("\\") + letter +
                                        " has no meaning here; / separates names, \\\\ is a backslash");
        }
        return letter;
    }

    char ReadHexByte() {
        const unsigned high = rest.empty() ? platform::kNoHexDigit : platform::HexDigitValue(rest[0]);
        const unsigned low = rest.size() < 2 ? platform::kNoHexDigit : platform::HexDigitValue(rest[1]);
        if (high > 15 || low > 15) throw std::invalid_argument("two hexadecimal digits must follow \\x");
        rest.remove_prefix(2);
        return static_cast<char>(static_cast<unsigned char>(high << 4 | low));
    }

    std::string_view rest;
};

bool IsChangeWord(std::string_view word) { return std::ranges::find(kChangeWords, word) != std::end(kChangeWords); }

/// Prints a tree in the order of a depth-first walk, the values of a key before its keys.
class FlatTree {
public:
    FlatTree(std::string path, const std::function<void(const std::string&)>& printLine)
        : top(std::move(path)), print(printLine) {}

    void EnterKey(const std::string& name, std::size_t depth) {
        if (depth < paths.size()) EndKey();   // else the key is a child of the last one, which isn't empty then
        paths.resize(depth);
        paths.push_back(depth == 0 ? top : JoinPath(paths.back(), name));
        isEmpty = true;
    }
    void AddValue(const std::string& name, const arbor::Datum& datum) {
        isEmpty = false;
        print(FlatValue(paths.back(), name, datum));
    }
    void End() { EndKey(); }

private:
    void EndKey() {
        if (isEmpty && !paths.back().empty()) print(FlatKey(paths.back()));
    }

    std::string top;
    const std::function<void(const std::string&)>& print;
    std::vector<std::string> paths{};   // of the key entered last and those above it
    bool isEmpty = false;               // the key entered last
};

/// Returns the word of a path at the start of a line.
std::string PathWord(const std::string& path) {
    return QuoteWord(path.empty() || IsChangeWord(path) ? '/' + path : path);
}

}   // namespace

std::string QuoteWord(std::string_view text) {
    if (!NeedsQuotes(text)) return std::string(text);
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = host::PrintableLength(text);
        if (length == 0) {
            AppendEscape(quoted, text.front());
        } else {
            if (text.front() == '"' || text.front() == '\\') quoted += '\\';
            quoted += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return quoted + '"';
}

std::vector<std::string> SplitWords(std::string_view line) {
    std::vector<std::string> words;
    WordReader reader(line);
    while (reader.FindWord()) words.push_back(reader.ReadWord());
    return words;
}

std::string FlatValue(const std::string& path, const std::string& name, const arbor::Datum& datum) {
    return PathWord(path) + ' ' + QuoteWord(name) + ' ' + std::string(kernel::FindType(datum.type)->name) + ' ' +
           QuoteWord(ToExactText(datum));
}

std::string FlatKey(const std::string& path) { return QuoteWord(path + '/'); }

void PrintFlat(const arbor::Key& top, const std::string& path, const std::function<void(const std::string&)>& print,
               const std::function<void()>& onKey) {
    FlatTree lines(path, print);
    PrintedPaths paths;
    Walk(top, [&](const arbor::Key& key, std::size_t depth) {
        onKey();
        lines.EnterKey(paths.Enter(key, depth), depth);
        ForEachNamedValue(
            key, [&](const std::string& name, const arbor::Value& value) { lines.AddValue(name, Read(value)); });
    });
    lines.End();
}

void PrintFlat(const PackedTree& tree, const std::string& path, const std::function<void(const std::string&)>& print) {
    FlatTree lines(path, print);
    tree.ForEach([&](std::string_view name, std::size_t depth) { lines.EnterKey(std::string(name), depth); },
                 [&](std::string_view name, const arbor::Datum& datum, std::size_t) {
                     lines.AddValue(std::string(name), datum);
                 });
    lines.End();
}

}   // namespace arborctl
