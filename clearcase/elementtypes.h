#pragma once

#include <map>
#include <string>

#include "clearcase/clearcaseconnection.h"

/// What the connection knows about one element: its type and, for a symbolic link, the text of the
/// link. For other types `value` is the text that the configuration has there; nothing reads it.
struct ElementRecord {
    ElementType type = elementSymbolicLink;  ///< without a type in the configuration: a link
    std::string value;                       ///< of a link, where it leads
};

/// Maps the keys of elements, which are their paths in normal form with backslashes, to the
/// elements.
using ElementTable = std::map<std::string, ElementRecord>;

/// A type and its name in configurations.
struct ElementTypeName {
    const char* name;  ///< static, such as "version"
    ElementType type;  ///< what the name means
};

/// The names of the element types, ended by a pair of a null name and elementUnexpected.
extern const ElementTypeName elementTypeNames[];

/// Maps names to types. Filled from the table before any connection exists, and only read after
/// that.
extern std::map<std::string, ElementType> elementTypeMap;
