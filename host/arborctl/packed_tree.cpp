// The bytes of a value are its type, and its name and its data after their sizes. Sizes and types take 7 bits a byte,
// the lowest first; the top bit of all but the last byte is set.

#include "packed_tree.h"

#include "addressing.h"

#include <cstring>

namespace arborctl {
namespace {

void AppendNumber(std::string& bytes, std::size_t number) {
    for (; number >= 0x80; number >>= 7) bytes += static_cast<char>(number | 0x80);
    bytes += static_cast<char>(number);
}

void AppendText(std::string& bytes, std::string_view text) {
    AppendNumber(bytes, text.size());
    bytes += text;
}

/// Reads numbers and texts from left to right.
class ByteReader {
public:
    ByteReader(const std::string& source, std::size_t start) : bytes(source), position(start) {}

    [[nodiscard]] std::size_t Position() const { return position; }

    std::size_t ReadNumber() {
        std::size_t number = 0;
        for (unsigned shift = 0;; shift += 7) {
            const auto byte = static_cast<unsigned char>(bytes[position++]);
            number |= static_cast<std::size_t>(byte & 0x7F) << shift;
            if (byte < 0x80) return number;
        }
    }
    std::string_view ReadText() {
        const std::size_t size = ReadNumber();
        position += size;
        return std::string_view(bytes).substr(position - size, size);
    }

private:
    const std::string& bytes;
    std::size_t position;
};

}   // namespace

void PackedTree::EnterKey() {
    bytes += '\0';
    open.push_back(bytes.size());
    bytes.append(sizeof(KeyHeader), '\0');
    if (names.empty()) AppendText(names, "");   // at position 0, for the root
}

void PackedTree::NameKey(std::string_view name) {
    const std::size_t position = names.size();
    AppendText(names, name);
    std::memcpy(&bytes[open.back() + offsetof(KeyHeader, name)], &position, sizeof position);
}

void PackedTree::AddValue(std::string_view name, const arbor::Datum& datum) {
    AppendNumber(bytes, datum.type);
    AppendText(bytes, name);
    AppendText(bytes, datum.bytes);
}

void PackedTree::LeaveKey() {
    const std::size_t end = bytes.size();
    std::memcpy(&bytes[open.back() + offsetof(KeyHeader, end)], &end, sizeof end);
    open.pop_back();
}

PackedKey PackedTree::Root() const { return {*this, ReadEntry(0)}; }

PackedTree::Entry PackedTree::ReadEntry(std::size_t position) const {
    Entry entry;
    ByteReader reader(bytes, position);
    entry.type = static_cast<kernel::TypeCode>(reader.ReadNumber());
    if (entry.type == 0) {
        KeyHeader header;
        std::memcpy(&header, &bytes[reader.Position()], sizeof header);
        entry.name = ByteReader(names, header.name).ReadText();
        entry.content = reader.Position() + sizeof header;
        entry.end = header.end;
        return entry;
    }
    entry.name = reader.ReadText();
    entry.data = reader.ReadText();
    entry.end = reader.Position();
    return entry;
}

PackedTree Pack(const arbor::Key& top, PackedNames form, Progress::Stage stage) {
    PackedTree tree;
    PrintedPaths paths;
    const auto enter = [&](const arbor::Key& key, std::size_t depth) {
        stage.CountKey();
        tree.EnterKey();
        if (form == PackedNames::Printed) {
            tree.NameKey(paths.Enter(key, depth));
            ForEachNamedValue(
                key, [&](const std::string& name, const arbor::Value& value) { tree.AddValue(name, Read(value)); });
        } else {
            if (depth > 0) tree.NameKey(NameOf(key));
            ForEachValue(key, [&](const arbor::Value& value) { tree.AddValue(value.Name(), Read(value)); });
        }
    };
    Walk(top, enter, [&] { tree.LeaveKey(); });
    return tree;
}

}   // namespace arborctl
