#include "testing/calls/replacedcall-win.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace testing_support {
namespace {

/// Makes the page of one import entry writable while the object exists.
class WritableEntry {
public:
    explicit WritableEntry(ULONGLONG* entry) : mEntry(entry) {
        if (!VirtualProtect(mEntry, sizeof *mEntry, PAGE_READWRITE, &mProtection)) {
            std::abort();  // a scope can't end with half of its imports replaced
        }
    }
    ~WritableEntry() { VirtualProtect(mEntry, sizeof *mEntry, mProtection, &mProtection); }
    WritableEntry(const WritableEntry&) = delete;
    WritableEntry& operator=(const WritableEntry&) = delete;

private:
    ULONGLONG* mEntry;
    DWORD mProtection = 0;
};

/// Calls `visit(name, entry)` for each function that `module` imports by name.
template <class Visitor>
void visitImports(HMODULE module, Visitor visit) {
    auto* base = reinterpret_cast<unsigned char*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.Size == 0) {
        return;
    }
    const auto* library =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; library->Name != 0; ++library) {
        const auto* name =
            reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
        auto* entry = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++entry) {
            if (IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) {
                continue;
            }
            const auto* byName =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            visit(reinterpret_cast<const char*>(byName->Name), &entry->u1.Function);
        }
    }
}

}  // namespace

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement)
    : mModule(module != nullptr ? module : GetModuleHandleW(nullptr)),
      mFunction(function),
      mReplacement(replacement),
      mOriginal(nullptr) {
    visitImports(mModule, [this](std::string_view name, const ULONGLONG* entry) {
        if (name == mFunction) {
            mOriginal = *reinterpret_cast<void* const*>(entry);
        }
    });
    if (mOriginal == nullptr) {
        throw std::logic_error(std::string("the module doesn't import ") + function);
    }
    exchange(mOriginal, mReplacement);
}

ImportPatch::~ImportPatch() { exchange(mReplacement, mOriginal); }

void ImportPatch::exchange(void* from, void* to) const noexcept {
    visitImports(mModule, [this, from, to](std::string_view name, ULONGLONG* entry) {
        if (name == mFunction && *entry == reinterpret_cast<uintptr_t>(from)) {
            const WritableEntry writable(entry);
            *entry = reinterpret_cast<uintptr_t>(to);
        }
    });
}

}  // namespace testing_support
