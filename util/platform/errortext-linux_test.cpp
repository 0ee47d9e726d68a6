#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "util/errortext.h"

namespace {

/// Sets errno, calls errorText, and checks that errno is unchanged.
std::string textWithErrno(int systemError, bool withCode, const uint32_t* error, WhichError which) {
    errno = systemError;
    std::string text = errorText(withCode, error, which);
    EXPECT_EQ(errno, systemError);
    return text;
}

TEST(NativeErrorTextTest, ANullErrorMeansErrno) {
    EXPECT_EQ(textWithErrno(ENOENT, /*withCode=*/false, nullptr, errorOfEither),
              std::strerror(ENOENT));
    EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/false, nullptr, errorOfEither),
              std::strerror(EACCES));
}

TEST(NativeErrorTextTest, AnErrorHasTheMessageOfTheCLibraryWhateverErrnoIs) {
    for (const uint32_t error : {uint32_t{ENOENT}, uint32_t{EINVAL}, uint32_t{0}}) {
        const std::string words = std::strerror(static_cast<int>(error));
        EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/false, &error, errorOfEither), words);
        EXPECT_EQ(textWithErrno(0, /*withCode=*/false, &error, errorOfEither), words);
    }
}

TEST(NativeErrorTextTest, OnDemandTheNumberFollowsInDecimal) {
    const uint32_t error = ENOENT;
    const std::string text = std::string(std::strerror(ENOENT)) + " (error code 2)";
    EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/true, &error, errorOfEither), text);
    EXPECT_EQ(textWithErrno(ENOENT, /*withCode=*/true, nullptr, errorOfEither), text);
}

TEST(NativeErrorTextTest, ANumberThatTheCLibraryDoesNotKnowHasAMessageAsWell) {
    for (const uint32_t error : {0xffffffffU, 0x80000000U, 100000U}) {
        const std::string words = std::strerror(static_cast<int>(error));
        EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/false, &error, errorOfEither), words);
        EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/true, &error, errorOfEither),
                  words + " (error code " + std::to_string(error) + ")");
    }
    const uint32_t largest = 0xffffffff;
    EXPECT_TRUE(textWithErrno(0, /*withCode=*/true, &largest, errorOfEither)
                    .ends_with(" (error code 4294967295)"));
}

TEST(NativeErrorTextTest, WhereTheNumberComesFromMakesNoDifference) {
    const uint32_t error = ENOENT;
    for (const WhichError which : {0, 1, 2, 3, -1}) {
        EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/false, &error, which), std::strerror(ENOENT));
        EXPECT_EQ(textWithErrno(EACCES, /*withCode=*/false, nullptr, which), std::strerror(EACCES));
    }
}

}  // namespace
