/// Names and paths as arguments of the client.
#pragma once

#include <component/kernel/result_codes.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace arbor {

/// A name or a path. Refers to the caller's characters. A call with a `Text` that has a zero byte inside returns
/// `kernel::kInvalidArgument`, because the interface would read only what precedes it.
///
/// A path is names with separators between them. The separator is `/` if one is left in the path, otherwise `\`, so
/// that the first name of "a\b/c" is "a\b". A path ends before an empty name: "a//b" is "a", and "/a" is the key
/// itself. These rules hold for all calls. No call creates a key with a separator in its name: for a path with such a
/// name, and without such a key, a call that creates keys returns `kernel::kInvalidArgument`.
class Text {
public:
    constexpr Text(const char* terminated) : chars(terminated), size(kTerminated) {}
    Text(const std::string& text)
        : chars(text.c_str()), size(text.find('\0') == std::string::npos ? kTerminated : text.size()) {}
    constexpr Text(std::string_view text) : chars(text.data()), size(text.size()) {}

    /// Returns `call(chars)` with the characters and a terminator. Copies a `std::string_view`, and allocates memory
    /// for that only if it has more than 255 bytes; without that memory the result is `kernel::kOutOfMemory`.
    template <class Call>
    kernel::ResultCode WithTerminator(Call call) const {
        if (size == kTerminated) return call(chars);
        return WithCopy(call);
    }

    [[nodiscard]] std::string_view View() const {
        return size == kTerminated ? std::string_view(chars) : std::string_view(chars, size);
    }

private:
    static constexpr std::size_t kTerminated = ~std::size_t{0};
    static constexpr std::size_t kMaxInline = 255;

    template <class Call>
    kernel::ResultCode WithCopy(Call call) const {
        if (View().find('\0') != std::string_view::npos) return kernel::kInvalidArgument;
        if (size > kMaxInline) {
            const std::unique_ptr<char[]> copy(new (std::nothrow) char[size + 1]);
            return copy ? call(Copy(copy.get())) : kernel::kOutOfMemory;
        }
        char copy[kMaxInline + 1];
        return call(Copy(copy));
    }

    const char* Copy(char* target) const {
        *std::copy_n(chars, size, target) = '\0';
        return target;
    }

    const char* chars;
    std::size_t size;   // `kTerminated`, or the number of bytes if they have no terminator or a zero byte among them
};

}   // namespace arbor
