/// A string of up to N narrow characters that never allocates. The last byte holds the number of free characters; in a
/// full string it is 0 and serves as the terminator.
#pragma once

#include <component/ilk/rtl/throws.h>

#include <algorithm>
#include <string_view>

namespace ilk {

template <std::size_t N>
class FixedText {
    static_assert(N < 256, "the last byte holds the number of free characters");

public:
    using value_type = char;

    FixedText() noexcept { SetSize(0); }
    /// Throws `std::bad_alloc` for more than N characters.
    explicit FixedText(std::string_view text) : FixedText() { append(text); }

    /// Throws `std::bad_alloc` and appends nothing if `text` doesn't fit.
    FixedText& append(std::string_view text) {
        const std::size_t oldSize = size();
        if (text.size() > N - oldSize) ThrowBadAlloc();
        std::copy(text.begin(), text.end(), text_ + oldSize);
        SetSize(oldSize + text.size());
        return *this;
    }
    FixedText& append(char character) { return append(std::string_view(&character, 1)); }

    [[nodiscard]] const char* data() const noexcept { return text_; }
    [[nodiscard]] std::size_t size() const noexcept { return N - static_cast<unsigned char>(text_[N]); }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] std::string_view view() const noexcept { return {text_, size()}; }

    friend bool operator==(const FixedText& a, std::string_view b) noexcept { return a.view() == b; }

private:
    void SetSize(std::size_t size) noexcept {
        text_[size] = '\0';
        text_[N] = static_cast<char>(N - size);
    }

    char text_[N + 1];
};

}   // namespace ilk
