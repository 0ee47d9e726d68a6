#pragma once

// Security objects in plain words, for diagnostics:
//
//     SD [Flags:  SE_DACL_PRESENT SE_SELF_RELATIVE]
//         Owner = SID S-1-5-32-544 [Alias BUILTIN\Administrators]
//         Group = SID S-1-5-32-544 [Alias BUILTIN\Administrators]
//         DACL = ACL [
//         Access Allowed SID S-1-1-0 [WellKnownGroup \Everyone]: 0x1f01ff [FILE_ALL_ACCESS] (CI)
//     ]
//
// Null and invalid SIDs, ACEs, lists and descriptors have words of their own and throw nothing; a
// null ExplicitAccess can't be printed. What the text of a SID, an
// ACL's size, its ACEs or a descriptor's control throw passes on. An account that can't be looked
// up shows the failure in its place: "*** WORDS ***". Text is UTF-8; on a wide
// stream these words go through its codecvt facet, as far as that can convert them. Two threads may
// print to two streams.
//
// A width of the stream goes to what is written first. That is the whole of the words for a null or
// an invalid object. Of any other object it is the beginning alone: "SID ", the type of an ACE,
// "ACL [" with its line feed, "Trustee [", "ExplicitAccess [for ", "SD [Flags: ". To align a whole
// object, print it to a string first.

#include <iosfwd>

#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/trustee-win.h"

std::ostream& operator<<(std::ostream& out, const SecurityIdentifier& sid);
std::wostream& operator<<(std::wostream& out, const SecurityIdentifier& sid);
/// The rights are named for the kind of object whose descriptor is being printed to the stream, and
/// for a plain file otherwise. So it is with lists and with ExplicitAccess.
std::ostream& operator<<(std::ostream& out, const AccessControlEntry& entry);
std::ostream& operator<<(std::ostream& out, const AccessControlList& list);
std::ostream& operator<<(std::ostream& out, const Trustee& trustee);
std::ostream& operator<<(std::ostream& out, const ExplicitAccess& access);
/// Prints its lists with the rights named for its kind of object. A failure leaves the stream with
/// that kind.
std::ostream& operator<<(std::ostream& out, const SecurityDescriptor& security);
