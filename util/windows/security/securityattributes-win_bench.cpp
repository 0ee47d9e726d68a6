#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "util/stringpool.h"
#include "util/windows/security/securityattributes-win.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

constexpr size_t nameCount = 10000;

/// Texts like those that name the security of directories.
std::vector<const char*> makeNames() {
    std::vector<const char*> names;
    for (size_t i = 0; i < nameCount; ++i) {
        const std::string user = "S-1-5-21-1085031214-1563985344-725345543-" + std::to_string(i);
        std::string text = "O:";
        text.append(user).append("G:DUD:AI(A;ID;FA;;;SY)(A;ID;FA;;;BA)(A;ID;FA;;;");
        text.append(user).append(")");
        names.push_back(internString(text.c_str()));
    }
    return names;
}

TEST(Benchmark, FindSecurityAttributes) {
    const std::vector<const char*> names = makeNames();
    Mutex mutex;
    std::unordered_map<std::string, SECURITY_ATTRIBUTES> map;
    for (const char* const name : names) {
        auto descriptor = std::make_unique<SecurityDescriptor>(PSECURITY_DESCRIPTOR{nullptr});
        SecurityAttributesRegistry::instance().add(HashedText(name), std::move(descriptor));
        map[name] = SECURITY_ATTRIBUTES{};
        EXPECT_NE(findSecurityAttributes(name), nullptr);
    }
    const std::vector<std::string> keys(names.begin(), names.end());
    // Steps by a prime, so that every name is used, and never two neighbours in a row.
    const auto next = [](size_t& number) { return number = (number + 7919) % nameCount; };
    size_t ours = 0;
    size_t peers = 0;
    benchmark::compare(
        {"findSecurityAttributes, 10,000 names", "lock, unordered_map::find", 1.5},
        [&] { return findSecurityAttributes(names[next(ours)]); },
        [&] {
            const MutexLock lock(mutex);
            return &map.find(keys[next(peers)])->second;
        });
}

}  // namespace
