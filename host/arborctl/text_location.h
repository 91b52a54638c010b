/// Lines and columns of a text, for messages.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace arborctl {

/// A position in a text. Both numbers count from 1; columns count characters of UTF-8.
struct TextLocation {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// Returns ":LINE:COLUMN", which follows the name of a file.
[[nodiscard]] inline std::string Suffix(const TextLocation& location) {
    return ':' + std::to_string(location.line) + ':' + std::to_string(location.column);
}

/// Converts offsets to locations in a single pass over the text; the offsets must not decrease.
class LocationCounter {
public:
    explicit LocationCounter(std::string_view text) : document(text) {}

    TextLocation At(std::size_t offset) {
        for (; position < offset; ++position) {
            const auto byte = static_cast<unsigned char>(document[position]);
            if (byte == '\n') {
                location = {location.line + 1, 1};
            } else if ((byte & 0xC0) != 0x80) {
                ++location.column;
            }
        }
        return location;
    }

private:
    std::string_view document;
    std::size_t position = 0;
    TextLocation location{};
};

}   // namespace arborctl
