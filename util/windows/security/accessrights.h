#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>

// The names of what stands in security descriptors, and access masks in words. Numbers are those of
// Windows, whose headers this doesn't need. Any thread may call.

/// SE_OBJECT_TYPE, as far as access rights have names.
namespace ObjectType {
inline constexpr uint32_t any = 0;
inline constexpr uint32_t file = 1;
inline constexpr uint32_t registryKey = 4;
inline constexpr uint32_t kernelObject = 6;
inline constexpr uint32_t windowObject = 7;
}  // namespace ObjectType

/// Kinds of object within a type, as bits; 0 is a kind that isn't known.
namespace ObjectKind {
// of file
inline constexpr uint32_t plainFile = 1;
inline constexpr uint32_t directory = 2;
inline constexpr uint32_t pipe = 4;
// of kernelObject
inline constexpr uint32_t process = 1;
inline constexpr uint32_t thread = 2;
inline constexpr uint32_t job = 4;
inline constexpr uint32_t token = 8;
inline constexpr uint32_t event = 16;
inline constexpr uint32_t mutant = 32;
inline constexpr uint32_t semaphore = 64;
inline constexpr uint32_t timer = 128;
inline constexpr uint32_t section = 256;
// of windowObject
inline constexpr uint32_t windowStation = 1;
inline constexpr uint32_t desktop = 2;
}  // namespace ObjectKind

/// A name for bits of an access mask.
struct AccessRight {
    uint32_t mask;  ///< one bit or many
    const char* name;
    uint32_t objectType;  ///< `any`: of every type
    uint32_t kinds;       ///< of which kinds of that type
};

/// All of them, in the order in which a mask is searched for them. Names of many bits stand before
/// those of their bits, but for KEY_WOW64_RES, which is never reached.
std::span<const AccessRight> accessRights();

/// Writes a mask as "0x130089 [FILE_GENERIC_READ DELETE]": the names that an object of
/// the type and kind has for it, in the order of the table, each bit under one name, and bits
/// without a name as one number behind them. For kind 0 every name of the type counts. A right of
/// every type counts for any other type; for the type `any` itself only with kind 0.
///
/// Takes the stream's width for the whole. Its flags, save the adjustment, and its locale have no
/// effect; it is left with decimal numbers.
std::ostream& writeAccessMask(std::ostream& out, uint32_t mask, uint32_t objectType, uint32_t kind);

struct NamedValue {
    uint32_t value;
    const char* name;
};

/// Bits with their names, in the order in which they are written.
std::span<const NamedValue> aceFlagNames();
std::span<const NamedValue> descriptorControlNames();

/// Writes ACE flags as " (OI) (CI)". No flag at all is " (NO_INHERITANCE)"; a bit without a name is
/// left out.
std::ostream& writeAceFlags(std::ostream& out, uint32_t flags);

/// Writes the control bits of a descriptor that have names, each with a blank before it.
std::ostream& writeDescriptorControl(std::ostream& out, uint32_t control);

/// The name of an ACE type ("Access Allowed"), an ACCESS_MODE ("GRANT_ACCESS"), a SID_NAME_USE
/// ("WellKnownGroup") or a TRUSTEE_TYPE ("Well-Known Group"). Null for a value that has none.
const char* aceTypeName(uint32_t type);
const char* accessModeName(uint32_t mode);
const char* sidUseName(uint32_t use);
const char* trusteeTypeName(uint32_t type);
