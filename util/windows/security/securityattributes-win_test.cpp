// The registry. For directories see securityattributes-directory-win_test.cpp.

#include "util/windows/security/securityattributes-win.h"

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/allocationcount.h"
#include "util/stringpool.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

using namespace testing_support;

std::unique_ptr<SecurityDescriptor> descriptor(const char* sddl) {
    return std::make_unique<SecurityDescriptor>(sddl, SDDL_REVISION_1);
}

TEST(SecurityAttributesRegistryTest, AnUnknownNameHasNothing) {
    SecurityAttributesRegistry registry;
    EXPECT_EQ(registry.find(HashedText("name")), nullptr);
    EXPECT_EQ(registry.find(HashedText("")), nullptr);
}

TEST(SecurityAttributesRegistryTest, ANameHasAttributesWithItsDescriptorThatAreNotInherited) {
    SecurityAttributesRegistry registry;
    auto security = descriptor("D:(A;;FA;;;WD)");
    const PSECURITY_DESCRIPTOR bytes = security->descriptor();
    registry.add(HashedText("name"), std::move(security));
    const SECURITY_ATTRIBUTES* const found = registry.find(HashedText(std::string("name")));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->nLength, sizeof(SECURITY_ATTRIBUTES));
    EXPECT_EQ(found->lpSecurityDescriptor, bytes);
    EXPECT_FALSE(found->bInheritHandle);
    EXPECT_TRUE(IsValidSecurityDescriptor(found->lpSecurityDescriptor));
}

TEST(SecurityAttributesRegistryTest, ANullDescriptorGivesAttributesWithNone) {
    SecurityAttributesRegistry registry;
    registry.add(HashedText("name"),
                 std::make_unique<SecurityDescriptor>(PSECURITY_DESCRIPTOR{nullptr}));
    const SECURITY_ATTRIBUTES* const found = registry.find(HashedText("name"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->lpSecurityDescriptor, nullptr);
    EXPECT_EQ(found->nLength, sizeof(SECURITY_ATTRIBUTES));
}

TEST(SecurityAttributesRegistryTest, ANameKeepsWhatItHasAndTheNewDescriptorIsDeleted) {
    SecurityAttributesRegistry registry;
    registry.add(HashedText("name"), descriptor("D:(A;;FA;;;WD)"));
    const SECURITY_ATTRIBUTES* const found = registry.find(HashedText("name"));
    const PSECURITY_DESCRIPTOR bytes = found->lpSecurityDescriptor;
    static PSECURITY_DESCRIPTOR freed;
    freed = nullptr;
    auto other = descriptor("D:(A;;FR;;;WD)");
    const PSECURITY_DESCRIPTOR otherBytes = other->descriptor();
    static decltype(LocalFree)* original;
    const ReplacedCall<decltype(LocalFree)> watched("LocalFree", [](HLOCAL memory) -> HLOCAL {
        freed = memory;
        return original(memory);
    });
    original = watched.original();
    registry.add(HashedText("name"), std::move(other));
    EXPECT_EQ(freed, otherBytes);
    EXPECT_EQ(registry.find(HashedText("name")), found);
    EXPECT_EQ(found->lpSecurityDescriptor, bytes);
}

TEST(SecurityAttributesRegistryTest, AttributesStayWhereTheyAreWhileTheRegistryGrows) {
    SecurityAttributesRegistry registry;
    std::vector<std::string> names;
    names.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
        names.push_back("name " + std::to_string(i));
    }
    std::vector<const SECURITY_ATTRIBUTES*> places;
    for (const std::string& name : names) {
        registry.add(HashedText(name), descriptor("D:"));
        places.push_back(registry.find(HashedText(name)));
    }
    for (size_t i = 0; i < names.size(); ++i) {
        ASSERT_EQ(registry.find(HashedText(names[i])), places[i]);
        ASSERT_TRUE(IsValidSecurityDescriptor(places[i]->lpSecurityDescriptor));
    }
}

TEST(SecurityAttributesRegistryTest, ThreadsThatAddTheSameNamesFindTheSameAttributes) {
    constexpr size_t threadCount = 8;
    constexpr size_t nameCount = 200;
    std::vector<std::string> names;
    names.reserve(nameCount);
    for (size_t i = 0; i < nameCount; ++i) {
        names.push_back("name " + std::to_string(i));
    }
    SecurityAttributesRegistry registry;
    std::vector<std::vector<SECURITY_ATTRIBUTES*>> found(threadCount);
    {
        std::vector<std::jthread> threads;
        for (size_t thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&names, &registry, &mine = found[thread]] {
                for (const std::string& name : names) {
                    registry.add(HashedText(name), descriptor("D:"));
                    mine.push_back(registry.find(HashedText(name)));
                }
            });
        }
    }
    for (size_t i = 0; i < nameCount; ++i) {
        ASSERT_NE(found[0][i], nullptr);
        for (size_t thread = 1; thread < threadCount; ++thread) {
            ASSERT_EQ(found[thread][i], found[0][i]);
        }
    }
}

TEST(FindSecurityAttributesTest, AnUnknownNameHasNothing) {
    EXPECT_EQ(findSecurityAttributes("a name that nothing has"), nullptr);
    EXPECT_EQ(findSecurityAttributes(""), nullptr);
    EXPECT_EQ(findSecurityAttributes(nullptr), nullptr);
}

TEST(FindSecurityAttributesTest, ANameIsFoundByAnyTextThatIsEqual) {
    const char* const name = internString("found by its text");
    SecurityAttributesRegistry::instance().add(HashedText(name), descriptor("D:"));
    SECURITY_ATTRIBUTES* const found = findSecurityAttributes(name);
    EXPECT_NE(found, nullptr);
    EXPECT_EQ(findSecurityAttributes(std::string(name).c_str()), found);
    EXPECT_EQ(findSecurityAttributes("found by its TEXT"), nullptr);
}

TEST(SecurityAttributesTest, ANameThatIsLookedForIsPooled) {
    const std::string name = "no security has this name, " + std::string(1000, 'n');
    EXPECT_EQ(findSecurityAttributes(name.c_str()), nullptr);
    const size_t before = testing_support::allocationCount();
    static_cast<void>(internString(name.c_str()));
    EXPECT_EQ(testing_support::allocationCount(), before);
}

}  // namespace
