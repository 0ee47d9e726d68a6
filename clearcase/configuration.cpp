#include "clearcase/configuration.h"

#include <cstddef>
#include <istream>
#include <locale>
#include <map>
#include <ostream>
#include <string_view>
#include <utility>
#include <vector>

#include "clearcase/elementtable.h"
#include "util/normalform.h"
#include "util/pathfun.h"

namespace {

enum class Section { none, vobs, attrs };

/// Reads one file, and remembers the current section.
class ConfigurationReader {
public:
    ConfigurationReader(const std::string& viewRootPrefix, Configuration& configuration,
                        std::ostream& errors)
        : mViewRootPrefix(viewRootPrefix),
          mConfiguration(configuration),
          mElements(configuration.elements),
          mErrors(errors) {}

    void readLine(std::string_view untrimmed) {
        const std::string_view line = trimmed(untrimmed);
        if (line.empty() || line.front() == ';' || line.front() == '#') {
            return;
        }
        if (line.front() == '[') {
            enterSection(line);
        } else if (mSection == Section::vobs) {
            readVob(line);
        } else if (mSection == Section::attrs) {
            readElement(line);
        }
    }

    /// To be called after the last line.
    void finish() {
        mElements.finish();
        mConfiguration.index = ElementIndex(mConfiguration.elements);
    }

private:
    std::string_view trimmed(std::string_view line) const {
        const auto isSpace = [this](char c) { return mCharacters.is(std::ctype_base::space, c); };
        while (!line.empty() && isSpace(line.back())) {
            line.remove_suffix(1);
        }
        while (!line.empty() && isSpace(line.front())) {
            line.remove_prefix(1);
        }
        return line;
    }

    void enterSection(std::string_view line) {
        std::string header(line);
        mCharacters.tolower(header.data(), header.data() + header.size());
        mSection = header == "[vobs]"    ? Section::vobs
                   : header == "[attrs]" ? Section::attrs
                                         : Section::none;
    }

    void readVob(std::string_view line) {
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            mErrors << "Invalid line in [vobs]:  " << line << '\n';
            return;
        }
        const bool readOnly = hasReadOnlyFlag(line.substr(equals + 1));
        mConfiguration.vobs.push_back(
            {std::string(line.substr(0, equals)), readOnly ? vobReadOnly : vobWritable});
    }

    static bool hasReadOnlyFlag(std::string_view flags) {
        for (;;) {
            const size_t separator = flags.find_first_of(",; ");
            if (flags.substr(0, separator) == "ro") {
                return true;
            }
            if (separator == std::string_view::npos) {
                return false;
            }
            flags.remove_prefix(separator + 1);
        }
    }

    void readElement(std::string_view line) {
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            mErrors << "Invalid line in [attrs]:  " << line << '\n';
            return;
        }
        const std::string_view path = line.substr(0, equals);
        const std::string_view text = line.substr(equals + 1);
        const size_t star = text.find('*');

        const ElementType type = star == std::string_view::npos
                                     ? elementSymbolicLink
                                     : typeNamed(text.substr(star + 1), path);
        const std::string_view value = text.substr(0, star);
        PathBuffer key;
        mElements.store(elementKeyIn(key, path), type, value);
        if (!mViewRootPrefix.empty()) {
            // Compatibility: the second key is the prefix directly followed by the path as the
            // configuration spells it. Only a key in normal form with backslashes can be found.
            mElements.store(mViewRootPrefix + std::string(path), type, value);
        }
    }

    /// An unknown name causes a complaint, and makes the element a link.
    ElementType typeNamed(std::string_view name, std::string_view path) {
        // Saves the search if the type is the same as in the previous line.
        // Speed: Benchmark.ConfigurationBesideAReader
        if (mLastType == elementTypeMap.end() || mLastType->first != name) {
            mLastType = elementTypeMap.find(std::string(name));
        }
        if (mLastType == elementTypeMap.end()) {
            mErrors << "Invalid attr '" << name << "' for " << path << '\n';
            return elementSymbolicLink;
        }
        return mLastType->second;
    }

    const std::string& mViewRootPrefix;
    Configuration& mConfiguration;
    ElementTableBuilder mElements;
    std::ostream& mErrors;
    const std::locale mLocale;  ///< the global one
    const std::ctype<char>& mCharacters = std::use_facet<std::ctype<char>>(mLocale);
    Section mSection = Section::none;
    std::map<std::string, ElementType>::const_iterator mLastType = elementTypeMap.end();
};

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
    ConfigurationReader reader(viewRootPrefix, configuration, errors);
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
        for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            if (begun.empty()) {
                reader.readLine(text.substr(0, end));
            } else {
                reader.readLine(begun.append(text, 0, end));
                begun.clear();
            }
            text.remove_prefix(end + 1);
        }
        begun.append(text);
    }
    reader.finish();
    // Compatibility: what is left in `begun` is dropped: a file without a line feed at its end
    // loses its last line.
}
