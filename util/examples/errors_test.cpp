// Examples of docs/utility.md: errors, and rights as text.

#include <cstdint>
#include <iostream>
#include <vector>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/accessrights.h"
#include "util/assertion.h"
#include "util/errortext.h"
#include "util/numberedmessage.h"

namespace {

using RightsExampleTest = testing_support::UtilityExampleTest;
using ErrorExampleTest = testing_support::UtilityExampleTest;

TEST_F(RightsExampleTest, PrintRights) {
    writeAccessMask(std::cout, 0x130089, ObjectType::file, ObjectKind::plainFile);
    std::cout << '\n' << aceTypeName(0) << '\n';
    writeAceFlags(std::cout, 3);
    std::cout << '\n';
}

TEST_F(ErrorExampleTest, SayWhatAnErrorNumberMeans) {
    const uint32_t missing = 2;
    std::cout << "can't open a.txt: " << errorText(/*withCode=*/true, &missing, errorOfSystem)
              << '\n';
}

TEST_F(ErrorExampleTest, NumberYourMessages) {
    try {
        throw NumberedRuntimeError(42, "the list is empty");
    } catch (const NumberedRuntimeError& failure) {
        std::cout << MessagePrefix{/*mIsError=*/true, failure.code()} << failure.what() << '\n';
    }
}

TEST_F(ErrorExampleTest, AssertAnInvariant) {
    const std::vector<int> sizes = {1, 2, 3};
    NB_ASSERT(!sizes.empty());
    std::cout << sizes.back() << '\n';
}

}  // namespace
