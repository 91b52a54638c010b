#include <component/ilk/system/file/path.h>

#include <algorithm>

namespace ilk {
namespace {

using Position = const char16_t*;

constexpr std::u16string_view kThisFolder = u".";
constexpr std::u16string_view kFolderAbove = u"..";
constexpr std::u16string_view kShareMark = u"UNC";
constexpr std::u16string_view kTwoBackslashes = u"\\\\";

bool HasDrive(Position begin, Position end) { return end - begin >= 2 && begin[1] == u':'; }

bool HasDriveRoot(Position begin, Position end) {
    return end - begin >= 3 && HasDrive(begin, end) && IsSeparator(begin[2]);
}

/// Behind the last separator, or null where there is none.
Position BehindLastSeparator(Position begin, Position end) {
    for (Position position = end; position != begin; --position) {
        if (IsSeparator(position[-1])) return position;
    }
    return nullptr;
}

/// Behind the separator at `position` and the component that follows it.
Position SkipSeparatorAndComponent(Position position, Position end) {
    return position == end ? end : FirstComponentEnd(position + 1, end);
}

/// Behind the root that follows a device prefix: a share, a drive's root or one component.
Position SkipDeviceRoot(Position begin, Position end) {
    if (std::u16string_view(begin, end).starts_with(kShareMark)) {
        const Position behindMark = begin + kShareMark.size();
        if (behindMark != end && IsSeparator(*behindMark)) {
            return SkipSeparatorAndComponent(SkipSeparatorAndComponent(behindMark, end), end);
        }
    }
    return HasDriveRoot(begin, end) ? begin + 3 : FirstComponentEnd(begin, end);
}

Position SkipRoot(Position begin, Position end) {
    if (begin == end || !IsSeparator(*begin)) return HasDriveRoot(begin, end) ? begin + 3 : begin;
    if (end - begin < 2 || !IsSeparator(begin[1])) return begin;
    const Position server = begin + 2;
    const Position serverEnd = FirstComponentEnd(server, end);
    if (serverEnd == end) return end;
    const bool isDevice = serverEnd - server == 1 && (*server == u'?' || *server == u'.');
    return isDevice ? SkipDeviceRoot(serverEnd + 1, end) : FirstComponentEnd(serverEnd + 1, end);
}

/// Where the part of a path begins that may be normalised.
Position SkipFixedPart(Position begin, Position end) {
    if (std::u16string_view(begin, end).starts_with(kTwoBackslashes)) {
        const Position behindRoot = SkipRoot(begin, end);
        return behindRoot != begin && IsSeparator(behindRoot[-1]) ? behindRoot - 1 : behindRoot;
    }
    return HasDriveRoot(begin, end) ? begin + 2 : begin;
}

/// Packs the components of [begin, end) against `end`, the last one first, and gives the start of what it kept. That is
/// never longer than what it was made from, so that it doesn't overrun what is still to be read.
char16_t* CollapsePath(char16_t* begin, char16_t* end) {
    char16_t* kept = end;
    const auto keep = [&kept, end](std::u16string_view component) {
        if (kept != end) *--kept = u'\\';
        kept = std::copy_backward(component.begin(), component.end(), kept);
    };
    const bool isRooted = begin != end && IsSeparator(*begin);
    std::size_t skip = 0;
    for (Position rest = end;;) {
        const Position behindSeparator = BehindLastSeparator(begin, rest);
        const Position start = behindSeparator != nullptr ? behindSeparator : begin;
        const std::u16string_view component(start, rest);
        if (component == kFolderAbove) {
            ++skip;
        } else if (!component.empty() && (component != kThisFolder || start == begin)) {
            if (skip == 0)
                keep(component);
            else
                --skip;
        }
        if (behindSeparator == nullptr) break;
        rest = start - 1;
    }
    if (isRooted) {
        *--kept = u'\\';
        return kept;
    }
    for (; skip > 0; --skip) keep(kFolderAbove);
    return kept;
}

}   // namespace

bool IsAbsolutePath(std::u16string_view path) {
    return path.starts_with(kTwoBackslashes) || HasDriveRoot(path.data(), path.data() + path.size());
}

bool HasDevicePrefix(std::u16string_view path) { return path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\"); }

const char16_t* LastComponentStart(const char16_t* begin, const char16_t* end) {
    const Position behindSeparator = BehindLastSeparator(begin, end);
    if (behindSeparator != nullptr) return behindSeparator;
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
    const bool isApart = target.empty() || IsSeparator(target[target.size() - 1]);
    BlockHolder holder;   // the path may lie in the target
    target.reserve_extra(&holder, path.size() + (isApart ? 0 : 1));
    if (!isApart) target.append(u'\\');
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
        target.append(kThisFolder);   // there is room: something stood here
        return;
    }
    target.erase(start, static_cast<std::size_t>(kept - begin) - start);
}

}   // namespace ilk
