#include <host/result_text.h>
#include <host/text.h>
#include <host/trace.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace host {
namespace {

/// What stands between "%" and the letter of a conversion.
struct Conversion {
    std::string flags;
    int width = 0;
    int precision = -1;   // none
    bool wide = false;    // 64 bits
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
    bool Skip(std::string_view prefix) {
        if (!format.starts_with(prefix)) return false;
        format.remove_prefix(prefix.size());
        return true;
    }

    int Number() {
        if (Skip("*")) return va_arg(arguments, int);
        constexpr int kWidest = 4096;   // a broken format shan't fill the memory with blanks
        int number = 0;
        while (!format.empty() && format.front() >= '0' && format.front() <= '9') {
            number = std::min(number * 10 + (format.front() - '0'), kWidest);
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
        conversion.width = Number();
        if (Skip(".")) conversion.precision = Number();
        if (Skip("ll") || Skip("I64")) conversion.wide = true;
        while (Skip("h") || Skip("l")) {
        }
        return conversion;
    }

    /// One conversion, from its "%" on.
    void Convert() {
        const std::string_view whole = format;
        Skip("%");
        const Conversion conversion = ReadConversion();
        if (Skip("terr")) return PutText(conversion, ResultInBrackets(va_arg(arguments, kernel::ResultCode)));
        const char letter = format.empty() ? '\0' : format.front();
        if (letter != '\0') format.remove_prefix(1);
        switch (letter) {
            case '%':
                output += '%';
                return;
            case 's':
                return PutNarrow(conversion, va_arg(arguments, const char*));
            case 'S':
                return PutWide(conversion, va_arg(arguments, const char16_t*));
            case 'c':
                return PutText(conversion, std::string(1, static_cast<char>(va_arg(arguments, int))));
            case 'd':
            case 'i':
                return Print(conversion, "lld", Signed(conversion));
            case 'u':
                return Print(conversion, "llu", Unsigned(conversion));
            case 'x':
                return Print(conversion, "llx", Unsigned(conversion));
            case 'X':
                return Print(conversion, "llX", Unsigned(conversion));
            case 'p':
                output += "0x";
                return Print(conversion, "llx", Address());   // the runtimes' own "p" differ
            case 'f':
                return Print(conversion, "f", va_arg(arguments, double));
            default:
                output.append(whole);   // what its argument would be, and those behind, nobody knows
                format = {};
        }
    }

    long long Signed(const Conversion& conversion) {
        return conversion.wide ? va_arg(arguments, std::int64_t) : va_arg(arguments, std::int32_t);
    }

    unsigned long long Unsigned(const Conversion& conversion) {
        return conversion.wide ? va_arg(arguments, std::uint64_t) : va_arg(arguments, std::uint32_t);
    }

    unsigned long long Address() { return reinterpret_cast<std::uintptr_t>(va_arg(arguments, const void*)); }

    template <class Value>
    void Print(const Conversion& conversion, const char* letters, Value value) {
        const std::string pattern = "%" + conversion.flags + "*.*" + letters;
        const int length = std::snprintf(nullptr, 0, pattern.c_str(), conversion.width, conversion.precision, value);
        if (length < 0) return;
        const std::size_t start = output.size();
        output.resize(start + static_cast<std::size_t>(length) + 1);
        std::snprintf(output.data() + start, static_cast<std::size_t>(length) + 1, pattern.c_str(), conversion.width,
                      conversion.precision, value);
        output.pop_back();
    }

    void PutText(const Conversion& conversion, std::string_view text) {
        if (conversion.precision >= 0) text = text.substr(0, static_cast<std::size_t>(conversion.precision));
        const bool left = conversion.width < 0 || conversion.flags.find('-') != std::string::npos;
        const std::size_t width = static_cast<std::size_t>(conversion.width < 0 ? -conversion.width : conversion.width);
        const std::string fill(width > text.size() ? width - text.size() : 0, ' ');
        if (!left) output += fill;
        output.append(text);
        if (left) output += fill;
    }

    /// A precision bounds what is looked at: the text needs no terminator then.
    void PutNarrow(const Conversion& conversion, const char* text) {
        if (text == nullptr) return PutText(conversion, "(null)");
        if (conversion.precision < 0) return PutText(conversion, text);
        const char* limit = text + conversion.precision;
        PutText(conversion, std::string_view(text, static_cast<std::size_t>(std::find(text, limit, '\0') - text)));
    }

    /// As above, the precision counting 16-bit units.
    void PutWide(Conversion conversion, const char16_t* text) {
        if (text == nullptr) return PutText(conversion, "(null)");
        std::u16string_view view;
        if (conversion.precision < 0) {
            view = text;
        } else {
            view = {text, static_cast<std::size_t>(std::find(text, text + conversion.precision, u'\0') - text)};
        }
        conversion.precision = -1;
        PutText(conversion, ToUtf8(view));
    }

    static std::string ResultInBrackets(kernel::ResultCode code) {
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
