#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>

// Names for the contents of security descriptors, and access masks as text. The numbers are those
// of Windows, but this header doesn't need the Windows headers. Any thread may call.

/// The values of SE_OBJECT_TYPE whose access rights have names.
namespace ObjectType {
inline constexpr uint32_t any = 0;           ///< a type that isn't known, or any
inline constexpr uint32_t file = 1;          ///< SE_FILE_OBJECT
inline constexpr uint32_t registryKey = 4;   ///< SE_REGISTRY_KEY
inline constexpr uint32_t kernelObject = 6;  ///< SE_KERNEL_OBJECT
inline constexpr uint32_t windowObject = 7;  ///< SE_WINDOW_OBJECT
}  // namespace ObjectType

/// Kinds of object within a type, as bits.
namespace ObjectKind {
inline constexpr uint32_t unknown = 0;        ///< of any type: every name of the type counts
inline constexpr uint32_t plainFile = 1;      ///< of `file`
inline constexpr uint32_t directory = 2;      ///< of `file`
inline constexpr uint32_t pipe = 4;           ///< of `file`
inline constexpr uint32_t process = 1;        ///< of `kernelObject`
inline constexpr uint32_t thread = 2;         ///< of `kernelObject`
inline constexpr uint32_t job = 4;            ///< of `kernelObject`
inline constexpr uint32_t token = 8;          ///< of `kernelObject`
inline constexpr uint32_t event = 16;         ///< of `kernelObject`
inline constexpr uint32_t mutant = 32;        ///< of `kernelObject`
inline constexpr uint32_t semaphore = 64;     ///< of `kernelObject`
inline constexpr uint32_t timer = 128;        ///< of `kernelObject`
inline constexpr uint32_t section = 256;      ///< of `kernelObject`
inline constexpr uint32_t windowStation = 1;  ///< of `windowObject`
inline constexpr uint32_t desktop = 2;        ///< of `windowObject`
}  // namespace ObjectKind

/// A name for bits of an access mask.
struct AccessRight {
    uint32_t mask;        ///< one bit or many
    const char* name;     ///< as Windows's headers spell it
    uint32_t objectType;  ///< `any`: a right of every type
    uint32_t kinds;       ///< the kinds of that type that have it
};

/// Returns all access rights, in the order in which a mask is searched for them. A name for several
/// bits comes before the names of its bits, with two exceptions: TOKEN_EXECUTE, a single bit, comes
/// before wider names that contain it, and KEY_WOW64_RES comes after one of its bits and is never
/// reached.
[[nodiscard]] std::span<const AccessRight> accessRights();

/// Writes a mask as "0x130089 [FILE_GENERIC_READ DELETE]": the names for an object of the type and
/// kind, in the order of the table. Each bit appears under one name; the bits without a name follow
/// as one number. For an unknown kind every name of the type counts. A right of every type counts
/// for any other type; for the type `any` itself it counts only with an unknown kind.
///
/// The stream's width applies to the whole text. Its flags, except the adjustment, and its locale
/// have no effect. Afterwards the stream writes numbers in decimal.
std::ostream& writeAccessMask(std::ostream& out, uint32_t mask, uint32_t objectType, uint32_t kind);

/// A bit and its name.
struct NamedValue {
    uint32_t value;    ///< has one bit
    const char* name;  ///< static, as it is written
};

/// @{
/// Return bits with their names, in the order in which they are written.
[[nodiscard]] std::span<const NamedValue> aceFlagNames();
[[nodiscard]] std::span<const NamedValue> descriptorControlNames();
/// @}

/// Writes ACE flags as " (OI) (CI)", or " (NO_INHERITANCE)" for 0. A bit without a name is left
/// out.
std::ostream& writeAceFlags(std::ostream& out, uint32_t flags);

/// Writes the names of a descriptor's control bits, each after a space. A bit without a name is
/// left out.
std::ostream& writeDescriptorControl(std::ostream& out, uint32_t control);

/// @{
/// Return the name of an ACE type ("Access Allowed"), an ACCESS_MODE ("GRANT_ACCESS"), a
/// SID_NAME_USE ("WellKnownGroup") or a TRUSTEE_TYPE ("Well-Known Group"). Null for a value without
/// a name.
[[nodiscard]] const char* aceTypeName(uint32_t type);
[[nodiscard]] const char* accessModeName(uint32_t mode);
[[nodiscard]] const char* sidUseName(uint32_t use);
[[nodiscard]] const char* trusteeTypeName(uint32_t type);
/// @}
