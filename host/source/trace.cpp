// The formatter of trace lines: one pass over the format, one function for each kind of argument.

#include <host/trace.h>

#include <host/result_text.h>
#include <host/text.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace host {
namespace {

/// The flags, width, precision and size of a conversion, which are between its "%" and its letter.
struct Conversion {
    std::string flags;
    int width = 0;
    int precision = -1;   // negative: none
    bool is64Bit = false;
};

class Formatter {
public:
    Formatter(const char* text, std::va_list source) : format(text) { va_copy(arguments, source); }
    ~Formatter() { va_end(arguments); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    std::string Run() {
        while (!format.empty()) {
            const std::size_t percent = std::min(format.find('%'), format.size());
            output.append(format.substr(0, percent));
            format.remove_prefix(percent);
            if (!format.empty()) Convert();
        }
        return std::move(output);
    }

private:
    /// Consumes `prefix` if the rest of the format begins with it. Returns whether it did.
    bool Consume(std::string_view prefix) {
        if (!format.starts_with(prefix)) return false;
        format.remove_prefix(prefix.size());
        return true;
    }

    /// Reads a width or a precision: digits, or "*", which takes it from the arguments.
    int ReadNumber() {
        if (Consume("*")) return va_arg(arguments, int);
        constexpr int kMaxNumber = 4096;   // bounds the output of a malformed format
        int number = 0;
        while (!format.empty() && format.front() >= '0' && format.front() <= '9') {
            number = std::min(number * 10 + (format.front() - '0'), kMaxNumber);
            format.remove_prefix(1);
        }
        return number;
    }

    Conversion ReadConversion() {
        Conversion conversion;
        while (!format.empty() && std::string_view("-+ #0").find(format.front()) != std::string_view::npos) {
            conversion.flags += format.front();
            format.remove_prefix(1);
        }
        conversion.width = ReadNumber();
        if (Consume(".")) conversion.precision = ReadNumber();
        if (Consume("ll") || Consume("I64")) conversion.is64Bit = true;
        while (Consume("h") || Consume("l")) {
        }
        return conversion;
    }

    /// Appends one conversion. The format begins with its "%".
    void Convert() {
        const std::string_view rest = format;
        Consume("%");
        const Conversion conversion = ReadConversion();
        if (Consume("terr")) return AppendText(conversion, NumberAndText(va_arg(arguments, kernel::ResultCode)));
        const char letter = format.empty() ? '\0' : format.front();
        if (letter != '\0') format.remove_prefix(1);
        switch (letter) {
            case '%':
                output += '%';
                return;
            case 's':
                return AppendNarrow(conversion, va_arg(arguments, const char*));
            case 'S':
                return AppendWide(conversion, va_arg(arguments, const char16_t*));
            case 'c':
                return AppendText(conversion, std::string(1, static_cast<char>(va_arg(arguments, int))));
            case 'd':
            case 'i':
                return AppendNumber(conversion, "lld", SignedArgument(conversion));
            case 'u':
                return AppendNumber(conversion, "llu", UnsignedArgument(conversion));
            case 'x':
                return AppendNumber(conversion, "llx", UnsignedArgument(conversion));
            case 'X':
                return AppendNumber(conversion, "llX", UnsignedArgument(conversion));
            case 'p':
                output += "0x";
                return AppendNumber(conversion, "llx", AddressArgument());   // the form of "%p" depends on the system
            case 'f':
                return AppendNumber(conversion, "f", va_arg(arguments, double));
            default:
                output.append(rest);   // the types of this and all later arguments are unknown
                format = {};
        }
    }

    long long SignedArgument(const Conversion& conversion) {
        return conversion.is64Bit ? va_arg(arguments, std::int64_t) : va_arg(arguments, std::int32_t);
    }

    unsigned long long UnsignedArgument(const Conversion& conversion) {
        return conversion.is64Bit ? va_arg(arguments, std::uint64_t) : va_arg(arguments, std::uint32_t);
    }

    unsigned long long AddressArgument() { return reinterpret_cast<std::uintptr_t>(va_arg(arguments, const void*)); }

    /// Formats with the C library. `letters` is the conversion for `Value`, which is 64 bits wide.
    template <class Value>
    void AppendNumber(const Conversion& conversion, const char* letters, Value value) {
        const std::string pattern = "%" + conversion.flags + "*.*" + letters;
        const int length = std::snprintf(nullptr, 0, pattern.c_str(), conversion.width, conversion.precision, value);
        if (length < 0) return;
        const std::size_t start = output.size();
        output.resize(start + static_cast<std::size_t>(length) + 1);
        std::snprintf(output.data() + start, static_cast<std::size_t>(length) + 1, pattern.c_str(), conversion.width,
                      conversion.precision, value);
        output.pop_back();
    }

    /// Cuts the text to the precision and pads it with spaces to the width.
    void AppendText(const Conversion& conversion, std::string_view text) {
        if (conversion.precision >= 0) text = text.substr(0, static_cast<std::size_t>(conversion.precision));
        const bool left = conversion.width < 0 || conversion.flags.find('-') != std::string::npos;
        const std::size_t width = static_cast<std::size_t>(conversion.width < 0 ? -conversion.width : conversion.width);
        const std::string fill(width > text.size() ? width - text.size() : 0, ' ');
        if (!left) output += fill;
        output.append(text);
        if (left) output += fill;
    }

    /// Reads no further than the precision: such a text needs no terminator.
    void AppendNarrow(const Conversion& conversion, const char* text) {
        if (text == nullptr) return AppendText(conversion, "(null)");
        if (conversion.precision < 0) return AppendText(conversion, text);
        const char* limit = text + conversion.precision;
        AppendText(conversion, std::string_view(text, static_cast<std::size_t>(std::find(text, limit, '\0') - text)));
    }

    /// As `AppendNarrow`; the precision counts 16-bit units.
    void AppendWide(Conversion conversion, const char16_t* text) {
        if (text == nullptr) return AppendText(conversion, "(null)");
        std::u16string_view view;
        if (conversion.precision < 0) {
            view = text;
        } else {
            view = {text, static_cast<std::size_t>(std::find(text, text + conversion.precision, u'\0') - text)};
        }
        conversion.precision = -1;   // already applied; the UTF-8 may be longer
        AppendText(conversion, ToUtf8(view));
    }

    static std::string NumberAndText(kernel::ResultCode code) {
        char number[16];
        std::snprintf(number, sizeof number, "0x%08X (", static_cast<unsigned>(code));
        return std::string(number).append(kernel::ResultText(code)) + ")";
    }

    std::string_view format;
    std::va_list arguments;
    std::string output;
};

}   // namespace

std::string FormatTrace(const char* format, std::va_list arguments) { return Formatter(format, arguments).Run(); }

}   // namespace host
