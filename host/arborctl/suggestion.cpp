// Finds similar names by the optimal string alignment distance.

#include "suggestion.h"

#include "ascii.h"

#include <algorithm>
#include <utility>

namespace arborctl {
namespace {

/// The number of changes between two words, in which a swapped pair isn't changed again.
std::size_t Distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row{i};
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            row.push_back(std::min({last[j] + 1, row.back() + 1, replaced}));
            const bool isSwapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (isSwapped) row.back() = std::min(row.back(), beforeLast[j - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

}   // namespace

std::string Suggestion(std::string_view word, const std::vector<std::string_view>& names) {
    const std::string lower = ToLower(std::string(word));
    std::size_t nearest = 1 + word.size() / 4;
    std::string suggestion;
    for (const std::string_view name : names) {
        const std::string other = ToLower(std::string(name));
        constexpr std::size_t kMinPrefix = 3;
        const bool isPrefix = lower.size() >= kMinPrefix && other.starts_with(lower);
        const std::size_t distance = isPrefix ? 1 : Distance(lower, other);
        if (distance > nearest || (distance == nearest && !suggestion.empty())) continue;
        nearest = distance;
        suggestion = "; did you mean " + std::string(name) + '?';
    }
    return suggestion;
}

}   // namespace arborctl
