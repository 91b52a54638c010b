/// Common to all fuzz targets: the entry point, a check that is also compiled into optimised builds, and a reader that
/// turns the bytes of the input into choices, numbers and texts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

/// Runs the target once. Returns 0. A failed check ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the process if `property` is false, and prints the source line and the property.
#define FUZZ_CHECK(property)                                                     \
    do {                                                                         \
        if (!(property)) {                                                       \
            std::fprintf(stderr, "%s(%d): %s\n", __FILE__, __LINE__, #property); \
            std::abort();                                                        \
        }                                                                        \
    } while (false)

namespace fuzz {

/// Reads choices, numbers and texts from the start of the input to its end. At the end all are 0 or empty.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : at(data), end(data + size) {}

    [[nodiscard]] bool AtEnd() const { return at == end; }

    std::uint8_t Byte() { return at != end ? *at++ : std::uint8_t{0}; }

    /// A number from 0 to `limit` - 1; one byte of the input.
    std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(Byte() % limit); }

    bool Bool() { return (Byte() & 1) != 0; }

    std::string Bytes(std::size_t count) {
        const std::size_t available = std::min(count, static_cast<std::size_t>(end - at));
        std::string bytes(reinterpret_cast<const char*>(at), available);
        at += available;
        return bytes;
    }

    /// At most `limit` bytes. One byte of the input, before them, is their number.
    std::string Text(std::size_t limit) { return Bytes(Below(limit + 1)); }

    std::string Rest() { return Bytes(static_cast<std::size_t>(end - at)); }

private:
    const std::uint8_t* at;
    const std::uint8_t* end;
};

/// The text up to its first 0 byte, as a function sees it that takes a terminated text.
inline std::string Terminated(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

/// A copy in a heap block of exactly the text's size, so that a sanitizer reports an access past its end.
template <class Char>
std::unique_ptr<Char[]> CopyToBlock(std::basic_string_view<Char> text) {
    std::unique_ptr<Char[]> block(new Char[text.size()]);
    if (!text.empty()) std::memcpy(block.get(), text.data(), text.size() * sizeof(Char));
    return block;
}

}   // namespace fuzz
