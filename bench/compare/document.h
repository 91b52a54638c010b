/// The expected content of a generated document, against which every program of the comparison is checked.
///
/// Reads only the form that `bench/gen.py` writes, one tag or value per line, which the libraries' printers keep. So
/// the expected content is computed by none of the programs that are checked.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// The value types that a generated document has.
enum class Kind : std::uint32_t {
    Dword,
    Qword,
    Bool,
    String,
    Binary,
};

/// Returns the kind whose element has this name. Throws `std::runtime_error` for any other name.
[[nodiscard]] Kind KindOf(std::string_view element);
[[nodiscard]] std::string_view ElementOf(Kind kind);

/// The bytes that a caller reads for a value's text: numbers in machine byte order, strings with their terminator.
[[nodiscard]] std::string BinaryForm(Kind kind, std::string_view text);
[[nodiscard]] std::string TextForm(Kind kind, std::string_view bytes);

/// A value of a document.
struct Entry {
    std::string path;   // of its key, names separated by `/`
    std::string name;
    Kind kind = Kind::Dword;
    std::string text;
};

/// Calls `onKey` with the path of each key and `onValue` with each value, in the document's order.
/// Throws `std::runtime_error` for a line of another form.
void ReadDocument(std::string_view document, const std::function<void(const std::string&)>& onKey,
                  const std::function<void(const Entry&)>& onValue);

/// Counts and a checksum of all keys and values, independent of their order.
struct ContentDigest {
    std::uint64_t keys = 0;
    std::uint64_t values = 0;
    std::uint64_t sum = 0;   // lengths and last bytes of all names and binary forms

    void AddKey(std::string_view name) {
        ++keys;
        AddBytes(name);
    }
    void AddValue(std::string_view name, std::string_view bytes) {
        ++values;
        AddBytes(name);
        AddBytes(bytes);
    }
    bool operator==(const ContentDigest&) const = default;

private:
    void AddBytes(std::string_view bytes) {
        sum += bytes.size();
        if (!bytes.empty()) sum += static_cast<unsigned char>(bytes.back());
    }
};

[[nodiscard]] ContentDigest DigestOf(std::string_view document);

/// The digest of a foreign document, which its generator wrote as the three numbers of the comment at its start.
[[nodiscard]] ContentDigest ForeignDigest(std::string_view document);

/// A value that a measurement reads and writes, and the two contents that it writes alternately.
struct AccessCase {
    Entry entry;
    std::string original;      // binary form of the document's content
    std::string changed;       // binary form of another content of the same length
    std::string changedText;   // the same as text
};

/// All values of a document, or a random sample of `maxCount` of them, in random order; the same on each run.
[[nodiscard]] std::vector<AccessCase> MakeAccessCases(std::string_view document, std::size_t maxCount);

}   // namespace bench
