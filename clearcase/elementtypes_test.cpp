#include "clearcase/elementtypes.h"

#include <gtest/gtest.h>

namespace {

TEST(ElementTypesTest, TheTableNamesTheTypesInOrderAndEndsWithANullNameAndMinusOne) {
    const char* const names[] = {
        "unexpected",   "null",         "version",        "directory_version", "symbolic_link",
        "view_private", "view_derived", "derived_object", "checked_out_file",  "checked_out_dir"};
    int value = -1;
    const ElementTypeName* entry = elementTypeNames;
    for (const char* name : names) {
        EXPECT_STREQ(entry->name, name);
        EXPECT_EQ(entry->type, value++);
        ++entry;
    }
    EXPECT_EQ(entry->name, nullptr);
    EXPECT_EQ(entry->type, -1);
}

TEST(ElementTypesTest, TheMapHoldsEachNameOfTheTableWithItsValue) {
    const std::map<std::string, ElementType> expected = {
        {"unexpected", ElementType(-1)},      {"null", ElementType(0)},
        {"version", ElementType(1)},          {"directory_version", ElementType(2)},
        {"symbolic_link", ElementType(3)},    {"view_private", ElementType(4)},
        {"view_derived", ElementType(5)},     {"derived_object", ElementType(6)},
        {"checked_out_file", ElementType(7)}, {"checked_out_dir", ElementType(8)}};
    EXPECT_EQ(elementTypeMap, expected);
}

}  // namespace
