/// A generated document as its own generator means it: what every program of the comparison must find in it.
///
/// Reads the generator's form alone, a line for each tag, which the other libraries' printers keep too; so the right
/// answers come from no XML library and not from the store either.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

enum class Kind : std::uint32_t {
    Dword,
    Qword,
    Bool,
    String,
    Binary,
};

/// The kind by its element's name. Throws `std::runtime_error` for any other name.
[[nodiscard]] Kind KindOf(std::string_view element);
[[nodiscard]] std::string_view ElementOf(Kind kind);

/// The bytes that a caller gets for a text: numbers in the machine's order, a string with its terminator.
[[nodiscard]] std::string BinaryForm(Kind kind, std::string_view text);
[[nodiscard]] std::string TextForm(Kind kind, std::string_view bytes);

struct Entry {
    std::string path;   // of its key, with `/` between the names
    std::string name;
    Kind kind = Kind::Dword;
    std::string text;
};

/// Calls `value` for each value in the document's order and `key` with each key's path when it opens.
/// Throws `std::runtime_error` for a line of another form.
void ReadDocument(std::string_view document, const std::function<void(const std::string&)>& key,
                  const std::function<void(const Entry&)>& value);

/// What a walk over a whole document has seen, in any order.
struct Census {
    std::uint64_t keys = 0;
    std::uint64_t values = 0;
    std::uint64_t sum = 0;   // of the lengths and last bytes of all names and binary forms

    void AddKey(std::string_view name) {
        ++keys;
        AddBytes(name);
    }
    void AddValue(std::string_view name, std::string_view bytes) {
        ++values;
        AddBytes(name);
        AddBytes(bytes);
    }
    bool operator==(const Census&) const = default;

private:
    void AddBytes(std::string_view bytes) {
        sum += bytes.size();
        if (!bytes.empty()) sum += static_cast<unsigned char>(bytes.back());
    }
};

[[nodiscard]] Census CensusOf(std::string_view document);

/// One read or write of the measurement: where, and the two contents that are written in turn.
struct Question {
    Entry entry;
    std::string answer;   // binary form
    std::string other;    // of the same length
    std::string otherText;
};

/// All values of a document, or an even choice of `most` of them, in a fixed random order.
[[nodiscard]] std::vector<Question> QuestionsOf(std::string_view document, std::size_t most);

}   // namespace bench
