/// Compares two trees of keys and values.
#pragma once

#include "json.h"
#include "packed_tree.h"
#include "value_text.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace arborctl {

/// Receives the keys and values of two trees, paired by name. A name is the printed one, of the first tree if it has
/// the key or value.
class PairVisitor {
public:
    virtual ~PairVisitor() = default;

    /// Begins a key that one or both trees have. The values of the key follow, then its subkeys.
    virtual void EnterKey(const std::string& name, bool isInBefore, bool isInAfter) = 0;
    virtual void VisitValue(const std::string& name, const std::optional<arbor::Datum>& before,
                            const std::optional<arbor::Datum>& after) = 0;
    virtual void LeaveKey() = 0;
};

/// Visits two trees at once, depth first. `before` has printed names. What only `after` has comes last in its key. If
/// siblings share a name, the second of one tree is paired with the second of the other. Not recursive.
void WalkPairs(const PackedKey& before, const arbor::Key& after, PairVisitor& visitor);

/// Whether both are present, with the same type and data.
[[nodiscard]] bool IsSame(const std::optional<arbor::Datum>& before, const std::optional<arbor::Datum>& after);

/// A key or value that only one of two trees has, or a value that differs between them.
struct Change {
    std::string path;
    std::optional<std::string> value{};     // the name of the value; none if the change is of a key
    std::optional<arbor::Datum> before{};   // none if the first tree doesn't have the value
    std::optional<arbor::Datum> after{};    // none if the second tree doesn't have it
    bool keyAdded = false;                  // of a key: only the second tree has it
};

/// Calls `onChange` for each change in the order of `WalkPairs`.
void Compare(const PackedKey& before, const arbor::Key& after, const std::function<void(Change change)>& onChange);

/// Returns a line that begins with "-" for the state before, a line with "+" for the state after, or both.
[[nodiscard]] std::vector<std::string> FormatLines(const ValueText& valueText, const Change& change);
void WriteJson(JsonWriter& json, const Change& change);

}   // namespace arborctl
