/// A tree as a JSON document: nested objects with "name", "values" and "keys". docs/arbor.schema.json describes them.
#pragma once

#include "exactness.h"
#include "json.h"
#include "packed_tree.h"

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

/// Reads a JSON document as a tree with decoded names, which may repeat. Throws `std::runtime_error` for what the
/// schema refuses; its text begins with `file` and the line and column. If `values` isn't null, a value that a save
/// changes is refused too.
[[nodiscard]] PackedTree ReadJsonDocument(std::string_view content, const std::string& file,
                                          const ExactConverter* values = nullptr);

}   // namespace arborctl
