#pragma once

#include <optional>
#include <string>

#include "clearcase/elementindex.h"

/// Returns the type of the element that `elements` has for `path`, or nothing if it has none. Keys
/// are element keys (`elementKey`). `path` must be absolute; otherwise an assertion stops the
/// process.
///
/// `version` and `target` may be null. `version` is always written: "/main/0" for a version or a
/// directory version, otherwise the empty text. `target` is written only for a link. It is the
/// link's text if that is absolute, and otherwise that text joined to the parent of `path` as the
/// caller spelled it. It isn't normalised, and is relative if the parent is: the parent of `C:l` is
/// `.`.
[[nodiscard]] std::optional<ElementType> configuredStatus(const ElementIndex& elements,
                                                          const char* path, std::string* version,
                                                          std::string* target);

/// Returns the type of an element that isn't in the configuration, by its file's attributes: a
/// directory is a directory version, a read-only file a version, and anything else view private.
[[nodiscard]] ElementType statusOfFile(bool isDirectory, bool isReadOnly);
