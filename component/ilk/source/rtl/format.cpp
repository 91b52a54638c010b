#include <component/ilk/rtl/format.h>

namespace ilk::detail {

std::string_view DigitsOf(std::uint64_t value, std::uint32_t base, DigitBuffer& buffer) noexcept {
    constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    char* const end = std::end(buffer.digits);
    char* first = end;
    do {
        *--first = kDigits[value % base];
        value /= base;
    } while (value != 0);
    return {first, static_cast<std::size_t>(end - first)};
}

std::string_view PrefixOf(bool minus, const FormatSpec& spec) noexcept {
    if (minus) return "-";
    if (!spec.show_base) return {};
    if (spec.base == 16) return "0x";
    return spec.base == 8 ? "0" : std::string_view();
}

}   // namespace ilk::detail
