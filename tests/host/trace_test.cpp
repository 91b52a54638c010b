#include <host/trace.h>

#include <component/kernel/types.h>

#include <gtest/gtest.h>

namespace {

std::string Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string line = host::FormatTrace(format, arguments);
    va_end(arguments);
    return line;
}

struct Case {
    const char* label;
    std::string line;
    const char* expected;
};

TEST(TraceTest, ConversionsShowTheirArguments) {
    const auto noText = static_cast<const char*>(nullptr);
    const auto noWideText = static_cast<const char16_t*>(nullptr);
    const auto address = reinterpret_cast<void*>(0x1000);
    const auto refused = static_cast<kernel::ResultCode>(0x8000D002);
    const char letters[] = {'a', 'b', 'c'};
    const Case cases[] = {
        {"no conversion", Format("arbor\tplain"), "arbor\tplain"},
        {"percent", Format("100%% of %s", "all"), "100% of all"},
        {"a code and what follows it", Format("%s : %terr|%d", "x", refused, 7),
         "x : 0x8000D002 (no such key or value)|7"},
        {"a code without a text", Format("%terr", 0x123), "0x00000123 (unknown code)"},
        {"wide text", Format("%S|%d", u"Gr\u00fc\u00dfe \U0001F600", 7), "Gr\u00fc\u00dfe \U0001F600|7"},
        {"null texts", Format("%s %S %d", noText, noWideText, 7), "(null) (null) 7"},
        {"an unterminated text", Format("%.3s|%d", letters, 7), "abc|7"},
        {"a text in a field", Format("[%5s][%-5s]", "ab", "cd"), "[   ab][cd   ]"},
        {"signed", Format("%d %i %5d %-3d|", -1, 2, -3, 4), "-1 2    -3 4  |"},
        {"unsigned", Format("%u %x %X %#x", 0xFFFFFFFFu, 0xABu, 0xABu, 0xABu), "4294967295 ab AB 0xab"},
        {"a long has 32 bits", Format("0x%.08lX %ld %lu %d", 0xC0000006u, -2, 3u, 7), "0xC0000006 -2 3 7"},
        {"64 bits", Format("%lld %I64u %llx", -5LL, 1ULL << 40, 1ULL << 40), "-5 1099511627776 10000000000"},
        {"width from an argument", Format("%*d|%.*s", 4, 7, 2, "abc"), "   7|ab"},
        {"a character", Format("%c%c", 'o', 'k'), "ok"},
        {"a floating number", Format("%.2f %d", 1.5, 7), "1.50 7"},
        {"an address", Format("%p", address), "0x1000"},
        {"an unknown conversion ends the work", Format("%d %y %d", 1, 2, 3), "1 %y %d"},
        {"a lone percent at the end", Format("%d%", 1), "1%"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(row.line, row.expected);
    }
}

}   // namespace
