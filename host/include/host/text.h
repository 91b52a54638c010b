/// Conversions between UTF-16 and UTF-8, the host's text import, and `Text`, an owner for a `HostString`.
#pragma once

#include <component/kernel/host_string.h>

#include <string>
#include <string_view>

namespace host {

class Kernel;
class Memory;

/// Returns `text` in UTF-8. An unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::u16string_view text);

/// Returns `text` in UTF-16. Each byte that isn't part of valid UTF-8 becomes U+FFFD.
[[nodiscard]] std::u16string ToUtf16(std::string_view text);

[[nodiscard]] bool IsUtf8(std::string_view text);

/// The length in bytes of the first character of `text`, which must not be empty; 0 if that is a control character or
/// not UTF-8.
[[nodiscard]] std::size_t PrintableLength(std::string_view text);

/// Returns `text` for a message: each byte of a control character, or outside valid UTF-8, becomes "\xNN".
[[nodiscard]] std::string Printable(std::string_view text);

/// Returns a count and its noun: "0 keys", "1 key", "2 keys".
[[nodiscard]] std::string Counted(std::uint64_t count, std::string_view noun);

/// The host's text import: replaces all of `text` by `source`, which ends at its first terminator or after `sizeBytes`.
/// Reuses the string's block if it is large enough, else allocates one from `memory`. Code pages: 1200 is UTF-16, 65001
/// and 0 are UTF-8; any other is `kNotSupported`. Returns `kInvalidArgument` for a null pointer, for UTF-16 of an odd
/// size, and for a range of characters (`from` other than 0, `count` other than `kWholeText`). On failure `text` is
/// unchanged.
kernel::ResultCode ImportText(Memory& memory, kernel::HostString* text, std::uint32_t from, std::uint32_t count,
                              const void* source, std::uint32_t sizeBytes, std::uint32_t codePage);

/// Owner of a `HostString`, the buffer for values read and written as `tSTRING_OBJ`. For one thread at a time.
class Text {
public:
    explicit Text(Kernel& owner) : kernel(owner) {}
    ~Text();
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    /// Replaces the text. Returns the result code of `ImportText`.
    kernel::ResultCode Set(std::u16string_view text);

    /// The buffer or data argument of a call. Remains owned by this object.
    [[nodiscard]] kernel::HostString* Get() { return &string; }
    [[nodiscard]] std::u16string_view View() const { return {string.Data(), string.Size()}; }

private:
    Kernel& kernel;
    kernel::HostString string{};
};

}   // namespace host
