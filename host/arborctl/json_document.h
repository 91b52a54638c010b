/// A tree as a JSON document: nested objects with "name", "values" and "keys". docs/arbor.schema.json describes them.
#pragma once

#include "exactness.h"
#include "json.h"

#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace arborctl {

/// Writes a tree in the order of a depth-first walk: for each key `EnterKey`, its values, `EndValues`, its keys,
/// `LeaveKey`. Names are those of paths: `EncodeName` has been applied.
class JsonDocumentWriter {
public:
    explicit JsonDocumentWriter(std::ostream& target) : json(target) {}

    void EnterKey(const std::string& name) { json.BeginObject().Member("name", name).Name("values").BeginArray(); }
    void WriteValue(const std::string& name, const arbor::Datum& datum) {
        json.BeginObject().Member("name", name).TypeAndValue(datum).EndObject();
    }
    void EndValues() { json.EndArray().Name("keys").BeginArray(); }
    void LeaveKey() { json.EndArray().EndObject(); }
    void EndLine() { json.EndLine(); }

private:
    JsonWriter json;
};

/// Writes the keys and values below `top`, each with its own name, which may repeat or be empty. Calls `onKey()` for
/// each key.
void WriteJsonDocument(std::ostream& target, const arbor::Key& top, const std::function<void()>& onKey);

/// A key or value of a document that was read, with its decoded name.
struct TreeEntry {
    std::size_t depth = 0;   // of a key: from 1 on; of a value: that of its key, 0 for the root
    std::string name{};
    arbor::Datum datum{};   // of a key: type 0
};

/// Reads a JSON document. A key precedes its values and keys. Throws `std::runtime_error` for what the schema refuses;
/// its text begins with `file` and the line and column. If `values` isn't null, a value that a save changes is refused
/// too.
[[nodiscard]] std::deque<TreeEntry> ReadJsonDocument(std::string_view content, const std::string& file,
                                                     const ExactConverter* values = nullptr);

/// Adds the entries below `top`; repeated names get numbers.
void AddEntries(const std::deque<TreeEntry>& entries, const arbor::Key& top);

}   // namespace arborctl
