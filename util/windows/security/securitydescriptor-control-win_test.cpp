// The control bits of security descriptors, their revision and the resource manager bits.

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

using namespace testing_support;
using DescriptorControlTest = testing_support::SecurityTest;

TEST_F(DescriptorControlTest, ControlBitsChangeUnderTheirMask) {
    SecurityDescriptor security("D:(A;;FA;;;WD)S:(AU;SA;FA;;;WD)", SDDL_REVISION_1);
    constexpr SECURITY_DESCRIPTOR_CONTROL lists = SE_DACL_PRESENT | SE_SACL_PRESENT;
    EXPECT_EQ(security.control(), SE_SELF_RELATIVE | lists);
    security.setControl(SE_DACL_PROTECTED | SE_SACL_PROTECTED, SE_DACL_PROTECTED);
    EXPECT_EQ(security.control(), SE_SELF_RELATIVE | lists | SE_DACL_PROTECTED);
    security.setControl(SE_DACL_PROTECTED, 0);
    EXPECT_EQ(security.control(), SE_SELF_RELATIVE | lists);
}

TEST_F(DescriptorControlTest, ControlAndRevisionAreThoseOfWindows) {
    const SecurityDescriptor security;
    const ReplacedCall<decltype(GetSecurityDescriptorControl)> call(
        "GetSecurityDescriptorControl",
        [](PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR_CONTROL control, LPDWORD revision) -> BOOL {
            *control = 0xABCD;
            *revision = 0x12345678;
            return TRUE;
        });
    EXPECT_EQ(security.control(), 0xABCD);
    EXPECT_EQ(security.revision(), 0x12345678U);
}

// Always replaced: not every system has these two.

TEST_F(DescriptorControlTest, ResourceManagerBitsAreReadAndWritten) {
    static PSECURITY_DESCRIPTOR asked;
    static PSECURITY_DESCRIPTOR told;
    static BYTE bits;
    const ReplacedCall<decltype(GetSecurityDescriptorRMControl)> get(
        "GetSecurityDescriptorRMControl",
        [](PSECURITY_DESCRIPTOR descriptor, PUCHAR found) -> DWORD {
            asked = descriptor;
            *found = 0xA5;
            return ERROR_SUCCESS;
        });
    const ReplacedCall<decltype(SetSecurityDescriptorRMControl)> set(
        "SetSecurityDescriptorRMControl",
        // NOLINTNEXTLINE(readability-non-const-parameter): Windows's signature.
        [](PSECURITY_DESCRIPTOR descriptor, PUCHAR wanted) -> DWORD {
            told = descriptor;
            bits = *wanted;
            return ERROR_SUCCESS;
        });
    SecurityDescriptor security;
    EXPECT_EQ(security.rmControl(), 0xA5);
    EXPECT_EQ(asked, security.descriptor());
    security.setRmControl(0x5A);
    EXPECT_EQ(told, security.descriptor());
    EXPECT_EQ(bits, 0x5A);
}

}  // namespace
