#pragma once

#include "testing/providers/posixprovider-win.h"
#include "util/windows/vrpsxutilitycpp-win.h"

namespace testing_support {

inline vrpsx::raw::embedding* rawEmbedding(const PosixProvider& provider) {
    return static_cast<vrpsx::raw::embedding*>(provider.embedding());
}

/// Returns an embedding with its own reference.
inline vrpsx::embedding embeddingOf(const PosixProvider& provider) {
    return vrpsx::embedding(rawEmbedding(provider));
}

/// Until the scope ends, the provider's system uses `table`: a copy of its own table, which the
/// test may change.
class [[nodiscard]] PatchedSystem {
public:
    explicit PatchedSystem(const PosixProvider& provider)
        : original(rawEmbedding(provider)->system.table),
          table(*original),
          mSystem(rawEmbedding(provider)->system) {
        mSystem.table = &table;
    }
    ~PatchedSystem() { mSystem.table = original; }
    PatchedSystem(const PatchedSystem&) = delete;
    PatchedSystem& operator=(const PatchedSystem&) = delete;

    const vrpsx::raw::system_table* original;
    vrpsx::raw::system_table table;

private:
    vrpsx::raw::system& mSystem;
};

}  // namespace testing_support
