#include "testing/providers/registeredprovider-win.h"

#include <cstdio>
#include <stdexcept>

#include "testing/processes/childprocess-win.h"
#include "testing/utf8path.h"
#include "tools/ccdrives/providersetup-win.h"

namespace testing_support {
namespace {

void install(const std::string& library) {
    ccdrives::apply(changesToInstall(ccdrives::readProviderEntries(), library));
}

}  // namespace

void removeProvider() { ccdrives::apply(changesToRemove(ccdrives::readProviderEntries())); }

RegisteredProvider::RegisteredProvider(const std::filesystem::path& library) {
    try {
        mBefore = ccdrives::readProviderEntries();
        ccdrives::requireAdministrator();
        const std::filesystem::path beside = testProgramFolder() / "ccdrives_provider.dll";
        std::filesystem::path named = library.empty() ? beside : library;
        install(utf8(named.make_preferred()));
    } catch (const std::runtime_error& error) {
        mProblem = std::string("no network provider can be registered here: ") + error.what();
    }
}

RegisteredProvider::~RegisteredProvider() {
    if (!mProblem.empty()) {
        return;
    }
    try {
        if (mBefore.library) {
            install(*mBefore.library);
        } else {
            removeProvider();
        }
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "the network provider stays as the test left it: %s\n", error.what());
    }
}

}  // namespace testing_support
