#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "clearcase/elementtypes.h"

/// Fills a table with elements that come in any order.
///
/// As long as elements come in the order of the table, they go into it at once. From the first
/// element on that is out of order, all are collected as text; the table gets them after they have
/// been sorted. The reason: the elements of a large table are far apart in memory, and the search
/// for an element's place costs more than its share of a sort.
class ElementTableBuilder {
public:
    /// The table must be empty and outlive the builder, and nothing else may change it before
    /// `finish`.
    explicit ElementTableBuilder(ElementTable& table) : mTable(table) {}

    /// Adds an element. If two have the same key, the later one stays.
    void store(std::string_view key, ElementType type, std::string_view value);
    /// Puts the collected elements into the table. `store` must not be called after that.
    void finish();

private:
    /// A collected element.
    struct Line {
        uint64_t keyPart;  ///< decides nearly every comparison; set when all are collected
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
    size_t mCommonLength = 0;  ///< the length of the prefix that all collected keys share
};
