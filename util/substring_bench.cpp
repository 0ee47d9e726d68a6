#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/stringsplit.h"
#include "util/substring.h"

namespace {

const std::string fieldDelimiters = "/_. \n";

/// Returns paths, one per line, each with a blank after it.
std::string sampleText() {
    std::string text;
    for (const std::string& path : benchmark::samplePaths(1000, benchmark::Letters::ascii)) {
        text.append(path).append(" \n");
    }
    return text;
}

template <class Take>
void splitByStandard(const std::string& text, Take take) {
    size_t start = text.find_first_not_of(fieldDelimiters);
    while (start != std::string::npos) {
        const size_t end = std::min(text.find_first_of(fieldDelimiters, start), text.size());
        take(start, end);
        start = text.find_first_not_of(fieldDelimiters, end);
    }
}

size_t rangesByStandard(const std::string& text) {
    std::vector<TextRange> parts;
    splitByStandard(text, [&](size_t start, size_t end) { parts.emplace_back(start, end); });
    return parts.size();
}

size_t copiesByStandard(const std::string& text) {
    std::vector<std::string> parts;
    splitByStandard(
        text, [&](size_t start, size_t end) { parts.push_back(text.substr(start, end - start)); });
    return parts.size();
}

template <class Part, class Split>
size_t partCount(Split split) {
    std::vector<Part> parts;
    split(parts);
    return parts.size();
}

TEST(Benchmark, Splitters) {
    std::string text = sampleText();
    const auto peer = [&] { return rangesByStandard(text); };
    const std::string ranges = "loop with find_first_of, ranges";
    benchmark::compare(
        {"splitRanges, 1,000 lines", ranges, 1.0},
        [&] {
            return partCount<TextRange>([&](auto& parts) {
                splitRanges(text, parts, fieldDelimiters, /*keepEmpty=*/false);
            });
        },
        peer);
    benchmark::compare(
        {"splitRanges with empty ones, 1,000 lines", ranges, 1.0},
        [&] {
            return partCount<TextRange>([&](auto& parts) {
                splitRanges(text, parts, fieldDelimiters, /*keepEmpty=*/true);
            });
        },
        peer);
    benchmark::compare(
        {"splitRuns, 1,000 lines", ranges, 1.0},
        [&] {
            return partCount<TextRange>(
                [&](auto& parts) { splitRuns(text, parts, fieldDelimiters); });
        },
        peer);
    benchmark::compare(
        {"splitEscaped, 1,000 lines", ranges, 1.0},
        [&] {
            return partCount<Substring>(
                [&](auto& parts) { splitEscaped(Substring(text), parts, fieldDelimiters); });
        },
        peer);
}

TEST(Benchmark, SplittersThatCopy) {
    const std::string text = sampleText();
    const auto peer = [&] { return copiesByStandard(text); };
    const std::string copies = "loop with find_first_of, copies";
    benchmark::compare(
        {"split, 1,000 lines", copies, 1.0},
        [&] {
            return partCount<std::string>(
                [&](auto& parts) { split(text, parts, fieldDelimiters); });
        },
        peer);
    benchmark::compare(
        {"splitQuoted, 1,000 lines", copies, 1.0},
        [&] {
            return partCount<std::string>([&](auto& parts) {
                static_cast<void>(
                    splitQuoted(text, parts, fieldDelimiters, "\"'", /*stripQuotes=*/true));
            });
        },
        peer);
}

/// Returns the number of hits of `find`, which is called again after each hit.
template <class Find>
size_t hitCount(Find find) {
    size_t count = 0;
    for (size_t pos = find(0); pos != std::string::npos; pos = find(pos + 1)) {
        ++count;
    }
    return count;
}

TEST(Benchmark, SubstringSearches) {
    std::string text = sampleText();
    const Substring view(text);
    // One set is found often, and one is found seldom.
    for (const std::string& set : {fieldDelimiters, std::string("\n\r;#%")}) {
        const std::string kind = set == fieldDelimiters ? ", often found" : ", seldom found";
        const auto peer = [&] {
            return hitCount([&](size_t pos) { return text.find_first_of(set, pos); });
        };
        benchmark::compare(
            {"Substring::findFirstOf" + kind, "find_first_of", 1.0},
            [&] { return hitCount([&](size_t pos) { return view.findFirstOf(set, pos); }); }, peer);
        benchmark::compare(
            {"Substring::findUnescaped" + kind, "find_first_of", 1.0},
            [&] {
                return hitCount([&](size_t pos) { return view.findUnescaped(set, pos, '\\'); });
            },
            peer);
        benchmark::compare(
            {"Substring::findAndUnescape" + kind, "find_first_of", 1.0},
            [&] {
                Substring changing(text);  // there is nothing to remove
                return hitCount([&](size_t pos) { return changing.findAndUnescape(set, pos); });
            },
            peer);
    }
}

/// Returns the number of tokens between delimiters.
template <class Start, class End>
size_t tokenCount(Start findStart, End findEnd) {
    size_t count = 0;
    size_t start = findStart(0);
    while (start != std::string::npos) {
        ++count;
        const size_t end = findEnd(start);
        start = end == std::string::npos ? end : findStart(end);
    }
    return count;
}

TEST(Benchmark, SubstringSearchesByTurns) {
    std::string text = sampleText();
    const Substring view(text);
    benchmark::compare(
        {"Substring::findFirstNotOf, findFirstOf", "find_first_not_of, find_first_of", 1.0},
        [&] {
            return tokenCount([&](size_t pos) { return view.findFirstNotOf(fieldDelimiters, pos); },
                              [&](size_t pos) { return view.findFirstOf(fieldDelimiters, pos); });
        },
        [&] {
            return tokenCount(
                [&](size_t pos) { return text.find_first_not_of(fieldDelimiters, pos); },
                [&](size_t pos) { return text.find_first_of(fieldDelimiters, pos); });
        });
}

TEST(Benchmark, SubstringUnescape) {
    std::string escapes;
    while (escapes.size() < size_t{1} << 20) {
        escapes += "\\;";
    }
    std::string text;
    benchmark::comparePrepared(
        {"Substring::findAndUnescape, 1 MB of escapes", "memmove of it", 4.0, /*rounds=*/20},
        [&] { text = escapes; },
        [&] { static_cast<void>(Substring(text).findAndUnescape(";", 0)); },
        [&] { std::memmove(text.data(), text.data() + 1, text.size() - 1); });
}

}  // namespace
