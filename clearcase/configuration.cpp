#include "clearcase/configuration.h"

#include <cstddef>
#include <istream>
#include <string_view>
#include <vector>

#include "clearcase/configurationreader.h"

namespace {

/// A type of this file only, so that the compiler may inline the reader that it makes as it likes.
// Speed: Benchmark.ConfigurationBesideAReader
struct Unobserved : ConfigurationObserver {};

}  // namespace

std::string elementKey(StringSpan path) {
    PathBuffer buffer;
    return std::string(elementKeyIn(buffer, path));
}

std::string_view elementKeyIn(PathBuffer& buffer, StringSpan path) {
    return normalFormIn(buffer, path, '\\');
}

void readConfiguration(std::istream& input, const std::string& viewRootPrefix,
                       Configuration& configuration, std::ostream& errors) {
    Unobserved observer;
    ConfigurationReader reader(viewRootPrefix, configuration, errors, observer);
    // Speed: Benchmark.ConfigurationBesideAReader
    std::vector<char> block(65536);
    std::string begun;  // the unfinished last line of the previous block
    // Takes what the stream has buffered, so that the lines before a read that fails count.
    while (input.peek() != std::istream::traits_type::eof()) {
        auto size = input.readsome(block.data(), static_cast<std::streamsize>(block.size()));
        if (size <= 0) {
            // A stream without a buffer never has anything buffered.
            input.read(block.data(), 1);
            size = input.gcount();
        }
        std::string_view text(block.data(), static_cast<size_t>(size));
        if (!begun.empty()) {
            const size_t end = text.find('\n');
            begun.append(text, 0, end);
            if (end == std::string_view::npos) {
                continue;
            }
            reader.readLine(begun);
            begun.clear();
            text.remove_prefix(end + 1);
        }
        begun.append(reader.readLines(text));
    }
    reader.finish();
    // Compatibility: what is left in `begun` is dropped: a file without a line feed at its end
    // loses its last line.
}
