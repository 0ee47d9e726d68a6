#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "testing/providers/posixprovider/posixprovider.h"
#include "util/windows/cygwinconnector.h"
#include "util/windows/libraryfunction-win.h"

namespace {

/// The runtime of the tests, from the folder of this program.
class Runtime {
public:
    Runtime()
        : mLibrary(LoadLibraryW(L"posixprovider.dll")),
          mDrop(call<decltype(posixprovider_drop_embedding)>("posixprovider_drop_embedding")),
          mEmbedding(call<decltype(posixprovider_make_embedding)>("posixprovider_make_embedding")(
              "1.7.35")),
          embedding(static_cast<vrpsx::raw::embedding*>(mEmbedding)) {}
    ~Runtime() {
        mDrop(mEmbedding);
        FreeLibrary(mLibrary);
    }
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

private:
    template <class Function>
    Function* call(const char* name) const {
        return findFunction<Function>(mLibrary, name);
    }

    HMODULE mLibrary;
    decltype(posixprovider_drop_embedding)* mDrop;
    void* mEmbedding;

public:
    vrpsx::raw::embedding* embedding;
};

/// For its scope, gives the runtime's system another table, at first a copy of the original.
class Patch {
public:
    explicit Patch(const Runtime& runtime)
        : table(*runtime.embedding->system.table),
          mSystem(runtime.embedding->system),
          mOriginal(mSystem.table) {
        mSystem.table = &table;
    }
    ~Patch() { mSystem.table = mOriginal; }
    Patch(const Patch&) = delete;
    Patch& operator=(const Patch&) = delete;

    vrpsx::raw::system_table table;

private:
    vrpsx::raw::system& mSystem;
    const vrpsx::raw::system_table* mOriginal;
};

/// For a thousand calls, each of which may take five nanoseconds more than the entry itself.
constexpr int callCount = 1000;

benchmark::Row wrapperRow(const char* operation) {
    benchmark::Row row = {operation, "the entry of the table", 1.0};
    row.allowance = 5.0 * callCount;
    return row;
}

template <class Call>
auto thousand(Call call) {
    return [call] {
        int64_t sum = 0;
        for (int i = 0; i < callCount; ++i) {
            sum += call();
        }
        return sum;
    };
}

TEST(Benchmark, PosixEmbeddingCalls) {
    const Runtime runtime;
    // Entries that do nothing, so that the cost of the classes stands out.
    Patch patch(runtime);
    patch.table.getpid = [](vrpsx::raw::system*) -> vrpsx::raw::pid { return 1; };
    patch.table.kill = [](vrpsx::raw::system*, vrpsx::raw::pid, int) { return 0; };
    const vrpsx::embedding embedding(runtime.embedding);
    vrpsx::raw::system* const raw = &runtime.embedding->system;
    benchmark::compare(wrapperRow("vrpsx::system::getpid, 1,000 calls"),
                       thousand([&] { return embedding.getpid(); }),
                       thousand([=] { return raw->table->getpid(raw); }));
    benchmark::compare(wrapperRow("vrpsx::system::kill, 1,000 calls"), thousand([&] {
                           embedding.kill(1, 2);
                           return 0;
                       }),
                       thousand([=] { return raw->table->kill(raw, 1, 2); }));

    vrpsx::raw::mutex_table locks = {};
    locks.lock = [](vrpsx::raw::mutex*) { return 0; };
    locks.disown = [](vrpsx::raw::mutex*, vrpsx::raw::mutex**, vrpsx::raw::system**) { return 0; };
    vrpsx::raw::mutex rawMutex = {&locks};
    const vrpsx::mutex mutex(&rawMutex);
    // Unchecked: nothing is locked.
    benchmark::compare(wrapperRow("vrpsx::mutex::lock, 1,000 calls"),
                       thousand([&]() NB_NO_THREAD_SAFETY_ANALYSIS {
                           mutex.lock();
                           return 0;
                       }),
                       thousand([&] { return rawMutex.table->lock(&rawMutex); }));
}

struct SampleMount {
    std::string device, root, type;
    std::vector<std::string> options;
};

std::vector<SampleMount> sampleMounts(int count) {
    std::vector<SampleMount> mounts;
    mounts.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i * 7919 % count);
        mounts.push_back({"C:/cygwin64/home/user" + number,
                          "/home/mounted/user" + number,
                          "ntfs",
                          {"binary", "noacl", "posix=0", "user", "auto"}});
    }
    return mounts;
}

/// For its scope, replaces the runtime's mounts by the given ones. Their entries do nothing but
/// return the texts, and the list can be read repeatedly.
class MountList {
public:
    MountList(const Runtime& runtime, const std::vector<SampleMount>& mounts) : mPatch(runtime) {
        mPatch.table.get_mounts = &getMounts;
        mMountTable.next = &nextMount;
        mMountTable.device = &tell<&SampleMount::device>;
        mMountTable.root = &tell<&SampleMount::root>;
        mMountTable.type = &tell<&SampleMount::type>;
        mMountTable.options = &options;
        mOptionTable.next = &nextOption;
        mOptionTable.text = &giveOption;
        mMounts.resize(mounts.size());
        for (size_t i = 0; i < mounts.size(); ++i) {
            mMounts[i] = {{&mMountTable},
                          &mounts[i],
                          i + 1 < mounts.size() ? &mMounts[i + 1] : nullptr,
                          {{&mOptionTable}, &mounts[i], 0}};
        }
        sFirst = mMounts.data();
    }

private:
    struct Option {
        vrpsx::raw::mount_option raw;
        const SampleMount* mount;
        size_t index;
    };
    struct Mount {
        vrpsx::raw::mount raw;
        const SampleMount* mount;
        Mount* next;
        Option option;
    };

    static Mount* whole(vrpsx::raw::mount* raw) { return reinterpret_cast<Mount*>(raw); }
    static Option* whole(vrpsx::raw::mount_option* raw) { return reinterpret_cast<Option*>(raw); }

    static int getMounts(vrpsx::raw::system*, vrpsx::raw::mount** result) {
        *result = &sFirst->raw;
        return 0;
    }
    static int nextMount(vrpsx::raw::mount* self, vrpsx::raw::mount**,
                         vrpsx::raw::mount** nextHolder, vrpsx::raw::system**) {
        Mount* const next = whole(self)->next;
        *nextHolder = next == nullptr ? nullptr : &next->raw;
        return 0;
    }
    static int put(const std::string& text, vrpsx::raw::text* result) {
        *result = {text.data(), text.size()};
        return 0;
    }
    template <std::string SampleMount::*field>
    static int tell(vrpsx::raw::mount* self, vrpsx::raw::text* result) {
        return put(whole(self)->mount->*field, result);
    }
    static int options(vrpsx::raw::mount* self, vrpsx::raw::mount_option** result) {
        whole(self)->option.index = 0;
        *result = &whole(self)->option.raw;
        return 0;
    }
    static int nextOption(vrpsx::raw::mount_option* self, vrpsx::raw::mount_option**,
                          vrpsx::raw::mount_option** nextHolder, vrpsx::raw::system**) {
        Option* const option = whole(self);
        *nextHolder = ++option->index < option->mount->options.size() ? self : nullptr;
        return 0;
    }
    static int giveOption(vrpsx::raw::mount_option* self, vrpsx::raw::text* result) {
        return put(whole(self)->mount->options[whole(self)->index], result);
    }

    static inline Mount* sFirst = nullptr;
    Patch mPatch;
    vrpsx::raw::mount_table mMountTable = {};
    vrpsx::raw::mount_option_table mOptionTable = {};
    std::vector<Mount> mMounts;
};

cygwin::mount_map mapOf(const std::vector<SampleMount>& mounts) {
    cygwin::mount_map map;
    for (const SampleMount& mount : mounts) {
        cygwin::mount_info& info = map[mount.root];
        info.device = mount.device;
        info.type = mount.type;
        for (const std::string& option : mount.options) {
            if (!info.options.empty()) {
                info.options.append(",");
            }
            info.options.append(option);
        }
    }
    return map;
}

TEST(Benchmark, ConnectorMounts) {
    const Runtime runtime;
    const std::vector<SampleMount> mounts = sampleMounts(1000);
    const auto read = [](const cygwin::connector& from) {
        cygwin::mount_map map;
        from.get_mounts(map);
        return map.size();
    };
    const MountList list(runtime, mounts);
    const cygwin::connector reader{vrpsx::embedding(runtime.embedding)};
    benchmark::compare(
        {"connector::get_mounts, 1,000 of 5 options", "the same map of strings", 3.0},
        [&] { return read(reader); }, [&] { return mapOf(mounts).size(); });
}

TEST(Benchmark, ConnectorMountsGrowing) {
    const Runtime runtime;
    const std::vector<SampleMount> many = sampleMounts(10'000);
    const std::vector<SampleMount> few = sampleMounts(1000);
    const auto readTimes = [&runtime](const std::vector<SampleMount>& mounts, int times) {
        const MountList list(runtime, mounts);
        const cygwin::connector reader{vrpsx::embedding(runtime.embedding)};
        cygwin::mount_map map;
        for (int i = 0; i < times; ++i) {
            reader.get_mounts(map);
        }
        return map.size();
    };
    // The extra time is spent on the larger map.
    benchmark::compare(
        {"connector::get_mounts, once 10,000", "ten times 1,000", 1.6},
        [&] { return readTimes(many, 1); }, [&] { return readTimes(few, 10); });
}

}  // namespace
