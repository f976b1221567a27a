#pragma once

#include "devkit/config_value.h"
#include "devkit/user_config_store.h"

#include <memory>

// A place in a tree that is shared by all tokens in it, so that they may be released in
// any order. Each token is one reference and belongs to whoever asked for it.
struct json_token {
    std::shared_ptr<const ruvo::devkit::ConfigTree> value;
};

namespace ruvo::devkit {

// A token for the whole of a tree. The caller owns it.
json_token* new_tree(ConfigTree tree);

// A token for what is at the dotted key; nullptr when nothing is there. The caller owns it.
json_token* new_token(const json_token* tree, const char* dotted_key);

// The value at the dotted key if it has this type, else nullptr. It lives as long as the
// tree. Null arguments find nothing.
const ConfigTree* find_value(const json_token* tree, const char* dotted_key, ConfigType type);

// Frees the token; returns how many others of the same tree there still are. With none
// left the tree is freed.
int release_token(json_token* token);

}  // namespace ruvo::devkit
