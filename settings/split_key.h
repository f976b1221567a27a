#pragma once

#include "settings/event_definition.h"

#include <string_view>

namespace ruvo {

// Splits a settings key into event name, field and index and never fails. The
// first field word of the vocabulary whose first occurrence stands behind the
// key's beginning wins, wherever it stands and whatever follows.
EventDefinition split_key(std::string_view key, std::string_view value);

}  // namespace ruvo
