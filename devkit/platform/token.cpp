#include "devkit/platform/token.h"

#include <utility>

namespace ruvo::devkit {
namespace {

json_token* new_reference(std::shared_ptr<const ConfigTree> value) {
    return std::make_unique<json_token>(json_token{std::move(value)}).release();
}

const ConfigTree* find_any_value(const json_token* tree, const char* dotted_key) {
    if (tree == nullptr || dotted_key == nullptr) return nullptr;
    const auto key = split_config_key(dotted_key);
    return key ? find_config_value(*tree->value, *key) : nullptr;
}

}  // namespace

json_token* new_tree(ConfigTree tree) {
    return new_reference(std::make_shared<const ConfigTree>(std::move(tree)));
}

json_token* new_token(const json_token* tree, const char* dotted_key) {
    const ConfigTree* const found = find_any_value(tree, dotted_key);
    if (found == nullptr) return nullptr;
    return new_reference(std::shared_ptr<const ConfigTree>(tree->value, found));
}

const ConfigTree* find_value(const json_token* tree, const char* dotted_key, ConfigType type) {
    const ConfigTree* const found = find_any_value(tree, dotted_key);
    return found != nullptr && config_type(*found) == type ? found : nullptr;
}

int release_token(json_token* token) {
    if (token == nullptr) return 0;
    const std::unique_ptr<json_token> released(token);
    return static_cast<int>(released->value.use_count()) - 1;
}

}  // namespace ruvo::devkit
