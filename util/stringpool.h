#pragma once

#include <memory>

#include "util/hashtable.h"
#include "util/mutex-pthreads.h"
#include "util/textspan.h"
#include "util/threadannotations.h"

/// Stores each text once, so that equal texts have the same address. A pooled text can be passed
/// through interfaces as a plain `const char*`, and texts can be compared by their addresses.
///
/// Any thread may call the functions. They may throw std::bad_alloc, which leaves the pool
/// unchanged.
class StringPool {
public:
    /// Returns the pool of the process, which is created by the first call and lives until the
    /// process ends.
    [[nodiscard]] static StringPool& instance();

    StringPool();
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;

    /// Returns the pooled text, with a terminator. It is valid as long as the pool exists.
    [[nodiscard]] const char* intern(const HashedText& text) NB_EXCLUDES(mMutex);

    /// Returns the pooled empty text, which exists from the start.
    [[nodiscard]] const char* empty() const { return mEmpty; }

private:
    const char* findOrAdd(const HashedText& text) NB_REQUIRES(mMutex);

    Mutex mMutex;
    HashTable<std::unique_ptr<char[]>> mTexts NB_GUARDED_BY(mMutex);
    const char* mEmpty;
};

/// Returns the text from the pool of the process, valid until the process ends. Null counts as the
/// empty text. Any thread may call this function. Throws std::bad_alloc.
[[nodiscard]] const char* internString(const char* text);
