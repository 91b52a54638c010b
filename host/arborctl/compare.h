/// The differences between two trees, key by key.
#pragma once

#include "json.h"
#include "value_text.h"

#include <optional>
#include <string>
#include <vector>

namespace arborctl {

/// A key or value that stands in one of two trees alone, or a value that differs.
struct Change {
    std::string path;
    std::optional<std::string> value{};   // the value's name; none for a key
    std::optional<arbor::Datum> was{};
    std::optional<arbor::Datum> now{};
    bool added = false;   // of a key
};

/// Of several keys or values with one name the second is compared with the second.
[[nodiscard]] std::vector<Change> Compare(const arbor::Key& was, const arbor::Key& now);

/// A line with "-" for what was there, one with "+" for what is, or both.
[[nodiscard]] std::vector<std::string> Lines(const ValueText& valueText, const Change& change);
void Print(Json& json, const ValueText& valueText, const Change& change);

}   // namespace arborctl
