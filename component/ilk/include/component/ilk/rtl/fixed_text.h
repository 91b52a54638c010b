/// Narrow text that lies wholly inside: up to N characters and a terminator. The last byte is the number of free
/// characters, so that a full text is terminated by it.
#pragma once

#include <component/ilk/rtl/throws.h>

#include <algorithm>
#include <string_view>

namespace ilk {

template <std::size_t N>
class FixedText {
    static_assert(N < 256, "the free room is one byte");

public:
    using value_type = char;

    FixedText() noexcept { SetSize(0); }
    /// `std::bad_alloc` for more than N characters.
    explicit FixedText(std::string_view text) : FixedText() { append(text); }

    /// `std::bad_alloc`, and nothing appended, if it doesn't fit.
    FixedText& append(std::string_view text) {
        const std::size_t before = size();
        if (text.size() > N - before) ThrowBadAlloc();
        std::copy(text.begin(), text.end(), text_ + before);
        SetSize(before + text.size());
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
