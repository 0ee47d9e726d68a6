#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "clearcase/elementtypes.h"

/// Fills a table with elements that come in any order. Elements that come in the
/// order of the table go into it at once. From the first that doesn't on they are collected as
/// text, and made when all are sorted: the elements of a large table are far apart in memory, and
/// the way down to one's place costs more than its share of a sort.
class ElementTableBuilder {
public:
    /// The table outlives the builder, and nobody else changes it meanwhile. It is empty.
    explicit ElementTableBuilder(ElementTable& table) : mTable(table) {}

    /// Adds an element. Of two with one key the later stays.
    void store(std::string_view key, ElementType type, std::string_view value);
    /// Puts in what was collected. Nothing is stored after that.
    void finish();

private:
    /// A collected element.
    struct Line {
        uint64_t keyPart;  ///< decides nearly every comparison; known when all are collected
        size_t at;         ///< where the key is in the collected text, and the value after it
        size_t keyLength;
        size_t valueLength;
        ElementType type;
    };

    void collect(std::string_view key, ElementType type, std::string_view value);
    void sortLines();
    void put(ElementTable::iterator before, std::string_view key, ElementType type,
             std::string_view value);
    std::string_view keyOf(const Line& line) const { return {&mText[line.at], line.keyLength}; }

    ElementTable& mTable;
    std::string mText;
    std::vector<Line> mLines;
    size_t mCommonLength = 0;  ///< how long a beginning all collected keys share
};
