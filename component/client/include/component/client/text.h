/// Names and paths as arguments of the client.
#pragma once

#include <component/kernel/result_codes.h>

#include <cstddef>
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
    Text(std::nullptr_t) = delete;   // also refuses the number 0, as in `key[0]`
    Text(const std::string& text)
        : chars(text.c_str()), size(text.find('\0') == std::string::npos ? kTerminated : text.size()) {}
    constexpr Text(std::string_view text) : chars(text.data()), size(text.size()) {}

    [[nodiscard]] std::string_view View() const {
        return size == kTerminated ? std::string_view(chars) : std::string_view(chars, size);
    }

private:
    friend class Terminated;

    static constexpr std::size_t kTerminated = ~std::size_t{0};

    const char* chars;
    std::size_t size;   // `kTerminated`, or the number of bytes if they have no terminator or a zero byte among them
};

/// The characters of a `Text` with a terminator. Copies those that have none, and allocates memory for that only if
/// there are more than 255. Not for components.
class Terminated {
public:
    explicit Terminated(Text text) {
        if (text.size == Text::kTerminated)
            chars = text.chars;
        else
            Copy(text.View());
    }
    Terminated(const Terminated&) = delete;
    Terminated& operator=(const Terminated&) = delete;
    ~Terminated() { delete[] longCopy; }

    [[nodiscard]] const char* Chars() const { return chars; }
    /// 0, `kernel::kInvalidArgument` for a zero byte inside, or `kernel::kOutOfMemory`.
    [[nodiscard]] kernel::ResultCode Code() const { return code; }

private:
    // Out of line, so that for a literal all of this class is folded away.
    [[gnu::noinline]] void Copy(std::string_view view) {
        char* target = shortCopy;
        if (view.size() >= sizeof shortCopy) {
            longCopy = new (std::nothrow) char[view.size() + 1];
            target = longCopy;
        }
        if (target == nullptr)
            code = kernel::kOutOfMemory;
        else if (view.find('\0') != view.npos)
            code = kernel::kInvalidArgument;
        else
            target[view.copy(target, view.size())] = '\0';
        chars = target;
    }

    const char* chars;
    kernel::ResultCode code = kernel::kDone;
    char* longCopy = nullptr;
    char shortCopy[256];
};

}   // namespace arbor
