#include "tree/value/type_catalogue.h"

#include <component/kernel/value_types.h>

#include <gtest/gtest.h>

namespace arbor::module {
namespace {

struct NameCase {
    const char* label;
    std::string_view name;
    TypeCode code;
};
constexpr NameCase kNames[] = {
    {"shortest", "tPID", tPID},
    {"nothing", "", 0},
    {"last of a full row", "tSIZE_T", tSIZE_T},
    {"one name begins another", "tSTRING", tSTRING},
    {"the longer of the two", "tSTRING_OBJ", tSTRING_OBJ},
    {"a beginning alone", "tSTR_", 0},
    {"one letter too many", "tSTRINGS", 0},
    {"a 0 byte counts as a letter", {"tPID\0", 5}, 0},
    {"the range ends the name, not the text", std::string_view("tDWORDs").substr(0, 6), tDWORD},
    {"the case of letters counts", "tDword", 0},
    {"second letter before the rows", "tABC", 0},
    {"second letter behind the rows", "tXYZ", 0},
    {"second letter far behind the rows", "t\xC4\xC4\xC4", 0},
    {"empty row", "tGOOD", 0},
    {"known, though no value has it", "tOBJECT", tOBJECT},
    {"no type at all", "key", 0},
};

TEST(TypeCatalogueTest, NamesLeadToCodesByExactMatch) {
    for (const NameCase& row : kNames) EXPECT_EQ(TypeCodeFromName(row.name), row.code) << row.label;
    EXPECT_STREQ(TypeNameFromCode(tCODEPAGE).data(), "tCODEPAGE");
    EXPECT_EQ(TypeNameFromCode(16).data(), nullptr);
}

}   // namespace
}   // namespace arbor::module
