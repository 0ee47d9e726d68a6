#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "util/textspan.h"

/// A view of a string by which a line is parsed in place: it trims, searches and eats words by
/// moving two indices, and it can erase from the string.
///
///     std::string line = "  verbose yes ";
///     Substring rest(line);
///     rest.trim();
///
/// The string isn't owned and must outlive the view. Positions are relative to the start of the
/// view unless told otherwise, and npos of std::string stands for "not found". Blanks are space and
/// tab, no others. What erases from the string keeps only this view in step: the indices of others
/// go stale. Nothing fails but `operator[]`; lack of memory passes. One thread at a time.
class Substring {
public:
    Substring(std::string& s) : Substring(s, 0) {}
    /// From `start`, at most the string's length, to the end.
    Substring(std::string& s, size_t start) : Substring(s, start, s.size() - start) {}
    Substring(std::string& s, size_t start, size_t length)
        : mString(&s), mStart(start), mEnd(start + length) {}
    /// Of the same string; `start` is an index into that, and not into `other`.
    Substring(const Substring& other, size_t start, size_t length)
        : mString(other.mString), mStart(start), mEnd(start + length) {}
    Substring(const Substring&) = default;
    Substring& operator=(const Substring&) = default;
    /// Takes the whole string.
    Substring& operator=(std::string& s) { return *this = Substring(s); }
    ~Substring() = default;

    /// The part at a position of this view.
    Substring part(size_t pos, size_t length) const { return {*this, mStart + pos, length}; }

    size_t length() const { return mEnd - mStart; }
    /// An index that is out of range stops the process by an assertion.
    char operator[](size_t index) const;
    /// The characters, good until the string changes.
    StringSpan span() const { return {mString->data() + mStart, length()}; }

    /// Takes blanks away at both ends, or at the front. A view of nothing but blanks becomes empty,
    /// with both indices 0.
    void trim();
    void trimLeft();

    size_t findFirstOf(const std::string& set, size_t pos) const;
    size_t findFirstNotOf(const std::string& set, size_t pos) const;
    size_t find(char c, size_t pos) const;
    /// An empty `text` isn't found anywhere.
    size_t find(const std::string& text, size_t pos) const;

    /// The first character of `set`, from `pos`, with an even number of `escape` directly before
    /// it; those before `pos` don't count.
    size_t findUnescaped(const std::string& set, size_t pos, char escape) const;
    /// Searches likewise, by backslashes, and takes the escapes out of the string on the way: of a
    /// run before a character of `set` half is left, and the one that escapes goes, also where
    /// nothing is found in the end. With a backslash in `set`, a run of two or more at the place
    /// where the search starts is an escape of what stands behind it. The time is linear in the
    /// length of the string, however many there are.
    size_t findAndUnescape(const std::string& set, size_t pos);

    /// Erases from the string. False, with nothing changed, if that isn't wholly in the view or
    /// begins at its end.
    bool erase(size_t pos, size_t count);
    bool eraseFrom(size_t pos);

    bool equals(const Substring& other) const;
    bool equals(const std::string& text) const;
    bool equalsNoCase(const Substring& other) const;

    /// Whether the view begins, behind blanks, with `word`, and that ends at a blank or the end of
    /// the view; case is ignored. `*next` becomes the place of the first character behind it that
    /// is no blank, or the length. An empty word is never there.
    bool startsWithWord(const std::string& word, size_t* next) const;
    /// Moves behind such a word and its blanks. Only for a view that starts at index 0 of its
    /// string: the start becomes the place behind the word as it is.
    bool eatWord(const std::string& word);

private:
    /// The string up to the end of the view, and no further than it goes.
    std::string_view text() const { return std::string_view(*mString).substr(0, mEnd); }
    /// A place in the string as one in the view.
    size_t hit(size_t place) const {
        return place >= text().size() ? std::string::npos : place - mStart;
    }
    void collapse() { mStart = mEnd = 0; }

    std::string* mString;
    size_t mStart;
    size_t mEnd;
};

/// Appends the parts of `whole` between delimiters to `out`. A delimiter behind an odd number of
/// backslashes is part of a part, and the backslashes stay. There are no empty parts.
void splitEscaped(const Substring& whole, std::vector<Substring>& out,
                  const std::string& delimiters);
