/// Text between 16-bit units and UTF-8, and an owner for the host's strings.
#pragma once

#include <component/kernel/host_string.h>

#include <string>
#include <string_view>

namespace host {

class Kernel;
class Memory;

/// Surrogates are paired; half a pair becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::u16string_view text);

/// What isn't UTF-8 becomes U+FFFD, one for each byte.
[[nodiscard]] std::u16string ToUtf16(std::string_view text);

[[nodiscard]] bool IsUtf8(std::string_view text);

/// The length of the character at the start of `text`, which isn't empty; 0 for a control character and for a byte that
/// isn't UTF-8.
[[nodiscard]] std::size_t PrintableLength(std::string_view text);

/// `text` for a message: control characters, and bytes that aren't UTF-8, become "\xNN".
[[nodiscard]] std::string Printable(std::string_view text);

/// The host's text import: replaces the whole of `text` by `source`, up to its end or its first terminator, in memory
/// of `memory`; a block that is large enough stays. Reads the code pages 1200 (UTF-16), and 65001 and 0 (UTF-8); any
/// other one is `kNotSupported`. A part of a text is `kInvalidArgument`, as is a null or half a unit. On a failure
/// `text` stays.
kernel::ResultCode ImportText(Memory& memory, kernel::HostString* text, std::uint32_t from, std::uint32_t count,
                              const void* source, std::uint32_t sizeBytes, std::uint32_t codePage);

/// A string of the host for the type `tSTRING_OBJ`; gives its block back at the end. For one thread at a time.
class Text {
public:
    explicit Text(Kernel& owner) : kernel(owner) {}
    ~Text();
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    /// Replaces the text. Returns the import's code.
    kernel::ResultCode Set(std::u16string_view text);

    /// What calls take as their buffer or data; stays this object's.
    [[nodiscard]] kernel::HostString* Get() { return &string; }
    [[nodiscard]] std::u16string_view View() const { return {string.Data(), string.Size()}; }

private:
    Kernel& kernel;
    kernel::HostString string{};
};

}   // namespace host
