#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "util/assertion.h"
#include "util/windows/cygwinconnector.h"

namespace cygwin {

namespace {

/// The type of the entry that isn't a mount, but gives the folder of the drives.
constexpr const char* cygdrive_type = "cygdrive";

/// From this release on, devices are reported with slashes.
constexpr uint16_t slashes_since = 1007;

std::string text_of(vrpsx::string_buffer_allocator& buffers) {
    NB_ASSERT(buffers.text.has_value());
    return std::move(*buffers.text);
}

void append_options(const vrpsx::mount& mount, std::string& options) {
    for (vrpsx::mount_option option = mount.options(); !option.is_null(); option.next()) {
        const std::string text = option.text();
        if (!options.empty()) {
            options.append(",");
        }
        options.append(text);
    }
}

}  // namespace

std::string connector::convert(convert_path conversion, const std::string& path) const {
    vrpsx::string_buffer_allocator buffers;
    // The text stays in the allocator.
    const char* const text = (_embedding.*conversion)(path.c_str(), &buffers).take();
    return text == nullptr ? path : text_of(buffers);
}

std::string connector::internalize_path(const std::string& path) const {
    return convert(&vrpsx::embedding::internalize_path, path);
}

std::string connector::externalize_path(const std::string& path) const {
    return convert(&vrpsx::embedding::externalize_path, path);
}

std::string connector::internalize_execution_path(const std::string& path) const {
    return convert(&vrpsx::embedding::internalize_execution_path, path);
}

std::string connector::externalize_execution_path(const std::string& path) const {
    return convert(&vrpsx::embedding::externalize_execution_path, path);
}

std::string connector::readlink(const std::string& path) const {
    vrpsx::string_buffer_allocator buffers;
    // The text belongs to `buffers`.
    static_cast<void>(_embedding.readlink(path.c_str(), &buffers).take());
    return text_of(buffers);
}

void connector::symlink(const std::string& target, const std::string& path) const {
    _embedding.symlink(target.c_str(), path.c_str());
}

void connector::chdir(const std::string& path) const { _embedding.chdir(path.c_str()); }

void connector::get_mounts(mount_map& mounts) const {
    mounts.clear();
    for (vrpsx::mount mount = _embedding.get_mounts(); !mount.is_null(); mount.next()) {
        std::string type = mount.type();
        if (type == cygdrive_type) {
            continue;
        }
        std::string device = mount.device();
        mount_info& info = mounts[mount.root()];
        info.type = std::move(type);
        info.device = std::move(device);
        if (_version.release >= slashes_since) {
            std::replace(info.device.begin(), info.device.end(), '/', '\\');
        }
        append_options(mount, info.options);
    }
}

void connector::cygdrive(std::string& prefix) const {
    for (vrpsx::mount mount = _embedding.get_mounts(); !mount.is_null(); mount.next()) {
        if (mount.type() == cygdrive_type) {
            prefix = mount.root();
            return;
        }
    }
    throw vrpsx::system_exception_t("cygdrive missing", _embedding, _embedding.missing_entry());
}

}  // namespace cygwin
