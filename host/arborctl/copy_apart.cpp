#include "copy_apart.h"

#include "walk.h"

namespace arborctl {
namespace {

struct Step {
    arbor::Key target;
    TakenNames taken{};
};

}   // namespace

void CopyApart(const arbor::Key& from, const arbor::Key& to) {
    std::vector<Step> way;
    Walk(from, [&](const arbor::Key& key, std::size_t depth) {
        way.resize(depth);
        arbor::Key target = to;
        if (depth > 0) {
            const std::string name = way.back().taken.Fresh(NameOf(key));
            target = Demand(way.back().target.Make(name), name);
        }
        ForEachValue(key,
                     [&](const arbor::Value& value) { Demand(target.Set(value.Name(), Read(value)), value.Name()); });
        way.push_back({target});
    });
}

}   // namespace arborctl
