#include "fault_place.h"

#include <host/io_object.h>
#include <host/object.h>

#include <algorithm>
#include <string>
#include <vector>

namespace arborctl {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

struct Tag {
    std::size_t end;   // offset behind it
    std::string_view name;
    bool opens;
    bool closes;   // both for a self-closed one
};

struct Skipped {
    std::string_view start;
    std::string_view end;
};
/// Markup that is no tag; the longer beginnings first.
constexpr Skipped kSkipped[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<!", ">"}, {"<?", "?>"}};

/// Cuts a document into its tags, up to the first that has no end.
class Tags {
public:
    explicit Tags(std::string_view text) : document(text) {}

    std::optional<Tag> Next() {
        for (;;) {
            const std::size_t start = document.find('<', position);
            if (start == std::string_view::npos) return std::nullopt;
            const Skipped* skipped = std::find_if(std::begin(kSkipped), std::end(kSkipped), [&](const Skipped& each) {
                return document.substr(start).starts_with(each.start);
            });
            if (skipped == std::end(kSkipped)) return TagAt(start);
            const std::size_t end = document.find(skipped->end, start + skipped->start.size());
            if (end == std::string_view::npos) return std::nullopt;
            position = end + skipped->end.size();
        }
    }

private:
    /// A ">" in a quoted attribute ends nothing.
    std::optional<Tag> TagAt(std::size_t start) {
        char quote = '\0';
        for (std::size_t i = start + 1; i < document.size(); ++i) {
            const char letter = document[i];
            if (quote != '\0') {
                if (letter == quote) quote = '\0';
            } else if (letter == '"' || letter == '\'') {
                quote = letter;
            } else if (letter == '>') {
                position = i + 1;
                return Described(document.substr(start + 1, i - start - 1));
            }
        }
        return std::nullopt;
    }

    /// The tag between "<" and ">".
    [[nodiscard]] Tag Described(std::string_view inside) const {
        const bool end = inside.starts_with('/');
        const bool selfClosed = inside.ends_with('/');
        inside.remove_prefix(end ? 1 : 0);
        return {position, inside.substr(0, inside.find_first_of(" \t\r\n/")), !end, end || selfClosed};
    }

    std::string_view document;
    std::size_t position = 0;
};

/// The offsets up to which a document can be cut off and closed again: not inside a value, whose text belongs to it.
std::vector<std::size_t> Cuts(std::string_view document) {
    std::vector<std::size_t> cuts;
    Tags tags(document);
    std::optional<Tag> tag = tags.Next();
    while (tag) {
        const std::optional<Tag> next = tags.Next();
        const bool opensValue = tag->opens && !tag->closes && tag->name != "key" && next && !next->opens;
        if (!opensValue) cuts.push_back(tag->end);
        tag = next;
    }
    return cuts;
}

/// `start`, the beginning of a document, with the end tags that it lacks.
std::string Closed(std::string_view start) {
    std::vector<std::string_view> open;
    Tags tags(start);
    while (const std::optional<Tag> tag = tags.Next()) {
        if (tag->opens && !tag->closes) open.push_back(tag->name);
        if (!tag->opens && !open.empty()) open.pop_back();
    }
    std::string closed(start);
    for (auto name = open.rbegin(); name != open.rend(); ++name) closed.append("</").append(*name).append(">");
    return closed;
}

bool Loads(host::Kernel& kernel, std::string document) {
    host::MemoryIo io(kernel, std::move(document));
    host::Object object(kernel);
    return kernel::IsSuccess(object.SetIoObject(io.Get())) && kernel::IsSuccess(object.Ready());
}

FaultPlace PlaceOf(std::string_view document, std::size_t offset) {
    const std::string_view before = document.substr(0, offset);
    const std::string_view line = before.substr(before.rfind('\n') + 1);
    const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const auto characters = static_cast<std::size_t>(std::count_if(
        line.begin(), line.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
    return {lines + 1, characters + 1};
}

}   // namespace

/// The store is the judge: whatever beginning of the document loads, closed, has no fault in it.
std::optional<FaultPlace> FindFault(host::Kernel& kernel, std::string_view document) {
    if (Loads(kernel, std::string(document))) return std::nullopt;
    const std::vector<std::size_t> cuts = Cuts(document);
    const auto firstBad = std::partition_point(
        cuts.begin(), cuts.end(), [&](std::size_t cut) { return Loads(kernel, Closed(document.substr(0, cut))); });
    const std::size_t good = firstBad == cuts.begin() ? 0 : *(firstBad - 1);
    return PlaceOf(document, std::min(document.find_first_not_of(kBlanks, good), document.size()));
}

}   // namespace arborctl
