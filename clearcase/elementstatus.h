#pragma once

#include <optional>
#include <string>

#include "clearcase/elementindex.h"

/// The status of the element that `elements` has for `path`, and nothing if it has none. Keys are
/// element keys (`elementKey`); `path` is absolute, and an assertion stops the process otherwise.
///
/// `version` and `target` may be null. `version` is always written: "/main/0" for a version or
/// directory version, else the empty text. `target` is written for a link alone: the link's text
/// if that is absolute, else joined to the parent of `path` as the caller spelled it. It isn't
/// normalised, and relative where such a parent is: `C:l` has the parent `.`.
std::optional<ElementType> configuredStatus(const ElementIndex& elements, const char* path,
                                            std::string* version, std::string* target);

/// What a file's attributes make of an element that no configuration names: a directory is a
/// directory version, a read-only file a version, and anything else view private.
ElementType statusOfFile(bool isDirectory, bool isReadOnly);
