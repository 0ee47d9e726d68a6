// Properties of the tables.

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "util/pathcollation.h"

namespace {

constexpr uint32_t unitCount = 65536;
constexpr uint16_t largest = 64562;

std::map<uint16_t, std::vector<uint16_t>> unitsByWeight() {
    std::map<uint16_t, std::vector<uint16_t>> units;
    for (uint32_t unit = 0; unit < unitCount; ++unit) {
        units[collationWeight(static_cast<uint16_t>(unit))].push_back(static_cast<uint16_t>(unit));
    }
    return units;
}

TEST(PathCollationTableTest, TheWeightsInUseAreAllFromOneToTheLargest) {
    const auto units = unitsByWeight();
    EXPECT_EQ(units.size(), largest);
    EXPECT_EQ(units.begin()->first, 1);
    EXPECT_EQ(units.rbegin()->first, largest);
    EXPECT_EQ(collationWeight(0), 1);
}

TEST(PathCollationTableTest, OnlyPairsShareAWeightAndThereAre974) {
    int pairs = 0;
    for (const auto& [weight, units] : unitsByWeight()) {
        ASSERT_LE(units.size(), 2U) << weight;
        if (units.size() == 2) {
            ++pairs;
            EXPECT_EQ(pathCaseSwapTable[units[0]], units[1]) << weight;
            EXPECT_EQ(pathCaseSwapTable[units[1]], units[0]) << weight;
        } else {
            EXPECT_EQ(pathCaseSwapTable[units[0]], units[0]) << weight;
        }
    }
    EXPECT_EQ(pairs, 974);
}

TEST(PathCollationTableTest, SwappingTwiceIsTheIdentityAndSwapsOnlyWhatSharesAWeight) {
    int swapped = 0;
    for (uint32_t unit = 0; unit < unitCount; ++unit) {
        const uint16_t partner = pathCaseSwapTable[unit];
        EXPECT_EQ(pathCaseSwapTable[partner], unit);
        EXPECT_EQ(collationWeight(partner), collationWeight(static_cast<uint16_t>(unit)));
        swapped += partner != unit ? 1 : 0;
    }
    EXPECT_EQ(swapped, 2 * 974);
}

TEST(PathCollationTableTest, SelectedUnitsHaveTheirWeights) {
    const struct {
        uint16_t unit, weight;
    } rows[] = {
        {0x0000, 1},     {0x00AD, 2},    {0xFFFD, 3369}, {0x0001, 3372},  {'\'', 3399},
        {'-', 3403},     {' ', 3938},    {'\t', 3968},   {'/', 4127},     {'\\', 4127},
        {'+', 4592},     {'0', 6756},    {'9', 7261},    {'A', 7496},     {'a', 7496},
        {0x00C9, 7684},  {0x00E9, 7684}, {'Z', 8457},    {'z', 8457},     {0x0391, 8525},
        {0x03B1, 8525},  {0xFF21, 7499}, {0xFF41, 7499}, {0xE000, 16815}, {0xD800, 23215},
        {0x4E00, 36145},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(collationWeight(row.unit), row.weight) << std::hex << row.unit;
    }
}

TEST(PathCollationTableTest, ASCIIHasItsOrder) {
    std::string order(1, '\0');
    for (char c = 1; c < 32; ++c) {
        if (c < '\t' || c > '\r') {
            order += c;
        }
    }
    order += "\x7f'- \t\n\v\f\r!\"#$%&()*,./:;?@[]^_`{|}~+<=>0123456789";
    std::string letters = "abcdefghijklmnopqrstuvwxyz";
    ASSERT_EQ(order.size() + 1 + 2 * letters.size(), 128U) << "the backslash is the slash";
    order += letters;
    for (size_t i = 1; i < order.size(); ++i) {
        EXPECT_LT(
            compareCollation(static_cast<uint16_t>(order[i - 1]), static_cast<uint16_t>(order[i])),
            0)
            << static_cast<int>(order[i - 1]) << " before " << static_cast<int>(order[i]);
    }
    for (const char letter : letters) {
        EXPECT_EQ(pathCaseSwapTable[static_cast<uint16_t>(letter)], letter - 'a' + 'A');
    }
    EXPECT_EQ(pathCaseSwapTable['/'], '\\');
}

TEST(PathCollationTableTest, ALetterWithoutAPartnerToAndFroHasAWeightOfItsOwn) {
    // The sharp s, the dotless i and the dotted I, the long s, the title case of dz, the micro
    // sign.
    for (const int unit : {0x00DF, 0x0131, 0x0130, 0x017F, 0x01C5, 0x00B5}) {
        EXPECT_EQ(pathCaseSwapTable[static_cast<size_t>(unit)], unit) << std::hex << unit;
    }
}

TEST(PathCollationTableTest, LettersOfBothCasesArePairedAsTheirBlocksHaveThem) {
    const struct {
        const char* letters;
        int first, last;  ///< of the upper case
        int step;
        int distance;  ///< from an upper case letter to its lower one
    } rows[] = {
        {"Latin-1", 0x00C0, 0x00D6, 1, 32},
        {"Latin-1 after the times sign", 0x00D8, 0x00DE, 1, 32},
        {"Latin Extended-A", 0x0100, 0x012E, 2, 1},
        {"Greek", 0x0391, 0x03A1, 1, 32},
        {"Greek after the gap", 0x03A3, 0x03A9, 1, 32},
        {"Cyrillic with marks", 0x0400, 0x040F, 1, 80},
        {"Cyrillic", 0x0410, 0x042F, 1, 32},
        {"Cyrillic of old", 0x0460, 0x0480, 2, 1},
        {"Cyrillic of other languages", 0x048A, 0x04BE, 2, 1},
        {"Cyrillic of other languages, after", 0x04D0, 0x0522, 2, 1},
        {"Armenian", 0x0531, 0x0556, 1, 48},
        {"Georgian", 0x10A0, 0x10C5, 1, 7264},
        {"Latin Extended Additional", 0x1E00, 0x1E94, 2, 1},
        {"Latin Extended Additional, after", 0x1EA0, 0x1EFE, 2, 1},
        {"Roman numerals", 0x2160, 0x216F, 1, 16},
        {"circled", 0x24B6, 0x24CF, 1, 26},
        {"Glagolitic", 0x2C00, 0x2C2E, 1, 48},
        {"Coptic", 0x2C80, 0x2CE2, 2, 1},
        {"fullwidth", 0xFF21, 0xFF3A, 1, 32},
    };
    for (const auto& row : rows) {
        for (int upper = row.first; upper <= row.last; upper += row.step) {
            const int lower = upper + row.distance;
            EXPECT_EQ(pathCaseSwapTable[static_cast<size_t>(upper)], lower)
                << row.letters << std::hex << ' ' << upper;
            EXPECT_EQ(pathCaseSwapTable[static_cast<size_t>(lower)], upper)
                << row.letters << std::hex << ' ' << lower;
        }
    }
    // In the middle of these: the signs of multiplication and division, a gap and the final sigma.
    for (const int unit : {0x00D7, 0x00F7, 0x03A2, 0x03C2}) {
        EXPECT_EQ(pathCaseSwapTable[static_cast<size_t>(unit)], unit) << std::hex << unit;
    }
}

TEST(PathCollationTableTest, LettersOfAScriptAreInTheOrderOfItsAlphabet) {
    const std::vector<std::vector<uint16_t>> alphabets = {
        {'a', 0xE1, 'b', 'c', 0xE7, 'e', 0xE9, 'n', 0xF1, 'o', 'z'},
        {0x3B1, 0x3B2, 0x3B3, 0x3B4, 0x3C9},
        {0x430, 0x431, 0x432, 0x433, 0x434, 0x44F},
        {0xAC00, 0xAC01, 0xD7A3},
        {0x4E00, 0x4E01, 0x9FA5},
    };
    for (const auto& alphabet : alphabets) {
        for (size_t i = 1; i < alphabet.size(); ++i) {
            EXPECT_LT(compareCollation(alphabet[i - 1], alphabet[i]), 0)
                << std::hex << alphabet[i - 1] << " before " << alphabet[i];
        }
    }
}

}  // namespace
