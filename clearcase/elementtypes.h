#pragma once

#include <map>
#include <string>

#include "clearcase/clearcaseconnection.h"

/// What the connection knows of one element: its type and, for a symbolic link, the text of the
/// link. For other types `value` is whatever the configuration has there, and nothing reads it.
struct ElementRecord {
    ElementType type = elementSymbolicLink;
    std::string value;
};

/// By element key (see `elementKey`).
using ElementTable = std::map<std::string, ElementRecord>;

struct ElementTypeName {
    const char* name;
    ElementType type;
};

/// The names of the element types, ended by a pair of a null name and -1.
extern const ElementTypeName elementTypeNames[];

/// Name to type, filled from the table before any connection exists, and read only from then on.
extern std::map<std::string, ElementType> elementTypeMap;
