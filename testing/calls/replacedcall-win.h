#pragma once

#include <windows.h>

namespace testing_support {

/// Points one module's imports of `function` to `replacement`, and restores them when the scope
/// ends.
///
/// Works on the test program (null `module`) and on a loaded DLL, for all functions that the module
/// calls by name through its import table. It doesn't reach functions that the module imports by
/// number, looks up with GetProcAddress or has linked in, nor calls of other modules. Throws
/// std::logic_error if the module doesn't import the function, so that no test passes by accident.
///
/// No other thread may call the function while the object is created or destroyed. In between, any
/// thread may, if the replacement supports it. Several replacements of one function must end in the
/// reverse order of their creation. `function` must outlive the object.
///
/// The compiler treats import entries as constants: a call in the same function body as the patch
/// may use an entry that was read before it. So the call to be replaced must be in a function of
/// another file, or in one that isn't inlined.
class [[nodiscard]] ImportPatch {
public:
    ImportPatch(HMODULE module, const char* function, void* replacement);
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    void* original() const { return mOriginal; }

private:
    void exchange(void* from, void* to) const noexcept;

    HMODULE mModule;
    const char* mFunction;
    void* mReplacement;
    void* mOriginal;
};

/// The same with the function's own type: a replacement with another signature doesn't compile.
///
///     ReplacedCall<decltype(DeleteFileW)> refused("DeleteFileW", [](LPCWSTR) -> BOOL {
///         SetLastError(ERROR_ACCESS_DENIED);
///         return FALSE;
///     });
template <class Signature>
class [[nodiscard]] ReplacedCall {
public:
    ReplacedCall(const char* function, Signature* replacement, HMODULE module = nullptr)
        : mPatch(module, function, reinterpret_cast<void*>(replacement)) {}

    /// Returns the system's function.
    Signature* original() const { return reinterpret_cast<Signature*>(mPatch.original()); }

private:
    ImportPatch mPatch;
};

}  // namespace testing_support
