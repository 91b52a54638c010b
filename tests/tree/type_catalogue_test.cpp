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
    {"empty", "", 0},
    {"last of a full row", "tSIZE_T", tSIZE_T},
    {"one name begins another", "tSTRING", tSTRING},
    {"the longer of the two", "tSTRING_OBJ", tSTRING_OBJ},
    {"a prefix of a name", "tSTR_", 0},
    {"a name as a prefix", "tSTRINGS", 0},
    {"a 0 byte is part of the name", {"tPID\0", 5}, 0},
    {"the range ends the name, not the text", std::string_view("tDWORDs").substr(0, 6), tDWORD},
    {"case matters", "tDword", 0},
    {"second letter before the rows", "tABC", 0},
    {"second letter after the rows", "tXYZ", 0},
    {"second letter beyond ASCII", "t\xC4\xC4\xC4", 0},
    {"empty row", "tGOOD", 0},
    {"a type that can't be stored", "tOBJECT", tOBJECT},
    {"not a type", "key", 0},
};

TEST(TypeCatalogueTest, NamesMatchExactly) {
    for (const NameCase& row : kNames) EXPECT_EQ(TypeCodeFromName(row.name), row.code) << row.label;
    EXPECT_STREQ(TypeNameFromCode(tCODEPAGE).data(), "tCODEPAGE");
    EXPECT_EQ(TypeNameFromCode(16).data(), nullptr);
}

}   // namespace
}   // namespace arbor::module
