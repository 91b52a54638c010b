/// Compares two trees of keys and values.
#pragma once

#include "json.h"
#include "value_text.h"

#include <optional>
#include <string>
#include <vector>

namespace arborctl {

/// A key or value that only one of two trees has, or a value that differs between them.
struct Change {
    std::string path;
    std::optional<std::string> value{};     // the name of the value; none if the change is of a key
    std::optional<arbor::Datum> before{};   // none if the first tree doesn't have the value
    std::optional<arbor::Datum> after{};    // none if the second tree doesn't have it
    bool keyAdded = false;                  // of a key: only the second tree has it
};

/// Returns the changes in the order of the trees. If siblings share a name, the second of one tree is compared with the
/// second of the other.
[[nodiscard]] std::vector<Change> Compare(const arbor::Key& before, const arbor::Key& after);

/// Returns a line that begins with "-" for the state before, a line with "+" for the state after, or both.
[[nodiscard]] std::vector<std::string> FormatLines(const ValueText& valueText, const Change& change);
void WriteJson(Json& json, const Change& change);

}   // namespace arborctl
