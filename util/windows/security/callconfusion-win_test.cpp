// Which calls of the wrappers except AccessToken compile: only those that can't be mistaken for
// another call.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <accctrl.h>

#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/trustee-win.h"

namespace {

class DeclaredAlone;

// Each function is a template, so that a call that doesn't compile is a result, not an error.

template <class Sid>
void expectThatASidIsBytesOrText() {
    EXPECT_FALSE((requires(char(&buffer)[68]) { Sid(buffer); }));
    EXPECT_FALSE((requires(std::string & text) { Sid(text.data()); }));
    EXPECT_FALSE((requires(std::vector<char> & buffer) { Sid(buffer.data()); }));
    EXPECT_FALSE((requires(char8_t(&buffer)[68]) { Sid(buffer); }));
    EXPECT_FALSE((requires(char(&buffer)[68]) { Sid{buffer}; }));
    EXPECT_TRUE((requires(unsigned char(&buffer)[68]) { Sid(buffer); }));
    EXPECT_TRUE((requires(BYTE(&buffer)[68]) { Sid{buffer}; }));
    EXPECT_TRUE((requires(std::byte(&buffer)[68]) { Sid(buffer); }));
    EXPECT_TRUE((requires(DWORD(&buffer)[17], SID & sid, PSID place, TRUSTEE_W & trustee) {
        Sid(buffer);
        Sid(trustee.ptstrName);
        Sid(&sid);
        Sid(place);
        Sid(PSID{nullptr});
    }));
    EXPECT_TRUE((requires(DeclaredAlone * bytes) { Sid(bytes); }));
    EXPECT_TRUE((requires(const char* text, std::string& string, char(&buffer)[68]) {
        Sid("S-1-1-0");
        Sid(text);
        Sid(string.c_str());
        Sid(std::as_const(buffer));
        Sid(PSID{buffer});
    }));
}

TEST(CallConfusionTest, ASidIsMadeOfBytesOrOfTextAndAWritableTextIsNeither) {
    expectThatASidIsBytesOrText<SecurityIdentifier>();
}

template <class Sid>
void expectThatOnlyBytesAreTakenForASid() {
    using Ace = AccessControlEntry;
    EXPECT_FALSE((requires(char(&buffer)[68]) { Ace::allowed(1, Sid(buffer), 0); }));
    EXPECT_FALSE((requires(Sid & sid, char(&buffer)[68]) { sid == buffer; }));
    EXPECT_FALSE((requires(bool isMember(const Sid&), char(&buffer)[68]) { isMember(buffer); }));
    EXPECT_FALSE((requires(bool isMember(const Sid&)) { isMember("S-1-1-0"); }));
    EXPECT_FALSE((requires(bool isMember(const Sid&), Sid* sid) { isMember(sid); }));
    EXPECT_FALSE((requires(std::string * text) { Sid(text); }));
    EXPECT_FALSE((requires(char(&buffer)[68]) { Sid::deepCopy(buffer); }));
    EXPECT_FALSE((requires(Sid * sid) { Sid::deepCopy(sid); }));
    EXPECT_FALSE((requires(char(&buffer)[68]) { Sid(WinAccountGuestSid, buffer); }));
    EXPECT_FALSE((requires(Sid * domain) { Sid(WinAccountGuestSid, domain); }));
    EXPECT_TRUE((requires(bool isMember(const Sid&), BYTE(&buffer)[68], const Sid& sid) {
        isMember(buffer);
        isMember(nullptr);
        isMember({});
        isMember(sid.sid());
        Sid::deepCopy(buffer);
        Sid::deepCopy(nullptr);
        Sid(WinAccountGuestSid, buffer);
        Sid(WinWorldSid, nullptr);
        sid == buffer;
    }));
}

TEST(CallConfusionTest, WhereASidIsAskedForNeitherTextNorTheAddressOfAnObjectIsOne) {
    expectThatOnlyBytesAreTakenForASid<SecurityIdentifier>();
}

template <class Sid>
void expectThatBracesAreNoCount() {
    using Authority = SID_IDENTIFIER_AUTHORITY;
    EXPECT_FALSE((requires(const Authority& authority) { Sid(authority, {18}); }));
    EXPECT_FALSE((requires(const Authority& authority) { Sid(authority, {0}); }));
    EXPECT_FALSE((requires(const Authority& authority, DWORD id) { Sid(authority, {id}); }));
    EXPECT_FALSE((requires(const Authority& authority, BYTE id) { Sid(authority, {id}); }));
    EXPECT_TRUE((requires(const Authority& authority, BYTE count, std::vector<DWORD> list) {
        Sid(authority, 2);
        Sid(authority, 0);
        Sid(authority, count);
        Sid(authority, BYTE{2});
        Sid(authority, {32, 544});
        Sid(authority, std::vector<DWORD>{18});
        Sid(authority, std::move(list));
    }));
}

TEST(CallConfusionTest, OneNumberInBracesIsNeitherASubAuthorityCountNorAList) {
    expectThatBracesAreNoCount<SecurityIdentifier>();
}

TEST(CallConfusionTest, EmptyBracesAreNoSubAuthorityAsTheCountOfNoneIs) {
    constexpr SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    EXPECT_EQ(SecurityIdentifier(authority, {}), SecurityIdentifier(authority, 0));
}

template <class OneTrustee>
void expectThatATrusteeIsANameOrASid() {
    EXPECT_FALSE((requires(char(&buffer)[68]) { OneTrustee(buffer); }));
    EXPECT_FALSE((requires(std::string & text) { OneTrustee(text.data()); }));
    EXPECT_FALSE((requires(SecurityIdentifier * sid) { OneTrustee(sid); }));
    EXPECT_FALSE((requires { OneTrustee({}); }));
    EXPECT_TRUE((requires(const char* name, BYTE(&buffer)[68], std::byte(&bytes)[68]) {
        OneTrustee();
        OneTrustee{};
        OneTrustee("name");
        OneTrustee(name);
        OneTrustee(buffer);
        OneTrustee(bytes);
    }));
    EXPECT_TRUE((requires(char(&buffer)[68], const SecurityIdentifier& sid, TRUSTEE_W& raw) {
        OneTrustee(std::as_const(buffer));
        OneTrustee(SecurityIdentifier(PSID{buffer}));
        OneTrustee(sid);
        OneTrustee(raw, false);
    }));
}

TEST(CallConfusionTest, ATrusteeIsANameOrASidAndAWritableTextIsNeither) {
    expectThatATrusteeIsANameOrASid<Trustee>();
}

template <class List>
void expectThatZeroIsNoList() {
    EXPECT_FALSE((requires { List(0); }));
    EXPECT_FALSE((requires(bool take(const List&)) { take(0); }));
    EXPECT_TRUE((requires(PACL acl, bool take(const List&)) {
        List();
        List(acl);
        List(nullptr);
        List(0, ACL_REVISION, false);
        take(acl);
        take(nullptr);
        take({});
    }));
}

TEST(CallConfusionTest, ZeroIsNoListOfNoAces) { expectThatZeroIsNoList<AccessControlList>(); }

template <class Descriptor>
void expectThatADescriptorComesFromWhatIsSaid() {
    EXPECT_FALSE((requires(char(&path)[99]) { Descriptor(path, SE_FILE_OBJECT, false); }));
    EXPECT_FALSE((requires(std::string & path) { Descriptor(&path, SE_FILE_OBJECT, false); }));
    EXPECT_FALSE((requires(wchar_t(&path)[99]) { Descriptor(path, SE_FILE_OBJECT, false); }));
    EXPECT_FALSE((requires { Descriptor("c:/path", SE_FILE_OBJECT); }));
    EXPECT_FALSE((requires(char(&sddl)[99]) { Descriptor(sddl); }));
    EXPECT_FALSE((requires(std::string & sddl) { Descriptor(sddl.data()); }));
    EXPECT_FALSE((requires(Descriptor * other) { Descriptor(other); }));
    EXPECT_FALSE((requires { Descriptor({}); }));
    EXPECT_TRUE((requires(const std::string& path, const char* literal, HANDLE handle, HKEY key) {
        Descriptor(path, SE_FILE_OBJECT, false);
        Descriptor("c:/path", SE_FILE_OBJECT, false);
        Descriptor(literal, SE_FILE_OBJECT, true);
        Descriptor(handle, SE_FILE_OBJECT, false);
        Descriptor(INVALID_HANDLE_VALUE, SE_FILE_OBJECT, false);
        Descriptor(key, SE_REGISTRY_KEY, false);
    }));
    EXPECT_TRUE((requires(BYTE(&bytes)[99], char(&sddl)[99], SECURITY_DESCRIPTOR& raw) {
        Descriptor();
        Descriptor{};
        Descriptor(bytes);
        Descriptor(&raw);
        Descriptor(PSECURITY_DESCRIPTOR{nullptr});
        Descriptor(PSECURITY_DESCRIPTOR{sddl});
        Descriptor(sddl, 1);
        Descriptor("D:", DWORD{1});
    }));
}

TEST(CallConfusionTest, ADescriptorIsReadFromWhatTheCallSays) {
    expectThatADescriptorComesFromWhatIsSaid<SecurityDescriptor>();
}

template <class Descriptor>
void expectThatWrongPartsAndTargetsAreRefused() {
    constexpr SECURITY_INFORMATION bits = PROTECTED_DACL_SECURITY_INFORMATION;
    EXPECT_FALSE((requires(Descriptor & d, char(&sid)[68]) { d.setOwner(sid); }));
    EXPECT_FALSE((requires(Descriptor & d, SecurityIdentifier & sid) { d.setOwner(&sid); }));
    EXPECT_FALSE((requires(Descriptor & d, char(&sid)[68]) { d.setGroup(sid); }));
    EXPECT_FALSE((requires(Descriptor & d, SecurityIdentifier & sid) { d.setGroup(&sid); }));
    EXPECT_FALSE(
        (requires(Descriptor & d, char(&path)[9]) { d.write(path, SE_FILE_OBJECT, false, 0); }));
    EXPECT_FALSE((requires(Descriptor & d) { d.write("path", SE_FILE_OBJECT, bits, false); }));
    EXPECT_FALSE((requires(Descriptor & d, HANDLE object) {
        d.write(object, SE_FILE_OBJECT, PROTECTED_DACL_SECURITY_INFORMATION, false);
    }));
    EXPECT_TRUE((requires(Descriptor & d, BYTE(&sid)[68], HANDLE object, std::string & path) {
        d.setOwner(sid);
        d.setGroup(sid);
        d.setOwner(nullptr);
        d.write(object, SE_FILE_OBJECT, false, 0);
        d.write(object, SE_FILE_OBJECT, TRUE, bits);
        d.write("path", SE_FILE_OBJECT, true, PROTECTED_DACL_SECURITY_INFORMATION);
        d.write(path, SE_FILE_OBJECT, FALSE, 0);
    }));
}

TEST(CallConfusionTest, ADescriptorIsWrittenToAHandleOrAPathWithThePartsOfSids) {
    expectThatWrongPartsAndTargetsAreRefused<SecurityDescriptor>();
}

}  // namespace
