#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "testing/posixprovider/posixprovider.h"
#include "util/windows/cygwinconnector.h"

namespace {

/// The runtime of the tests, beside this program, with what is used of its controls.
class Runtime {
public:
    Runtime()
        : mLibrary(LoadLibraryW(L"posixprovider.dll")),
          setMounts(call<decltype(posixprovider_set_mounts)>("posixprovider_set_mounts")),
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
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(mLibrary, name)));
    }

    HMODULE mLibrary;

public:
    decltype(posixprovider_set_mounts)* setMounts;

private:
    decltype(posixprovider_drop_embedding)* mDrop;
    void* mEmbedding;

public:
    vrpsx::raw::embedding* embedding;
};

benchmark::Row wrapperRow(const char* operation) {
    benchmark::Row row = {operation, "the entry of the table", 1.0};
    row.allowance = 5;
    return row;
}

TEST_CASE("calls through the classes of the POSIX embedding") {
    const Runtime runtime;
    const vrpsx::embedding embedding(runtime.embedding);
    vrpsx::raw::system* const raw = &runtime.embedding->system;
    benchmark::compare(
        wrapperRow("vrpsx::system::getpid"), [&] { return embedding.getpid(); },
        [&] { return raw->table->getpid(raw); });
    const vrpsx::raw::pid own = embedding.getpid();
    benchmark::compare(
        wrapperRow("vrpsx::system::getpgid"),
        [&] {
            vrpsx::raw::pid group = 0;
            embedding.getpgid(own, group, std::nothrow);
            return group;
        },
        [&] {
            vrpsx::raw::pid group = 0;
            raw->table->getpgid(raw, own, &group);
            return group;
        });
    const vrpsx::mutex mutex = embedding.mutex_create();
    benchmark::compare(
        wrapperRow("vrpsx::mutex::lock"),
        [&] {
            mutex.lock();
            mutex.raw()->table->unlock(mutex.raw());
        },
        [&] {
            mutex.raw()->table->lock(mutex.raw());
            mutex.raw()->table->unlock(mutex.raw());
        });
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

std::string tableOf(const std::vector<SampleMount>& mounts) {
    std::string text;
    for (const SampleMount& mount : mounts) {
        text.append(mount.device).append("\t").append(mount.root).append("\t").append(mount.type);
        for (const std::string& option : mount.options) {
            text.append("\t").append(option);
        }
        text.append("\n");
    }
    return text;
}

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

TEST_CASE("connector::get_mounts") {
    const Runtime runtime;
    const cygwin::connector connector{vrpsx::embedding(runtime.embedding)};
    const auto read = [&] {
        cygwin::mount_map mounts;
        connector.get_mounts(mounts);
        return mounts.size();
    };
    const std::vector<SampleMount> mounts = sampleMounts(1000);
    const std::string table = tableOf(mounts);
    const std::string tenth = tableOf(sampleMounts(100));

    runtime.setMounts(table.c_str());
    benchmark::compare(
        {"connector::get_mounts, 1,000 of 5 options", "the same map of strings", 3.0}, read,
        [&] { return mapOf(mounts).size(); });
    const auto readOf = [&](const std::string& text) {
        return [&runtime, &read, &text] {
            runtime.setMounts(text.c_str());
            return read();
        };
    };
    // Ten times as many take ten times as long, and what the larger map costs.
    benchmark::compare({"connector::get_mounts, 1,000 and their setting", "of 100", 13.0},
                       readOf(table), readOf(tenth));
}

}  // namespace
