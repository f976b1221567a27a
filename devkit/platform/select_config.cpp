#include "devkit/platform/select_config.h"

#include <utility>

namespace ruvo::devkit {

// Sections are moved, not copied: however deep a store is, only the query's own depth
// takes stack.
ConfigTree select_config(ConfigTree section, const ConfigTree& query) {
    if (!section.is_object() || query.empty()) return section;
    ConfigTree selected = ConfigTree::object();
    for (const auto& [name, below] : query.items()) {
        const auto member = section.find(name);
        if (member == section.end() || !below.is_object()) continue;
        selected[name] = select_config(std::move(*member), below);
    }
    return selected;
}

}  // namespace ruvo::devkit
