#pragma once

// Reads the configuration of a fake connection, a text, into records and complaints. The format:
//
//     ; A comment; it may also begin with #. A comment has a line of its own.
//     [vobs]
//     ; A tag and its flags. Only the flag "ro" (read-only) has a meaning. `,`, `;` and the space
//     ; separate flags.
//     \vobs\tools=ro
//     [attrs]
//     ; A symbolic link and its text.
//     C:\src\link=..\other
//     ; An element of a named type.
//     C:\src\a.c=/main/3*version
//
// Lines end at a line feed; a last line without one doesn't count. White space is removed from both
// ends of a line; tag, path and text are otherwise taken verbatim. The first `=` of a line and the
// first `*` after it are the separators. Sections may come in any order and any number of times.
// Lines outside the two sections are ignored. Headers are case-insensitive; everything else is
// case-sensitive. The global locale decides what is white space and what is lower case. A byte
// order mark belongs to the first line. If two lines name the same element, the later one wins. An
// element of an unknown type causes a complaint and becomes a link.

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "clearcase/elementindex.h"
#include "clearcase/elementtypes.h"
#include "util/normalform.h"
#include "util/textspan.h"

/// Returns the key of the element at `path`: the normal form with backslashes. Case is preserved.
/// `path` must be absolute; otherwise an assertion stops the process.
[[nodiscard]] std::string elementKey(StringSpan path);
/// The same, with the text in `buffer` (see `normalFormIn`).
[[nodiscard]] std::string_view elementKeyIn(PathBuffer& buffer, StringSpan path);

struct Configuration {
    /// In the order of the file, duplicates included.
    std::vector<VobRecord> vobs;
    /// The elements by their keys. With a view root prefix each element has a second key: the
    /// prefix, directly followed by the path as the configuration spells it.
    ElementTable elements;
    ElementIndex index;  ///< of `elements`
};

/// Reads `input` into `configuration`, block by block, up to its end or up to a read that fails;
/// the lines before that count. A bad line causes a complaint of one line in `errors`, and reading
/// goes on. A path in "[attrs]" that isn't absolute stops the process.
void readConfiguration(std::istream& input, const std::string& viewRootPrefix,
                       Configuration& configuration, std::ostream& errors);
