#include "clearcase/elementtypes.h"

const ElementTypeName elementTypeNames[] = {
    {"unexpected", elementUnexpected},
    {"null", elementNull},
    {"version", elementVersion},
    {"directory_version", elementDirectoryVersion},
    {"symbolic_link", elementSymbolicLink},
    {"view_private", elementViewPrivate},
    {"view_derived", elementViewDerived},
    {"derived_object", elementDerivedObject},
    {"checked_out_file", elementCheckedOutFile},
    {"checked_out_dir", elementCheckedOutDir},
    {nullptr, elementUnexpected},
};

namespace {

std::map<std::string, ElementType> makeElementTypeMap() {
    std::map<std::string, ElementType> types;
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        types[entry->name] = entry->type;
    }
    return types;
}

}  // namespace

std::map<std::string, ElementType> elementTypeMap = makeElementTypeMap();
