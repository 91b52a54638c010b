#include "store_test.h"

#include "support/temporary_folder.h"

#include <component/kernel/properties.h>
#include <host/io_object.h>

#include <clocale>
#include <iterator>

namespace test {
namespace {

/// Puts the process into the first of these locales that the system has.
bool UseLocale(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (std::setlocale(LC_ALL, name) != nullptr) return true;
    }
    return false;
}

class ForeignTextTest : public StoreTest {
protected:
    ~ForeignTextTest() override { std::setlocale(LC_ALL, "C"); }
};

std::string AllBytes(std::string_view but) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        if (but.find(static_cast<char>(byte)) == std::string_view::npos) bytes += static_cast<char>(byte);
    }
    return bytes;
}

/// Numbers, wide text and names of every byte through a store: what was read back, and the document.
std::string Exercise(host::Kernel& kernel) {
    host::MemoryIo io(kernel);
    std::string report;
    {
        Store s(kernel);
        EXPECT_EQ(s.object.SetIoObject(io.Get()), kDone);
        EXPECT_EQ(s.object.Ready(), kDone);
        for (const char byte : AllBytes("/\\")) s.Make((std::string("k") + byte).c_str());
        for (const char byte : AllBytes("")) s.SetText(0, (std::string("n") + byte).c_str(), std::string(3, byte));
        s.SetText(0, "all", AllBytes(""));
        s.SetNumber(0, "double", tDOUBLE, 1234567.25);
        for (const char* text : {"2.75e3", "3,5"}) {
            s.SetNumber(0, text, tDOUBLE, 0.0);
            EXPECT_EQ(s.SetText(0, text, text), kDone);
        }
        constexpr char16_t kWide[] = u"\u00DF\u20AC";
        s.Set(0, "wide", tWSTRING, kWide, sizeof kWide - sizeof *kWide);
        EXPECT_EQ(s.Save(), kDone);
    }
    Store s(kernel);
    EXPECT_EQ(s.object.SetIoObject(io.Get()), kDone);
    EXPECT_EQ(s.object.Ready(), kDone);
    for (const char byte : AllBytes("/\\")) EXPECT_NE(s.Open((std::string("K") + byte).c_str()), kNoKey);
    for (const char byte : AllBytes("")) {
        // The two cases of a letter are one name, and what was set last counts.
        const char last = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte;
        EXPECT_EQ(s.Text(0, (std::string("n") + byte).c_str()), std::string(3, last)) << static_cast<int>(byte);
    }
    EXPECT_EQ(s.Text(0, "all"), AllBytes(""));
    for (const char* name : {"double", "2.75e3", "3,5", "wide"}) report += s.Text(0, name) + "|";
    return report + io.Content();
}

TEST_F(ForeignTextTest, NoLocaleChangesWhatIsStored) {
    const std::string plain = Exercise(kernel);
    EXPECT_TRUE(plain.starts_with("1234567.250000|2750.000000|3.000000|\u00DF\u20AC|")) << plain.substr(0, 80);
    ASSERT_TRUE(UseLocale({"de_DE.UTF-8", "de-DE", "German"})) << "ctest brings this locale along";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(Exercise(kernel), plain) << "decimal comma";
    ASSERT_TRUE(UseLocale({"C.UTF-8", ".65001"}));
    EXPECT_EQ(Exercise(kernel), plain) << "UTF-8";
}

TEST_F(ForeignTextTest, ADocumentLivesUnderALongForeignName) {
    const testing_support::TemporaryFolder folder;
    std::u16string name;
    for (const char16_t* part : {u"\u00FCber/", u"\u65E5\u672C\u8A9E/", u"\U0001F600/"}) {
        name += std::u16string(60, u'f') + part;
    }
    name += std::u16string(120, u'n') + u"\u0416.xml";
    ASSERT_GT(name.size(), 300U);
    for (const std::uint32_t round : {1U, 2U, 3U}) {
        Store s(kernel);
        EXPECT_EQ(s.object.SetName(folder.Path(name)), kDone);
        EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, 2), kDone);
        EXPECT_EQ(s.object.SetNumber(PropertyOpenFlags, kOpenFlagCreate), kDone);
        ASSERT_EQ(s.object.Ready(), kDone);
        EXPECT_EQ(s.Number<std::uint32_t>(0, "round", tDWORD), round - 1);
        EXPECT_EQ(s.SetNumber(0, "round", tDWORD, round), kDone);
        EXPECT_EQ(s.Save(), kDone);
    }
    EXPECT_NE(folder.Read(name).find(">3<"), std::string::npos);
    EXPECT_NE(folder.Read(name + u".bak").find(">1<"), std::string::npos) << folder.Read(name + u".bak");
}

}   // namespace
}   // namespace test
