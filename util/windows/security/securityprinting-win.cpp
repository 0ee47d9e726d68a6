#include "util/windows/security/securityprinting-win.h"

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <exception>
#include <ios>
#include <locale>
#include <ostream>
#include <string>

#include "util/accessrights.h"
#include "util/platform/unicodetext-win.h"

namespace {

/// The object for which a stream names rights, in two slots of the stream: the object's type plus 1
/// (0 means none), and its kind.
struct ObjectContext {
    static int typeSlot() {
        static const int slot = std::ios_base::xalloc();
        return slot;
    }
    static int kindSlot() {
        static const int slot = std::ios_base::xalloc();
        return slot;
    }
    static void set(std::ios_base& stream, long typePlusOne, long kind) {
        stream.iword(typeSlot()) = typePlusOne;
        stream.iword(kindSlot()) = kind;
    }
};

void writeMask(std::ostream& out, ACCESS_MASK mask) {
    const long typePlusOne = out.iword(ObjectContext::typeSlot());
    if (typePlusOne == 0) {
        writeAccessMask(out, mask, ObjectType::file, ObjectKind::plainFile);
    } else {
        writeAccessMask(out, mask, static_cast<uint32_t>(typePlusOne - 1),
                        static_cast<uint32_t>(out.iword(ObjectContext::kindSlot())));
    }
}

/// The empty text for a value without a name.
const char* orNothing(const char* name) { return name != nullptr ? name : ""; }

std::wstring widened(const std::string& text, const std::locale& locale) {
    using Facet = std::codecvt<wchar_t, char, std::mbstate_t>;
    const auto& facet = std::use_facet<Facet>(locale);
    std::wstring wide(text.size(), L'\0');
    std::mbstate_t state{};
    const char* textEnd = nullptr;
    wchar_t* wideEnd = nullptr;
    facet.in(state, text.data(), text.data() + text.size(), textEnd, wide.data(),
             wide.data() + wide.size(), wideEnd);
    wide.resize(static_cast<size_t>(wideEnd - wide.data()));
    return wide;
}

/// The text for a SID's account, and whether it is an error message.
struct Account {
    explicit Account(const SecurityIdentifier& sid) {
        try {
            text = sid.accountName(&use);
            if (text.empty()) {
                text = "(not found)";
            }
        } catch (const std::exception& failure) {
            text = failure.what();
            isFailure = true;
        }
    }
    SID_NAME_USE use = SidTypeInvalid;
    std::string text;
    bool isFailure = false;
};

}  // namespace

std::ostream& operator<<(std::ostream& out, const SecurityIdentifier& sid) {
    if (!sid.isValid()) {
        return out << "Invalid SID!";
    }
    const Account account(sid);
    const std::string text = sid.text();
    out << "SID " << text << " [" << orNothing(sidUseName(account.use)) << ' ';
    if (account.isFailure) {
        out << "*** " << account.text << " ***";
    } else {
        out << account.text;
    }
    return out << ']';
}

std::wostream& operator<<(std::wostream& out, const SecurityIdentifier& sid) {
    if (!sid.isValid()) {
        return out << L"Invalid SID!";
    }
    const Account account(sid);
    const std::string text = sid.text();
    out << L"SID " << toWide(text) << L" ["
        << widened(orNothing(sidUseName(account.use)), out.getloc()) << L' ';
    if (account.isFailure) {
        out << L"*** " << widened(account.text, out.getloc()) << L" ***";
    } else {
        out << toWide(account.text);
    }
    return out << L']';
}

std::ostream& operator<<(std::ostream& out, const AccessControlEntry& entry) {
    if (entry.ace() == nullptr) {
        return out << "Invalid ACE!";
    }
    const char* const type = aceTypeName(entry.type());
    out << (type != nullptr ? type : "ACE") << ' ' << entry.sid() << ": ";
    writeMask(out, entry.mask());
    writeAceFlags(out, entry.flags());
    return out;
}

std::ostream& operator<<(std::ostream& out, const AccessControlList& list) {
    if (list.acl() == nullptr) {
        return out << "Null ACL";
    }
    if (!list.isValid()) {
        return out << "Invalid ACL!";
    }
    out << "ACL [\n";
    for (DWORD index = 0; index < list.aceCount(); ++index) {
        out << '\t' << list.ace(index) << '\n';
    }
    return out << ']';
}

std::ostream& operator<<(std::ostream& out, const Trustee& trustee) {
    out << "Trustee [" << orNothing(trusteeTypeName(trustee.type())) << ": ";
    switch (trustee.form()) {
        case TRUSTEE_IS_SID:
            out << trustee.sid();
            break;
        case TRUSTEE_IS_NAME:
            out << '"' << trustee.name() << '"';
            break;
        case TRUSTEE_BAD_FORM:
            out << "of bad form";
            break;
        case TRUSTEE_IS_OBJECTS_AND_SID:
            out << trustee.sid() << " plus objects";
            break;
        case TRUSTEE_IS_OBJECTS_AND_NAME:
            out << '"' << trustee.name() << "\" plus objects";
            break;
        default:
            break;
    }
    return out << ']';
}

std::ostream& operator<<(std::ostream& out, const ExplicitAccess& access) {
    // Compatibility: callers may compare the text, so it keeps its two spaces after the trustee.
    out << "ExplicitAccess [for " << access.trustee() << ":  "
        << orNothing(accessModeName(access.mode())) << ' ';
    writeMask(out, access.permissions());
    writeAceFlags(out, access.inheritance());
    return out << ']';
}

std::ostream& operator<<(std::ostream& out, const SecurityDescriptor& security) {
    if (security.descriptor() == nullptr) {
        return out << "Null SecurityDescriptor";
    }
    if (!security.isValid()) {
        return out << "Invalid SecurityDescriptor!";
    }
    const SECURITY_DESCRIPTOR_CONTROL control = security.control();
    // Compatibility: callers may compare the text, so it keeps its two spaces before the first flag
    // and no bracket at the end.
    out << "SD [Flags: ";
    writeDescriptorControl(out, control);
    out << "]\n\tOwner = " << security.owner() << "\n\tGroup = " << security.group();
    const uint32_t type = security.objectType();
    uint32_t kind = security.objectKind();
    if (type == ObjectType::file && kind == ObjectKind::unknown) {
        kind = ObjectKind::plainFile;
    }
    // Compatibility: after an exception the stream keeps this kind of object, and names the rights
    // of the next entries by it.
    ObjectContext::set(out, long{1} + static_cast<long>(type), static_cast<long>(kind));
    if ((control & SE_DACL_PRESENT) != 0) {
        out << "\n\tDACL = " << security.dacl();
    }
    if ((control & SE_SACL_PRESENT) != 0) {
        out << "\n\tSACL = " << security.sacl();
    }
    ObjectContext::set(out, 0, 0);
    return out;
}
