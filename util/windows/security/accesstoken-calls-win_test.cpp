// Which calls of AccessToken compile: only those that can't be mistaken for another call.

#include <string>

#include <boost/shared_ptr.hpp>
#include <gtest/gtest.h>

#include <windows.h>

#include "util/windows/security/accesstoken-win.h"

namespace {

using SidList = AccessToken::SidList;
using PrivilegeList = AccessToken::PrivilegeList;
using Level = SECURITY_IMPERSONATION_LEVEL;

// Each function is a template, so that a call that doesn't compile is a result, not an error.

template <class Token>
void expectThatEmptyBracesMakeNoToken() {
    EXPECT_FALSE(
        (requires(const Token& token) { Token(token, DISABLE_MAX_PRIVILEGE, {}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) {
        Token{token, DISABLE_MAX_PRIVILEGE, {}, {}, {}};
    }));
    EXPECT_FALSE((requires(const Token& token, DWORD flags) { Token(token, flags, {}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token, int flags) { Token(token, flags, {}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, TOKEN_QUERY, {}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 0, {}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, {}, {}, {}, {}); }));
    EXPECT_FALSE((requires(Token && token) { Token(static_cast<Token&&>(token), 0, {}, {}, {}); }));
    EXPECT_FALSE((requires { Token({GetCurrentProcess(), DWORD{}}, DWORD{}, {}, {}, {}); }));
}

TEST(AccessTokenCallsTest, EmptyBracesMakeNeitherADuplicateNorARestrictedToken) {
    expectThatEmptyBracesMakeNoToken<AccessToken>();
}

template <class Token>
void expectThatADuplicateSpellsOutItsLevelAndType() {
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, nullptr, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, 0, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, NULL, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, {0}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, {nullptr}, {}, {}); }));
    EXPECT_FALSE((requires(const Token& token, SECURITY_ATTRIBUTES* attributes) {
        Token(token, 1, attributes, {}, {});
    }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, {}, {}, TokenPrimary); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, nullptr, {}, TokenPrimary); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, {}, SecurityDelegation, {}); }));
    EXPECT_FALSE(
        (requires(const Token& token) { Token(token, 1, nullptr, SecurityDelegation, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, nullptr, 0, 0); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, nullptr, 2, 1); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, nullptr, nullptr, nullptr); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 1, nullptr, {{}}, {{}}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, {{}}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, {}); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, 0); }));
    EXPECT_FALSE((requires(const Token& token) { Token(token, DISABLE_MAX_PRIVILEGE); }));
}

TEST(AccessTokenCallsTest, ADuplicateSpellsOutItsLevelAndType) {
    expectThatADuplicateSpellsOutItsLevelAndType<AccessToken>();
}

template <class Token>
void expectThatOneListWrittenOutMeansARestrictedToken() {
    EXPECT_TRUE((requires(const Token& token) {
        Token(token, DISABLE_MAX_PRIVILEGE, SidList(), PrivilegeList(), SidList());
    }));
    EXPECT_TRUE((requires(const Token& token) { Token(token, 1, SidList(), {}, {}); }));
    EXPECT_TRUE((requires(const Token& token) { Token(token, 1, {}, PrivilegeList(), {}); }));
    EXPECT_TRUE((requires(const Token& token) { Token(token, 1, {}, {}, SidList()); }));
    EXPECT_TRUE((requires(const Token& token, const SidList& sids) {
        Token(token, DWORD{DISABLE_MAX_PRIVILEGE}, sids, {}, {});
        Token(token, DISABLE_MAX_PRIVILEGE, {}, {}, sids);
    }));
    EXPECT_TRUE((requires(const Token& token, const PrivilegeList& privileges) {
        Token(token, DISABLE_MAX_PRIVILEGE, {}, privileges, {});
    }));
    EXPECT_TRUE((requires(const Token& token, const SecurityIdentifier& sid) {
        Token(token, 0, {{sid, 0}}, {}, {});
        Token(token, 0, {}, {}, {{sid, 0}, {sid, 1}});
    }));
    EXPECT_TRUE((requires(const Token& token, LUID privilege) {
        Token(token, 0, {}, {{privilege, 0}}, {});
    }));
}

TEST(AccessTokenCallsTest, OneListWrittenOutMeansARestrictedToken) {
    expectThatOneListWrittenOutMeansARestrictedToken<AccessToken>();
}

template <class Token>
void expectThatDuplicatesKeepTheirShape() {
    EXPECT_TRUE((requires(const Token& token, Level level, const TOKEN_TYPE type) {
        Token(token, level);
        Token{token, SecurityImpersonation};
        Token(token, MAXIMUM_ALLOWED, nullptr, level, type);
        Token(token, MAXIMUM_ALLOWED, {}, SecurityImpersonation, TokenPrimary);
        // NOLINTNEXTLINE(modernize-use-nullptr): callers may write NULL.
        Token(token, MAXIMUM_ALLOWED, NULL, SecurityImpersonation, TokenPrimary);
    }));
    EXPECT_TRUE((requires(const Token& token, SECURITY_ATTRIBUTES attributes) {
        Token(token, TOKEN_QUERY, &attributes, SecurityAnonymous, TokenImpersonation);
        Token(token, DWORD{TOKEN_QUERY}, &attributes, {SecurityAnonymous}, {TokenPrimary});
    }));
}

TEST(AccessTokenCallsTest, ADuplicateKeepsItsShape) {
    expectThatDuplicatesKeepTheirShape<AccessToken>();
}

template <class Token>
void expectThatATokenIsOpenedOfAHandleAlone() {
    EXPECT_TRUE((requires(HANDLE handle, DWORD access) {
        Token(handle, access);
        Token(handle, TOKEN_QUERY);
        Token(handle, access, true);
        Token(handle, access, TRUE);
        Token(nullptr, access);
    }));
    EXPECT_FALSE((requires(HANDLE handle) { Token(handle, SecurityImpersonation); }));
    EXPECT_FALSE((requires(Token * token) { Token(token, SecurityImpersonation); }));
    EXPECT_FALSE((requires(Token * token) { Token(token, TOKEN_QUERY); }));
    EXPECT_FALSE((requires(Token * token) { Token(token, TOKEN_QUERY, true); }));
    EXPECT_FALSE((requires(boost::shared_ptr<Token> token) { Token(token.get(), TOKEN_QUERY); }));
    EXPECT_FALSE((requires(char(&name)[9]) { Token(name, TOKEN_QUERY); }));
}

TEST(AccessTokenCallsTest, ATokenIsOpenedOfAHandleAndDuplicatedOfAToken) {
    expectThatATokenIsOpenedOfAHandleAlone<AccessToken>();
}

template <class Token>
void expectThatALogonTakesAnyText() {
    EXPECT_TRUE((requires(char(&text)[9], const std::string& string) {
        Token(text, text, text, 2, 0);
        Token("user", "", string, DWORD{2}, DWORD{0});
    }));
    EXPECT_TRUE((requires(char(&text)[9], boost::shared_ptr<AccessToken::Profile>& profile) {
        Token(text, "domain", "password", 2, 0, 0, profile);
    }));
}

TEST(AccessTokenCallsTest, ALogonTakesAnyText) { expectThatALogonTakesAnyText<AccessToken>(); }

template <class Token>
void expectThatEmptyBracesChangeNothing() {
    EXPECT_FALSE((requires(Token & token) { token.adjustPrivileges({}); }));
    EXPECT_FALSE((requires(Token & token, PrivilegeList & previous) {
        token.adjustPrivileges({}, &previous);
    }));
    EXPECT_FALSE((requires(Token & token) { token.adjustGroups({}); }));
    EXPECT_FALSE(
        (requires(Token & token, SidList & previous) { token.adjustGroups({}, &previous); }));
    EXPECT_FALSE((requires(Token & token) { token.setDefaultDacl({}); }));
    EXPECT_TRUE((requires(Token & token, PrivilegeList & privileges, SidList & groups) {
        token.adjustPrivileges(nullptr);
        token.adjustPrivileges(nullptr, &privileges);
        token.adjustPrivileges(&privileges, &privileges);
        token.adjustGroups(nullptr, &groups);
        token.adjustGroups(&groups);
        token.setGroups({});
    }));
    EXPECT_TRUE((requires(Token & token, PACL dacl) {
        token.setDefaultDacl(AccessControlList());
        token.setDefaultDacl(dacl);
        token.setDefaultDacl(nullptr);
    }));
}

TEST(AccessTokenCallsTest, NoEmptyBracesWhereNullMeansEverything) {
    expectThatEmptyBracesChangeNothing<AccessToken>();
}

}  // namespace
