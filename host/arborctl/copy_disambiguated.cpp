// Copies depth first. Each level keeps the names that it has given to its children.

#include "copy_disambiguated.h"

#include "walk.h"

#include <set>

namespace arborctl {
namespace {

/// Makes names unique among siblings: "item", "item#2".
class UniqueNames {
public:
    [[nodiscard]] std::string MakeUnique(const std::string& name) {
        for (std::uint32_t number = 1;; ++number) {
            std::string candidate = number == 1 ? name : name + '#' + std::to_string(number);
            if (used.insert(ToLower(candidate)).second) return candidate;
        }
    }

private:
    std::set<std::string> used;
};

struct Level {
    arbor::Key target;
    UniqueNames names{};
};

}   // namespace

void CopyDisambiguated(const arbor::Key& from, const arbor::Key& to) {
    std::vector<Level> ancestors;
    Walk(from, [&](const arbor::Key& key, std::size_t depth) {
        ancestors.resize(depth);
        arbor::Key target = to;
        if (depth > 0) {
            const std::string name = ancestors.back().names.MakeUnique(NameOf(key));
            target = ValueOrThrow(ancestors.back().target.Make(name), name);
        }
        ForEachValue(key, [&](const arbor::Value& value) {
            ThrowIfFailed(target.Set(value.Name(), Read(value)), value.Name());
        });
        ancestors.push_back({target});
    });
}

}   // namespace arborctl
