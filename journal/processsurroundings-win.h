#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "journal/appendturn-win.h"
#include "journal/surroundings.h"
#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"
#include "util/windows/scopedhandle-win.h"

namespace journal {

/// The clocks of Windows, and a file that any number of threads and processes append to.
class ProcessSurroundings : public Surroundings {
public:
    /// `file` is an absolute path. It is opened by the first `append`, and by each one after a
    /// failure.
    explicit ProcessSurroundings(std::wstring file) : mName(std::move(file)) {}

    int64_t clock() override;
    uint32_t process() override;
    uint32_t thread() override;
    ErrorNumbers errors() override;
    void setErrors(const ErrorNumbers& errors) override;
    std::string append(std::string_view text) override NB_EXCLUDES(mLock);
    void complain(const std::string& problem) override;

private:
    [[nodiscard]] std::string open() NB_REQUIRES(mLock);
    [[nodiscard]] bool lacksLastLineFeed() const NB_REQUIRES(mLock);
    [[nodiscard]] std::string write(std::string_view text) NB_REQUIRES(mLock);
    void close() NB_REQUIRES(mLock);

    const std::wstring mName;
    Mutex mLock;
    ScopedHandle mFile NB_GUARDED_BY(mLock);
    std::optional<AppendTurn> mTurn NB_GUARDED_BY(mLock);
};

}  // namespace journal
