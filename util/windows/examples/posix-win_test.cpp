// Examples of docs/utility.md: a POSIX runtime in the process.

#include <iostream>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "util/windows/cygwinconnector.h"

namespace {

/// A POSIX runtime with a mount.
class PosixExampleTest : public testing_support::UtilityExampleTest {
protected:
    PosixExampleTest() { mRuntime.setMounts("C:/one\t/one\tntfs\n"); }

    vrpsx::raw::embedding* givenEmbedding() const {
        return testing_support::rawEmbedding(mRuntime);
    }

private:
    testing_support::PosixProvider mRuntime{"1.7.35(0.287/5/3)"};
};

TEST_F(PosixExampleTest, UseAPosixRuntimeInTheProcess) {
    const cygwin::connector runtime{vrpsx::embedding(givenEmbedding())};
    std::cout << cygwin::version_text(runtime.version()) << '\n'
              << runtime.externalize_path("/one/a") << '\n'
              << runtime.internalize_path("C:\\one\\a") << '\n'
              << cygwin::invoked_from_cygwin() << '\n';
    cygwin::mount_map mounts;
    runtime.get_mounts(mounts);
    for (const auto& [folder, mount] : mounts) {
        std::cout << folder << ' ' << mount.type << '\n';
    }
}

}  // namespace
