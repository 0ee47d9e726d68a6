#include "util/stringpool.h"

#include <cstddef>
#include <utility>

StringPool& StringPool::instance() {
    // Never destroyed: its texts may be used while the process ends.
    static StringPool& pool = *new StringPool;  // GCOVR_EXCL_BR_LINE: a second thread meanwhile
    return pool;
}

StringPool::StringPool() : mEmpty(findOrAdd(HashedText(""))) {}

const char* StringPool::intern(const HashedText& text) {
    const MutexLock lock(mMutex);
    return findOrAdd(text);
}

const char* StringPool::findOrAdd(const HashedText& text) {
    if (const std::unique_ptr<char[]>* const found = mTexts.find(text)) {
        return found->get();
    }
    const size_t length = text.text().length;
    auto copy = std::make_unique<char[]>(length + 1);
    text.text().view().copy(copy.get(), length);
    const HashedText key = text.of(copy.get());
    return mTexts.add(key, std::move(copy)).get();
}

const char* internString(const char* text) {
    return StringPool::instance().intern(HashedText(text));
}
