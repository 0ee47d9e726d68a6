#pragma once

// Prints security objects as text, for diagnostics:
//
//     SD [Flags:  SE_DACL_PRESENT SE_SELF_RELATIVE]
//         Owner = SID S-1-5-32-544 [Alias BUILTIN\Administrators]
//         Group = SID S-1-5-32-544 [Alias BUILTIN\Administrators]
//         DACL = ACL [
//         Access Allowed SID S-1-1-0 [WellKnownGroup \Everyone]: 0x1f01ff [FILE_ALL_ACCESS] (CI)
//     ]
//
// Null and invalid SIDs, ACEs, lists and descriptors have fixed texts and throw nothing. A null
// ExplicitAccess can't be printed. Exceptions from reading a SID's text, an ACL's size, its ACEs or
// a descriptor's control bits are passed on. If an account can't be looked up, the error message
// takes its place: "*** MESSAGE ***". Text is UTF-8. On a wide stream that message goes through the
// stream's codecvt facet, as far as the facet can convert it. Two threads may print to two streams.
//
// The stream's width applies to the first text that is written. For a null or an invalid object
// that is the whole text. For any other object it is only the beginning: "SID ", the type of an
// ACE, "ACL [" with its line feed, "Trustee [", "ExplicitAccess [for ", "SD [Flags: ". To align a
// whole object, print it to a string first.

#include <iosfwd>

#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/trustee-win.h"

/// @{
/// Prints the text of a SID and its account.
std::ostream& operator<<(std::ostream& out, const SecurityIdentifier& sid);
std::wostream& operator<<(std::wostream& out, const SecurityIdentifier& sid);
/// @}
/// @{
/// Names the rights for the kind of object whose descriptor is being printed to the stream, or for
/// a plain file if there is none. The same with lists and with ExplicitAccess.
std::ostream& operator<<(std::ostream& out, const AccessControlEntry& entry);
std::ostream& operator<<(std::ostream& out, const AccessControlList& list);
std::ostream& operator<<(std::ostream& out, const Trustee& trustee);
std::ostream& operator<<(std::ostream& out, const ExplicitAccess& access);
/// @}
/// Prints the descriptor's lists with the rights named for its kind of object. After an exception
/// the stream keeps that kind.
std::ostream& operator<<(std::ostream& out, const SecurityDescriptor& security);
