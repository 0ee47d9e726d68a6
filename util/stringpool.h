#pragma once

#include <memory>

#include "util/hashtable.h"
#include "util/mutex-pthreads.h"
#include "util/textspan.h"

/// Texts of which each is kept once, so that equal texts have one address: a pooled text can go
/// through interfaces as a plain `const char*`, and be told from others by its address.
///
/// Any thread may call. std::bad_alloc may be thrown, and has no effect otherwise.
class StringPool {
public:
    /// The pool of the process, made at the first call and kept to the end of the process.
    static StringPool& instance();

    StringPool();
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;

    /// The pooled text, with a NUL behind it; good as long as the pool is there.
    const char* intern(const HashedText& text);

    /// The pooled empty text, which is there from the start.
    const char* empty() const { return mEmpty; }

private:
    /// The same under the lock.
    const char* findOrAdd(const HashedText& text);

    Mutex mMutex;
    HashTable<std::unique_ptr<char[]>> mTexts;
    const char* mEmpty;
};

/// The text as the pool of the process has it; good to the end of the process. Null counts as the
/// empty text. Any thread may call. Throws std::bad_alloc.
const char* internString(const char* text);
