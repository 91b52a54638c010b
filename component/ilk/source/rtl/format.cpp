// The parts of number printing that don't depend on the target: digits and prefix.

#include <component/ilk/rtl/format.h>

namespace ilk::detail {

std::string_view ToDigits(std::uint64_t value, std::uint32_t base, DigitBuffer& buffer) noexcept {
    constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    char* const end = std::end(buffer.digits);
    char* first = end;
    do {
        *--first = kDigits[value % base];
        value /= base;
    } while (value != 0);
    return {first, static_cast<std::size_t>(end - first)};
}

std::string_view ChoosePrefix(bool isNegative, const FormatSpec& spec) noexcept {
    if (isNegative) return "-";
    if (!spec.show_base) return {};
    if (spec.base == 16) return "0x";
    return spec.base == 8 ? "0" : std::string_view();
}

}   // namespace ilk::detail
