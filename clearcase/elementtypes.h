#pragma once

#include <map>
#include <string>

#include "clearcase/clearcaseconnection.h"

/// What the connection knows about one element: its type and, for a symbolic link, the text of the
/// link. For other types `value` is the text that the configuration has there; nothing reads it.
struct ElementRecord {
    ElementType type = elementSymbolicLink;
    std::string value;
};

/// Maps element keys (see `elementKey`) to elements.
using ElementTable = std::map<std::string, ElementRecord>;

struct ElementTypeName {
    const char* name;
    ElementType type;
};

/// The names of the element types, ended by a pair of a null name and elementUnexpected.
extern const ElementTypeName elementTypeNames[];

/// Maps names to types. Filled from the table before any connection exists, and only read after
/// that.
extern std::map<std::string, ElementType> elementTypeMap;
