// Reads the lines of a generated document and converts its values.

#include "document.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <random>
#include <stdexcept>
#include <utility>

namespace bench {
namespace {

constexpr std::array<std::string_view, 5> kElements = {"tDWORD", "tQWORD", "tBOOL", "tSTRING", "tBINARY"};

constexpr std::array<std::pair<std::string_view, char>, 6> kEntities = {{
    {"&amp;", '&'},
    {"&lt;", '<'},
    {"&gt;", '>'},
    {"&quot;", '"'},
    {"&apos;", '\''},
    {"&#x9;", '\t'},
}};

std::string Decode(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        const auto* const found = std::find_if(kEntities.begin(), kEntities.end(),
                                               [&](const auto& row) { return text.starts_with(row.first); });
        plain += found != kEntities.end() ? found->second : text.front();
        text.remove_prefix(found != kEntities.end() ? found->first.size() : 1);
    }
    return plain;
}

template <class Number>
std::string NumberBytes(std::string_view text) {
    Number number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || stop != text.data() + text.size()) throw std::runtime_error("not a number");
    return std::string(reinterpret_cast<const char*>(&number), sizeof number);
}

template <class Number>
std::string NumberText(std::string_view bytes) {
    Number number = 0;
    std::memcpy(&number, bytes.data(), sizeof number);
    return std::to_string(number);
}

unsigned HexDigit(char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10); }

/// The value of a tag's only attribute, the name.
std::string NameAttribute(std::string_view tag) {
    const std::size_t first = tag.find('"');
    const std::size_t last = tag.rfind('"');
    if (first == std::string_view::npos || first == last) throw std::runtime_error("a tag without a name");
    return Decode(tag.substr(first + 1, last - first - 1));
}

/// Consumes a line of `rest`. Returns it without its indent and line end.
std::string_view NextLine(std::string_view& rest) {
    const std::size_t cut = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, cut);
    rest.remove_prefix(std::min(cut + 1, rest.size()));
    while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

Entry ParseValue(std::string_view line, const std::string& path) {
    const std::size_t start = line.find('>');
    const std::size_t stop = line.rfind("</");
    const std::size_t space = line.find(' ');
    if (space > start || stop == std::string_view::npos || stop < start) throw std::runtime_error("not a value");
    return {path, NameAttribute(line.substr(0, start)), KindOf(line.substr(1, space - 1)),
            Decode(line.substr(start + 1, stop - start - 1))};
}

/// Returns another content of the same kind and length.
std::string MakeChanged(Kind kind, std::string bytes) {
    if (kind == Kind::String) {
        bytes.front() = bytes.front() == 'Z' ? 'Y' : 'Z';
    } else {
        bytes.front() = static_cast<char>(bytes.front() ^ 1);
    }
    return bytes;
}

}   // namespace

Kind KindOf(std::string_view element) {
    const auto* const found = std::find(kElements.begin(), kElements.end(), element);
    if (found == kElements.end()) throw std::runtime_error("an element that the generator doesn't write");
    return static_cast<Kind>(found - kElements.begin());
}

std::string_view ElementOf(Kind kind) { return kElements[static_cast<std::size_t>(kind)]; }

std::string BinaryForm(Kind kind, std::string_view text) {
    if (kind == Kind::Qword) return NumberBytes<std::uint64_t>(text);
    if (kind == Kind::Dword || kind == Kind::Bool) return NumberBytes<std::uint32_t>(text);
    if (kind == Kind::String) return std::string(text) + '\0';
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes += static_cast<char>(HexDigit(text[i]) << 4 | HexDigit(text[i + 1]));
    }
    return bytes;
}

std::string TextForm(Kind kind, std::string_view bytes) {
    if (kind == Kind::Qword) return NumberText<std::uint64_t>(bytes);
    if (kind == Kind::Dword || kind == Kind::Bool) return NumberText<std::uint32_t>(bytes);
    if (kind == Kind::String) return std::string(bytes.substr(0, bytes.size() - 1));
    std::string text;
    for (const char byte : bytes) {
        for (const int digit : {static_cast<unsigned char>(byte) >> 4, byte & 15}) text += "0123456789ABCDEF"[digit];
    }
    return text;
}

void ReadDocument(std::string_view document, const std::function<void(const std::string&)>& onKey,
                  const std::function<void(const Entry&)>& onValue) {
    std::string path;
    std::vector<std::size_t> lengths;
    bool open = false;
    while (!document.empty()) {
        const std::string_view line = NextLine(document);
        if (line.starts_with("<key ")) {
            lengths.push_back(path.size());
            if (!path.empty()) path += '/';
            path += NameAttribute(line);
            onKey(path);
        } else if (line == "</key>" && !lengths.empty()) {
            path.resize(lengths.back());
            lengths.pop_back();
        } else if (line == "<arbor>") {
            open = true;
        } else if (line == "</arbor>") {
            open = false;
        } else if (!line.empty() && !line.starts_with("<?")) {
            onValue(ParseValue(line, path));
        }
    }
    if (open || !lengths.empty()) throw std::runtime_error("the document is incomplete");
}

ContentDigest DigestOf(std::string_view document) {
    ContentDigest digest;
    ReadDocument(
        document, [&](const std::string& path) { digest.AddKey(std::string_view(path).substr(path.rfind('/') + 1)); },
        [&](const Entry& entry) { digest.AddValue(entry.name, BinaryForm(entry.kind, entry.text)); });
    return digest;
}

ContentDigest ForeignDigest(std::string_view document) {
    ContentDigest digest;
    for (std::uint64_t* number : {&digest.keys, &digest.values, &digest.sum}) {
        document.remove_prefix(std::min(document.find_first_of("0123456789"), document.size()));
        const auto [stop, error] = std::from_chars(document.data(), document.data() + document.size(), *number);
        if (error != std::errc()) throw std::runtime_error("a document without a digest");
        document.remove_prefix(static_cast<std::size_t>(stop - document.data()));
    }
    return digest;
}

std::vector<AccessCase> MakeAccessCases(std::string_view document, std::size_t maxCount) {
    std::vector<Entry> entries;
    ReadDocument(
        document, [](const std::string&) {}, [&](const Entry& entry) { entries.push_back(entry); });
    constexpr std::uint32_t kSeed = 1;
    std::shuffle(entries.begin(), entries.end(),
                 std::mt19937(kSeed));   // NOLINT(cert-msc51-cpp): the same order on each run
    entries.resize(std::min(entries.size(), maxCount));
    std::vector<AccessCase> cases;
    cases.reserve(entries.size());
    for (Entry& entry : entries) {
        std::string original = BinaryForm(entry.kind, entry.text);
        std::string changed = MakeChanged(entry.kind, original);
        std::string changedText = TextForm(entry.kind, changed);
        cases.push_back({std::move(entry), std::move(original), std::move(changed), std::move(changedText)});
    }
    return cases;
}

}   // namespace bench
