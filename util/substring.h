#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "util/textspan.h"

/// A view of a string for parsing a line in place: it trims, searches and eats words by moving two
/// indices, and can erase from the string.
///
///     std::string line = "  verbose yes ";
///     Substring rest(line);
///     rest.trim();
///
/// The view doesn't own the string, which must outlive it. Positions are relative to the start of
/// the view unless documented otherwise; npos of std::string means "not found". Blanks are only
/// space and tab. Functions that erase from the string update only this view: the indices of other
/// views become invalid. Only `operator[]` can fail; std::bad_alloc passes through. Use a view, and
/// its string, on one thread at a time.
class Substring {
public:
    /// A view of the whole string.
    Substring(std::string& s) : Substring(s, 0) {}
    /// From `start`, which is at most the string's length, to the end.
    Substring(std::string& s, size_t start) : Substring(s, start, s.size() - start) {}
    /// From `start`, `length` characters, which must be in the string.
    Substring(std::string& s, size_t start, size_t length)
        : mString(&s), mStart(start), mEnd(start + length) {}
    /// A view of the same string; `start` is an index into the string, not into `other`.
    Substring(const Substring& other, size_t start, size_t length)
        : mString(other.mString), mStart(start), mEnd(start + length) {}
    /// @{
    /// Views the same part of the same string.
    Substring(const Substring&) = default;
    Substring& operator=(const Substring&) = default;
    /// @}
    /// Makes this a view of the whole string.
    Substring& operator=(std::string& s) { return *this = Substring(s); }
    ~Substring() = default;

    /// Returns the part at a position of this view.
    [[nodiscard]] Substring part(size_t pos, size_t length) const {
        return {*this, mStart + pos, length};
    }

    /// Returns the number of characters in the view.
    [[nodiscard]] size_t length() const { return mEnd - mStart; }
    /// Returns a character. An index out of range stops the process by an assertion.
    char operator[](size_t index) const;
    /// Returns the characters, valid until the string changes.
    [[nodiscard]] StringSpan span() const { return {mString->data() + mStart, length()}; }

    /// @{
    /// Remove blanks at both ends, or at the front. A view that consists of blanks becomes empty,
    /// with both indices 0.
    void trim();
    void trimLeft();
    /// @}

    /// @{
    /// Return the first position at or after `pos` with a character of the set, with none of the
    /// set, or with `c`.
    [[nodiscard]] size_t findFirstOf(const std::string& set, size_t pos) const;
    [[nodiscard]] size_t findFirstNotOf(const std::string& set, size_t pos) const;
    [[nodiscard]] size_t find(char c, size_t pos) const;
    /// @}
    /// An empty `text` isn't found anywhere.
    [[nodiscard]] size_t find(const std::string& text, size_t pos) const;

    /// Returns the first character of `set`, from `pos` on, with an even number of `escape`
    /// directly before it; those before `pos` don't count.
    [[nodiscard]] size_t findUnescaped(const std::string& set, size_t pos, char escape) const;
    /// Searches in the same way, with the backslash as the escape, and removes the escapes from the
    /// string on the way: of a run before a character of `set`, half remains, and the backslash
    /// that escapes the character is removed. This happens even if nothing is found in the end. For
    /// ";" from position 0:
    ///
    ///     text      result   text afterwards
    ///     a\;b      npos     a;b
    ///     a\\;b     2        a\;b
    ///     a\;b;c    3        a;b;c
    ///     a\b       npos     a\b
    ///
    /// If `set` contains a backslash and the search starts at two or more of them, this run is an
    /// escape of the character after it: for the set "\" and the text `\\x`, the result is 1, and
    /// the text becomes `\x`. The time is linear in the length of the string, however many escapes
    /// there are.
    [[nodiscard]] size_t findAndUnescape(const std::string& set, size_t pos);

    /// @{
    /// Erase from the string. Return false, and change nothing, if the part isn't entirely in the
    /// view or begins at its end.
    [[nodiscard]] bool erase(size_t pos, size_t count);
    [[nodiscard]] bool eraseFrom(size_t pos);
    /// @}

    /// @{
    /// Return whether the characters are the same, NULs included; `equalsNoCase` ignores case as
    /// the function of that name does (see stringcompare.h).
    [[nodiscard]] bool equals(const Substring& other) const;
    [[nodiscard]] bool equals(const std::string& text) const;
    [[nodiscard]] bool equalsNoCase(const Substring& other) const;
    /// @}

    /// Returns whether the view begins with `word`, after optional blanks, and the word ends at a
    /// blank or the end of the view. Case is ignored. If so, `*next` becomes the position of the
    /// first character after the word that isn't a blank, or the length. An empty word is never
    /// found.
    ///
    ///     text         word   result   *next
    ///     "  YES  x"   yes    true     7
    ///     "yes"        yes    true     3
    ///     "yesx"       yes    false    unchanged
    [[nodiscard]] bool startsWithWord(const std::string& word, size_t* next) const;
    /// Moves the start past such a word and the blanks after it. Only for a view that starts at
    /// index 0 of its string: the new start is the position in the view, used as an index into the
    /// string.
    [[nodiscard]] bool eatWord(const std::string& word);

private:
    /// The string up to the end of the view, but not past the end of the string.
    std::string_view text() const { return std::string_view(*mString).substr(0, mEnd); }
    /// Converts a position in the string to one in the view.
    size_t hit(size_t place) const {
        return place >= text().size() ? std::string::npos : place - mStart;
    }
    void collapse() { mStart = mEnd = 0; }

    std::string* mString;
    size_t mStart;
    size_t mEnd;
};

/// Appends the parts of `whole` between delimiters to `out`. A delimiter after an odd number of
/// backslashes belongs to the part, and the backslashes remain. No part is empty. For ";":
///
///     a\;b;c     a\;b and c
///     a\\;b      a\\ and b
///     ;;a;;b;    a and b
void splitEscaped(const Substring& whole, std::vector<Substring>& out,
                  const std::string& delimiters);
