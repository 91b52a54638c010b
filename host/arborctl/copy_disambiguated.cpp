// Copies depth first. Each level keeps the names that it has given to its keys and values.

#include "copy_disambiguated.h"

#include "path.h"
#include "walk.h"

namespace arborctl {

std::string DisambiguatingTarget::UniqueNames::MakeUnique(const std::string& name) {
    for (std::uint32_t number = 1;; ++number) {
        std::string candidate = number == 1 ? name : name + '#' + std::to_string(number);
        if (used.insert(ToLower(candidate)).second) return candidate;
    }
}

void DisambiguatingTarget::EnterKey(const std::string& name, std::size_t depth) {
    levels.resize(depth);
    const std::string unique = levels.back().keyNames.MakeUnique(name);
    levels.push_back({ValueOrThrow(levels.back().key.Make(unique), EncodeName(unique))});
}

void DisambiguatingTarget::SetValue(const std::string& name, const arbor::Datum& datum, std::size_t depth) {
    levels.resize(depth + 1);
    const arbor::Key& key = levels.back().key;
    const std::string unique = levels.back().valueNames.MakeUnique(name);
    const arbor::Result<kernel::TypeCode> existing = key.Type(unique);
    // The store would convert the data to the type of the existing value.
    if (existing && *existing != datum.type) ThrowIfFailed(key.Remove(unique), EncodeName(unique));
    ThrowIfFailed(key.SetLenient(unique, datum), EncodeName(unique));
}

void CopyDisambiguated(const arbor::Key& from, const arbor::Key& to) {
    DisambiguatingTarget target(to);
    Walk(from, [&](const arbor::Key& key, std::size_t depth) {
        if (depth > 0) target.EnterKey(NameOf(key), depth);
        ForEachValue(key, [&](const arbor::Value& value) { target.SetValue(value.Name(), Read(value), depth); });
    });
}

void CopyDisambiguated(const PackedTree& from, const arbor::Key& to) {
    DisambiguatingTarget target(to);
    from.ForEach(
        [&](std::string_view name, std::size_t depth) {
            if (depth > 0) target.EnterKey(std::string(name), depth);
        },
        [&](std::string_view name, const arbor::Datum& datum, std::size_t depth) {
            target.SetValue(std::string(name), datum, depth);
        });
}

}   // namespace arborctl
