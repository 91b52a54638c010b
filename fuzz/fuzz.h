/// What every fuzz target stands on: the entry point, a check that also holds in optimised builds, and a way to draw
/// choices from the input.
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

/// One run of the target over one input. Returns 0; what it finds ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the process with the place and the property that doesn't hold.
#define FUZZ_CHECK(property)                                                     \
    do {                                                                         \
        if (!(property)) {                                                       \
            std::fprintf(stderr, "%s(%d): %s\n", __FILE__, __LINE__, #property); \
            std::abort();                                                        \
        }                                                                        \
    } while (false)

namespace fuzz {

/// Choices and texts, taken from the input's start; an input at its end gives zeros and empty texts.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : at(data), end(data + size) {}

    [[nodiscard]] bool AtEnd() const { return at == end; }

    std::uint8_t Byte() { return at != end ? *at++ : std::uint8_t{0}; }

    std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(Byte() % limit); }

    bool Coin() { return (Byte() & 1) != 0; }

    std::string Bytes(std::size_t count) {
        const std::size_t taken = std::min(count, static_cast<std::size_t>(end - at));
        std::string bytes(reinterpret_cast<const char*>(at), taken);
        at += taken;
        return bytes;
    }

    /// Up to `limit` bytes, as many as a byte in front says.
    std::string Text(std::size_t limit) { return Bytes(Below(limit + 1)); }

    std::string Rest() { return Bytes(static_cast<std::size_t>(end - at)); }

private:
    const std::uint8_t* at;
    const std::uint8_t* end;
};

/// The text up to its first 0 byte: what a caller with a terminated text can pass.
inline std::string Terminated(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

/// The bytes in a block of just their number, so that a byte too far is one outside.
template <class Char>
std::unique_ptr<Char[]> Exactly(std::basic_string_view<Char> text) {
    std::unique_ptr<Char[]> block(new Char[text.size()]);
    if (!text.empty()) std::memcpy(block.get(), text.data(), text.size() * sizeof(Char));
    return block;
}

}   // namespace fuzz
