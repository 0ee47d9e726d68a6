#pragma once

// The configuration of a fake connection: text in, records and complaints out.
//
//     ; A comment, as with #. There is none after text.
//     [vobs]
//     ; A tag and its flags, of which "ro" (read-only) alone has a meaning. `,`, `;` and the space
//     ; separate flags.
//     \vobs\tools=ro
//     [attrs]
//     ; A symbolic link and its text.
//     C:\src\link=..\other
//     ; An element of a named type.
//     C:\src\a.c=/main/3*version
//
// Lines end at a line feed, and a last line without one doesn't count. White space goes from both
// ends of a line; tag, path and text are taken as they stand. The first `=` of a line and the first
// `*` after it count. Sections may come in any order and any number of times; lines outside the
// two are ignored. Headers are case-insensitive, and nothing else is. White space and case are
// those of the global locale. A byte order mark belongs to the first line. Of two lines for one
// element the later wins. An element of an unknown type is complained of and becomes a link.

#include <iosfwd>
#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "clearcase/elementindex.h"
#include "clearcase/elementtypes.h"
#include "util/normalform.h"
#include "util/textspan.h"

/// The key of the element at `path`, which must be absolute (an assertion stops the process
/// otherwise): its normal form with backslashes. Case is kept.
std::string elementKey(StringSpan path);
/// The same as text in `buffer` (see `normalFormIn`).
std::string_view elementKeyIn(PathBuffer& buffer, StringSpan path);

struct Configuration {
    /// In the order of the file, duplicates included.
    std::vector<VobRecord> vobs;
    /// By element key. With a view root prefix each element is there a second time, under the
    /// prefix followed directly by the path as the file spells it.
    ElementTable elements;
    ElementIndex index;  ///< of the elements
};

/// Reads `input` into `configuration`, a block at a time, to its end or a read that fails: what
/// is in lines before that counts. A bad line is complained of in `errors`, one line each, and
/// reading goes on. A path in "[attrs]" that isn't absolute stops the process.
void readConfiguration(std::istream& input, const std::string& viewRootPrefix,
                       Configuration& configuration, std::ostream& errors);
