#pragma once

#include <windows.h>

namespace testing_support {

/// Points the imports of `function` by one module at `replacement`, and back when the scope ends.
///
/// Works on the test program (null `module`) and on a loaded DLL, for whatever that module calls
/// by name through its import table. Out of reach are functions that the module imports by number,
/// looks up with GetProcAddress or has linked in, and what other modules call. Throws
/// std::logic_error if the module imports no such function, so that no test passes by accident.
///
/// Made and ended while no other thread calls the function; in between any thread may, if the
/// replacement bears it. Several replacements of one function end in the reverse order of their
/// making. `function` must outlive the object.
///
/// The compiler takes import entries for constants: a call in the same function body as the patch
/// may go by an entry read before it, so the call to be replaced stands in a function of another
/// file, or in one that isn't inlined.
class ImportPatch {
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

/// The same with the function's own type: a replacement of another shape doesn't compile.
///
///     ReplacedCall<decltype(DeleteFileW)> refused("DeleteFileW", [](LPCWSTR) -> BOOL {
///         SetLastError(ERROR_ACCESS_DENIED);
///         return FALSE;
///     });
template <class Signature>
class ReplacedCall {
public:
    ReplacedCall(const char* function, Signature* replacement, HMODULE module = nullptr)
        : mPatch(module, function, reinterpret_cast<void*>(replacement)) {}

    /// The system's function.
    Signature* original() const { return reinterpret_cast<Signature*>(mPatch.original()); }

private:
    ImportPatch mPatch;
};

}  // namespace testing_support
