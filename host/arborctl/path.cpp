// Parses paths, and encodes and decodes the names in them.

#include "path.h"

#include "ascii.h"

#include <host/text.h>

#include <charconv>
#include <stdexcept>

namespace arborctl {
namespace {

constexpr std::string_view kSeparators = "/\\";
constexpr std::string_view kEscape = "%x";

/// Returns the byte of the escape that `text` begins with, or -1 if it begins with none.
int EscapedByte(std::string_view text) {
    constexpr std::size_t kLength = 4;
    if (!text.starts_with(kEscape) || text.size() < kLength) return -1;
    int byte = 0;
    const char* const last = text.data() + kLength;
    return std::from_chars(text.data() + kEscape.size(), last, byte, 16).ptr == last ? byte : -1;
}

std::string DecodeName(std::string_view text) {
    std::string name;
    for (std::size_t i = 0; i < text.size();) {
        const int byte = EscapedByte(text.substr(i));
        name += byte < 0 ? text[i] : static_cast<char>(byte);
        i += byte < 0 ? 1 : kEscape.size() + 2;
    }
    if (name.find('\0') != std::string::npos) throw std::invalid_argument("a name can't hold a zero byte");
    return name;
}

}   // namespace

bool HasSeparator(std::string_view name) { return name.find_first_of(kSeparators) != std::string_view::npos; }

PathName ParseName(std::string_view text) {
    PathName name{DecodeName(text)};
    const std::size_t mark = text.rfind('#');
    if (mark == std::string_view::npos) return name;
    const char* const last = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + mark + 1, last, name.number);
    if (stop != last || error != std::errc()) name.number = 0;
    if (name.number != 0) name.baseName = DecodeName(text.substr(0, mark));
    return name;
}

Path::Path(std::string_view text) {
    std::string_view rest = text;
    if (!rest.empty() && HasSeparator(rest.substr(0, 1))) rest.remove_prefix(1);
    while (!rest.empty()) {
        const std::size_t length = rest.find_first_of(kSeparators);
        ofKey = length != std::string_view::npos;
        if (length == 0) throw std::invalid_argument("a name in the path is empty");
        if (names.size() == kMaxPathNames) {
            throw std::invalid_argument("the path has more than " + std::to_string(kMaxPathNames) + " names");
        }
        names.push_back(ParseName(rest.substr(0, length)));
        rest.remove_prefix(ofKey ? length + 1 : rest.size());
    }
}

Path Path::Parent() const {
    Path parent = *this;
    parent.names.pop_back();
    parent.ofKey = true;
    return parent;
}

std::string Path::Text() const {
    if (IsRoot()) return "the root";
    std::string text;
    for (const PathName& name : names) text = JoinPath(text, EncodeName(name.name));
    return text;
}

std::string ValuePath::Text() const { return JoinPath(key.IsRoot() ? "" : key.Text(), EncodeName(value.name)); }

ValuePath ToValuePath(const Path& path) {
    if (path.IsOfKey()) throw std::invalid_argument("the path is that of a key, not of a value");
    return {path.Parent(), path.Names().back()};
}

std::string EncodeName(std::string_view name) {
    std::string text;
    for (std::size_t i = 0; i < name.size();) {
        const std::size_t length = host::PrintableLength(name.substr(i));
        if (length == 0 || HasSeparator(name.substr(i, 1)) || EscapedByte(name.substr(i)) >= 0) {
            AppendHex(text.append(kEscape), name[i++]);
        } else {
            text.append(name, i, length);
            i += length;
        }
    }
    return text;
}

}   // namespace arborctl
