// Splits, joins and normalises the text of paths.

#include <component/ilk/system/file/path.h>

#include <algorithm>

namespace ilk {
namespace {

using Position = const char16_t*;

constexpr std::u16string_view kCurrentDirectory = u".";
constexpr std::u16string_view kParentDirectory = u"..";
constexpr std::u16string_view kShareMarker = u"UNC";   // after a device prefix: server and share follow

bool HasDrive(Position begin, Position end) { return end - begin >= 2 && begin[1] == u':'; }

bool HasDriveRoot(Position begin, Position end) {
    return end - begin >= 3 && HasDrive(begin, end) && IsSeparator(begin[2]);
}

/// Returns the position after the last separator, or null if there is none.
Position AfterLastSeparator(Position begin, Position end) {
    for (Position position = end; position != begin; --position) {
        if (IsSeparator(position[-1])) return position;
    }
    return nullptr;
}

/// Returns the position after the separator at `position` and the component that follows it.
Position SkipSeparatorAndComponent(Position position, Position end) {
    return position == end ? end : FirstComponentEnd(position + 1, end);
}

/// Returns the position after the root that follows a device prefix: a share, a drive with a separator, or one
/// component.
Position SkipDeviceRoot(Position begin, Position end) {
    if (std::u16string_view(begin, end).starts_with(kShareMarker)) {
        const Position markerEnd = begin + kShareMarker.size();
        if (markerEnd != end && IsSeparator(*markerEnd)) {
            return SkipSeparatorAndComponent(SkipSeparatorAndComponent(markerEnd, end), end);
        }
    }
    return HasDriveRoot(begin, end) ? begin + 3 : FirstComponentEnd(begin, end);
}

/// Returns the position after the root of a path: a drive with a separator, a share, or a device with its root.
Position SkipRoot(Position begin, Position end) {
    if (begin == end || !IsSeparator(*begin)) return HasDriveRoot(begin, end) ? begin + 3 : begin;
    if (end - begin < 2 || !IsSeparator(begin[1])) return begin;
    const Position server = begin + 2;
    const Position serverEnd = FirstComponentEnd(server, end);
    if (serverEnd == end) return end;
    const bool isDevice = serverEnd - server == 1 && (*server == u'?' || *server == u'.');
    return isDevice ? SkipDeviceRoot(serverEnd + 1, end) : FirstComponentEnd(serverEnd + 1, end);
}

/// Returns the position after the part of a path that normalisation doesn't change. That part doesn't include a
/// separator at the end of the root.
Position SkipFixedPart(Position begin, Position end) {
    if (std::u16string_view(begin, end).starts_with(kTwoSeparators)) {
        const Position rootEnd = SkipRoot(begin, end);
        return rootEnd != begin && IsSeparator(rootEnd[-1]) ? rootEnd - 1 : rootEnd;
    }
    return HasDriveRoot(begin, end) ? begin + 2 : begin;
}

/// Normalises [begin, end) in place, from the last component to the first, and returns the start of the result, which
/// ends at `end`. The result is never longer than the components that it replaces, so it doesn't overwrite unread ones.
char16_t* CollapsePath(char16_t* begin, char16_t* end) {
    char16_t* kept = end;
    const auto keep = [&kept, end](std::u16string_view component) {
        if (kept != end) *--kept = kSeparator;
        kept = std::copy_backward(component.begin(), component.end(), kept);
    };
    const bool isRooted = begin != end && IsSeparator(*begin);
    std::size_t skip = 0;   // how many of the next components a ".." removes
    for (Position rest = end;;) {
        const Position afterSeparator = AfterLastSeparator(begin, rest);
        const Position start = afterSeparator != nullptr ? afterSeparator : begin;
        const std::u16string_view component(start, rest);
        if (component == kParentDirectory) {
            ++skip;
        } else if (!component.empty() && (component != kCurrentDirectory || start == begin)) {
            if (skip == 0)
                keep(component);
            else
                --skip;
        }
        if (afterSeparator == nullptr) break;
        rest = start - 1;
    }
    if (isRooted) {
        *--kept = kSeparator;
        return kept;
    }
    for (; skip > 0; --skip) keep(kParentDirectory);
    return kept;
}

}   // namespace

bool IsAbsolutePath(std::u16string_view path) {
    return path.starts_with(kTwoSeparators) || HasDriveRoot(path.data(), path.data() + path.size());
}

bool HasDevicePrefix(std::u16string_view path) { return path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\"); }

const char16_t* LastComponentStart(const char16_t* begin, const char16_t* end) {
    const Position afterSeparator = AfterLastSeparator(begin, end);
    if (afterSeparator != nullptr) return afterSeparator;
    return HasDrive(begin, end) ? begin + 2 : begin;
}

const char16_t* FirstComponentEnd(const char16_t* begin, const char16_t* end) {
    return std::find_if(begin, end, IsSeparator);
}

std::u16string_view ParentPath(std::u16string_view path) {
    const Position begin = path.data();
    const std::u16string_view parent(begin, LastComponentStart(begin, begin + path.size()));
    if (parent.size() < 2 || !IsSeparator(parent.back()) || parent[parent.size() - 2] == u':') return parent;
    return parent.substr(0, parent.size() - 1);
}

void JoinPath(basic_string_t<char16_t>& target, std::u16string_view path) {
    if (path.empty()) return;
    const bool needsSeparator = !target.empty() && !IsSeparator(target[target.size() - 1]);
    BlockHolder oldBlock;   // `path` may lie in `target`
    target.reserve_extra(&oldBlock, path.size() + (needsSeparator ? 1 : 0));
    if (needsSeparator) target.append(kSeparator);
    target.append(path);
}

void NormalizePath(basic_string_t<char16_t>& target) {
    if (target.empty()) return;
    char16_t* const begin = target.data();
    const auto start = static_cast<std::size_t>(SkipFixedPart(begin, target.end()) - begin);
    if (HasDrive(begin, target.end()) && target.size() == 2) return;
    const char16_t* const kept = CollapsePath(begin + start, target.end());
    if (start == 0 && kept == target.end()) {
        target.erase(0);
        target.append(kCurrentDirectory);   // doesn't allocate: the erased text was longer or as long
        return;
    }
    target.erase(start, static_cast<std::size_t>(kept - begin) - start);
}

}   // namespace ilk
