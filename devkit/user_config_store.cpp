#include "devkit/user_config_store.h"

#include "devkit/descriptor.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace ruvo::devkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDevicePath = "/mnt/configs/user_config.json";
constexpr mode_t kNewFileMode = 0644;
constexpr int kIndent = 4;

[[noreturn]] void fail(const fs::path& path, const std::string& step) {
    throw StoreError(path.string() + ": " + step + ": " + std::strerror(errno));
}

std::string chosen_path(const std::optional<std::string>& path_option) {
    if (path_option) return *path_option;
    const char* const environment = std::getenv("RUVO_USER_CONFIG");
    if (environment != nullptr && *environment != '\0') return environment;
    return kDevicePath;
}

fs::path with_suffix(const fs::path& path, const char* suffix) { return path.string() + suffix; }

std::string read_all(int fd, const fs::path& path) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n == 0) return text;
        if (n > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(n));
        } else if (errno != EINTR) {
            fail(path, "read");
        }
    }
}

void write_all(int fd, std::string_view text, const fs::path& path) {
    while (!text.empty()) {
        const ssize_t n = ::write(fd, text.data(), text.size());
        if (n >= 0) {
            text.remove_prefix(static_cast<std::size_t>(n));
        } else if (errno != EINTR) {
            fail(path, "write");
        }
    }
}

void sync_folder(const fs::path& folder) {
    const Descriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) fail(folder, "open");
    if (::fsync(fd.get()) != 0) fail(folder, "fsync");
}

// Makes missing folders, outermost first, each entry on the disk before the next.
void make_folders(const fs::path& folder) {
    std::error_code ignored;
    if (folder.empty() || fs::is_directory(folder, ignored)) return;
    make_folders(folder.parent_path());
    if (::mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) fail(folder, "mkdir");
    sync_folder(folder.parent_path());
}

Descriptor lock_beside(const fs::path& store) {
    const fs::path path = with_suffix(store, ".lock");
    Descriptor fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kNewFileMode));
    if (!fd.valid()) fail(path, "open");
    while (::flock(fd.get(), LOCK_EX) != 0) {
        if (errno != EINTR) fail(path, "flock");
    }
    return fd;
}

// The new file gets the permissions of the one that it replaces.
void keep_mode(int fd, const fs::path& store) {
    struct stat old {};
    if (::stat(store.c_str(), &old) == 0 && ::fchmod(fd, old.st_mode & 07777) != 0) {
        fail(store, "fchmod");
    }
}

// Called under the lock, which is why one fixed temporary name will do: what a
// crash left behind is simply written over.
void replace_file(const fs::path& store, const std::string& text) {
    const fs::path temporary = with_suffix(store, ".tmp");
    const Descriptor fd(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode));
    if (!fd.valid()) fail(temporary, "open");
    keep_mode(fd.get(), store);
    write_all(fd.get(), text, temporary);
    if (::fsync(fd.get()) != 0) fail(temporary, "fsync");
    if (::rename(temporary.c_str(), store.c_str()) != 0) fail(store, "rename");
    sync_folder(store.parent_path());
}

ConfigTree parse_tree(const std::string& text, const fs::path& path) {
    if (text.empty()) return ConfigTree::object();
    ConfigTree tree = ConfigTree::parse(text, nullptr, /*allow_exceptions=*/false);
    if (tree.is_discarded()) throw StoreError(path.string() + ": not a JSON document");
    if (!tree.is_object()) throw StoreError(path.string() + ": not a JSON object");
    return tree;
}

void set_value(ConfigTree& tree, const ConfigKey& key, const ConfigTree& value,
               const fs::path& path) {
    ConfigTree* node = &tree;
    bool is_new = false;
    for (const std::string& component : key) {
        if (!node->is_object()) {
            throw StoreError(path.string() + ": the value above '" + component +
                             "' is not an object");
        }
        is_new = !node->contains(component);
        node = &(*node)[component];
        if (is_new) *node = ConfigTree::object();
    }
    // A value in the place of a section would take everything below it away.
    if (!is_new && node->is_object()) {
        throw StoreError(path.string() + ": '" + key.back() + "' holds an object");
    }
    *node = value;
}

}  // namespace

bool is_utf8(std::string_view text) {
    try {
        (void)ConfigTree(text).dump();
        return true;
    } catch (const ConfigTree::type_error&) {
        return false;
    }
}

std::optional<ConfigKey> split_config_key(std::string_view dotted_key) {
    if (!is_utf8(dotted_key)) return std::nullopt;
    ConfigKey key;
    for (;;) {
        const auto dot = dotted_key.find('.');
        const std::string_view component = dotted_key.substr(0, dot);
        if (component.empty()) return std::nullopt;
        key.emplace_back(component);
        if (dot == std::string_view::npos) return key;
        dotted_key.remove_prefix(dot + 1);
    }
}

const ConfigTree* find_config_value(const ConfigTree& tree, const ConfigKey& key) {
    const ConfigTree* node = &tree;
    for (const std::string& component : key) {
        if (!node->is_object()) return nullptr;
        const auto member = node->find(component);
        if (member == node->end()) return nullptr;
        node = &*member;
    }
    return node;
}

// A link is followed here, once, so that an update replaces the file behind it.
UserConfigStore::UserConfigStore(const std::optional<std::string>& path_option)
    : path_(fs::weakly_canonical(fs::absolute(chosen_path(path_option)))) {}

ConfigTree UserConfigStore::read() const {
    const Descriptor fd(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) {
        if (errno == ENOENT) return ConfigTree::object();
        fail(path_, "open");
    }
    return parse_tree(read_all(fd.get(), path_), path_);
}

void UserConfigStore::update(const ConfigKey& key, const ConfigTree& value) const {
    make_folders(path_.parent_path());
    const Descriptor lock = lock_beside(path_);
    ConfigTree tree = read();
    set_value(tree, key, value, path_);
    replace_file(path_, tree.dump(kIndent) + "\n");
}

}  // namespace ruvo::devkit
