#pragma once

#include "devkit/user_config_store.h"

namespace ruvo::devkit {

// What a query's object asks for out of a section: each of its members names one below,
// and an empty object means everything. What the section does not have, and what is
// asked for with anything but an object, is left out. A value that is no section is
// taken as it is.
ConfigTree select_config(ConfigTree section, const ConfigTree& query);

}  // namespace ruvo::devkit
