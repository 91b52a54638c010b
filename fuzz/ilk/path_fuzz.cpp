// The functions on file paths: normalising twice gives what normalising once gave, the parts of a path lie inside it,
// and a joined path consists of its parts. The input is the length of the first of two texts, and then both.
#include "fuzz.h"

#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/path.h>

namespace {

using Text = ilk::basic_string_t<char16_t>;
using View = std::u16string_view;

/// Makes one unit of each byte, so that an input of the same size gives a longer path. Bytes from 0x80 on become units
/// that no valid path has.
std::u16string Widened(std::string_view bytes) {
    std::u16string text;
    for (const char byte : bytes) {
        const auto unit = static_cast<unsigned char>(byte);
        text += static_cast<char16_t>(unit < 0x80 ? unit : 0xD780 + unit);
    }
    return text;
}

bool IsDrivePath(View path) { return path.size() > 2 && path[1] == u':' && ilk::IsSeparator(path[2]); }

void CheckNormal(View path) {
    Text once{path};
    ilk::NormalizePath(once);
    FUZZ_CHECK(once.size() <= std::max<std::size_t>(path.size(), 1));
    FUZZ_CHECK(once[once.size()] == u'\0');
    FUZZ_CHECK(once.empty() == path.empty());
    Text twice{once.view()};
    ilk::NormalizePath(twice);
    FUZZ_CHECK(twice.view() == once.view());
    if (!IsDrivePath(path)) return;
    FUZZ_CHECK(once.view().substr(0, 2) == path.substr(0, 2) && IsDrivePath(once.view()));
    // After the drive there are names with one separator between two of them; none is "." or "..".
    const View rest = once.view().substr(3);
    FUZZ_CHECK(rest.find(u'/') == rest.npos && rest.find(u"\\\\") == rest.npos && !rest.ends_with(u'\\'));
    for (std::size_t at = 0; at <= rest.size(); at = std::min(rest.find(u'\\', at), rest.size()) + 1) {
        const View name = rest.substr(at, rest.find(u'\\', at) - at);
        FUZZ_CHECK(name != u"..");
        FUZZ_CHECK(name != u".");
    }
    const Text prefixed = ilk::ToLongPath(path);
    FUZZ_CHECK(prefixed.view().starts_with(u"\\\\?\\") && prefixed.view().substr(4) == once.view());
    FUZZ_CHECK(ilk::ToLongPath(prefixed.view()).view() == prefixed.view());
}

void CheckParts(View path) {
    const char16_t* const begin = path.data();
    const char16_t* const end = begin + path.size();
    const char16_t* const last = ilk::LastComponentStart(begin, end);
    FUZZ_CHECK(last >= begin && last <= end && std::none_of(last, end, ilk::IsSeparator));
    FUZZ_CHECK(last == begin || ilk::IsSeparator(last[-1]) || (last == begin + 2 && last[-1] == u':'));
    const char16_t* const first = ilk::FirstComponentEnd(begin, end);
    FUZZ_CHECK(std::none_of(begin, first, ilk::IsSeparator) && (first == end || ilk::IsSeparator(*first)));
    const View parent = ilk::ParentPath(path);
    FUZZ_CHECK(parent.data() == begin && parent.size() <= path.size());
    FUZZ_CHECK(View(begin, last).size() - parent.size() <= 1);
    for (View above = path; ilk::ParentPath(above).size() != above.size();) above = ilk::ParentPath(above);
    FUZZ_CHECK(ilk::HasDevicePrefix(path) <= ilk::IsAbsolutePath(path));
}

void CheckJoined(View folder, View name) {
    Text joined{folder};
    ilk::JoinPath(joined, name);
    FUZZ_CHECK(joined.view().starts_with(folder) && joined.view().ends_with(name));
    const bool needsSeparator = !folder.empty() && !name.empty() && !ilk::IsSeparator(folder.back());
    FUZZ_CHECK(joined.size() == folder.size() + name.size() + (needsSeparator ? 1 : 0));
    FUZZ_CHECK(!needsSeparator || joined[folder.size()] == u'\\');
    Text doubled{folder};
    ilk::JoinPath(doubled, doubled.view());
    FUZZ_CHECK(doubled.view().starts_with(folder) && doubled.view().ends_with(folder));
}

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string first = input.Text(255);
    const std::string second = input.Rest();
    const std::u16string folder = Widened(first);
    const std::u16string name = Widened(second);
    const auto folderBlock = fuzz::CopyToBlock(View(folder));
    const auto nameBlock = fuzz::CopyToBlock(View(name));
    const View folderView(folderBlock.get(), folder.size());
    const View nameView(nameBlock.get(), name.size());
    for (const View path : {folderView, nameView}) {
        CheckNormal(path);
        CheckParts(path);
    }
    CheckJoined(folderView, nameView);
    return 0;
}
