#pragma once

#include "devkit/user_config_store.h"

#include <string>

namespace ruvo::devkit {

// Every value of the tree on a line "TYPE KEY=VALUE", in the tree's order. A text is
// quoted as in JSON, and so is a part of a key that would be read as something else.
// What has no type to set is "other" and JSON: a null, an array, an object with nothing
// in it.
std::string config_list(const ConfigTree& tree);

}  // namespace ruvo::devkit
