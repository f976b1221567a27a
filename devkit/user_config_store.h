#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::devkit {

// Members keep the order in which the file has them.
using ConfigTree = nlohmann::ordered_json;
using ConfigKey = std::vector<std::string>;

// The store cannot be read, understood or written; the text says why.
class StoreError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Whether JSON can hold the text.
bool is_utf8(std::string_view text);

// "a.b.c" as its components; nothing when the key or one of them is empty, or
// when it is not UTF-8.
std::optional<ConfigKey> split_config_key(std::string_view dotted_key);

// The value at the key, or nullptr. Points into the tree.
const ConfigTree* find_config_value(const ConfigTree& tree, const ConfigKey& key);

// The user configuration in one JSON file: an object, with one object below it
// per component of a dotted key. Any number of processes may read and update it
// at the same time: a reader sees the file before or after an update, never
// between, and a crash leaves one of the two.
class UserConfigStore {
  public:
    // The path from the option if given, else from RUVO_USER_CONFIG, else the
    // device's own.
    explicit UserConfigStore(const std::optional<std::string>& path_option);

    const std::filesystem::path& path() const { return path_; }

    // The whole tree; an empty object when there is no file or an empty one.
    // Throws StoreError.
    ConfigTree read() const;

    // Sets one value and keeps all others. Folders and the file are made where
    // missing. Throws StoreError, with the file as it was, when the file cannot
    // be parsed or the key leads through a value that is no object.
    void update(const ConfigKey& key, const ConfigTree& value) const;

  private:
    std::filesystem::path path_;
};

}  // namespace ruvo::devkit
