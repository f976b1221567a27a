// The operations that the daemon calls, over the file of the simulated userconfigtool.

#include "platform/json_token.h"

#include "devkit/config_value.h"
#include "devkit/platform/select_config.h"
#include "devkit/platform/token.h"
#include "devkit/user_config_store.h"

#include <string>

namespace {

using ruvo::devkit::config_int;
using ruvo::devkit::config_type;
using ruvo::devkit::ConfigTree;
using ruvo::devkit::ConfigType;
using ruvo::devkit::find_value;

static_assert(static_cast<int>(ConfigType::kBoolean) == kJsonTokenBoolean);
static_assert(static_cast<int>(ConfigType::kDouble) == kJsonTokenDouble);
static_assert(static_cast<int>(ConfigType::kInteger) == kJsonTokenInteger);
static_assert(static_cast<int>(ConfigType::kString) == kJsonTokenString);

// No exception passes to callers that know none: whatever goes wrong, memory that runs
// out included, gives the default.
template <typename Result, typename Operation>
Result or_default(Result default_value, Operation operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return default_value;
    }
}

json_token* answer_query(const char* query_text) {
    if (query_text == nullptr) return nullptr;
    const ConfigTree query =
        ConfigTree::parse(std::string(query_text), nullptr, /*allow_exceptions=*/false);
    if (!query.is_object()) return nullptr;
    const ruvo::devkit::UserConfigStore store(std::nullopt);
    return ruvo::devkit::new_tree(ruvo::devkit::select_config(store.read(), query));
}

}  // namespace

json_token* user_config_query_to_json_token(const char* query) {
    return or_default<json_token*>(nullptr, [&] { return answer_query(query); });
}

json_token* json_token_object_walk_get_token(json_token* tree, const char* key) {
    return or_default<json_token*>(nullptr, [&] { return ruvo::devkit::new_token(tree, key); });
}

int json_token_type(json_token* token) {
    return static_cast<int>(token == nullptr ? ConfigType::kNull : config_type(*token->value));
}

int json_token_object_walk_get_boolean(json_token* tree, const char* key, int default_value) {
    return or_default(default_value, [&]() -> int {
        const ConfigTree* const value = find_value(tree, key, ConfigType::kBoolean);
        return value == nullptr ? default_value : value->get<bool>();
    });
}

double json_token_object_walk_get_double(json_token* tree, const char* key, double default_value) {
    return or_default(default_value, [&] {
        const ConfigTree* const value = find_value(tree, key, ConfigType::kDouble);
        return value == nullptr ? default_value : value->get<double>();
    });
}

int json_token_object_walk_get_int(json_token* tree, const char* key, int default_value) {
    return or_default(default_value, [&] {
        const ConfigTree* const value = find_value(tree, key, ConfigType::kInteger);
        return value == nullptr ? default_value : config_int(*value).value_or(default_value);
    });
}

const char* json_token_object_walk_get_string(json_token* tree, const char* key,
                                              const char* default_value) {
    return or_default(default_value, [&] {
        const ConfigTree* const value = find_value(tree, key, ConfigType::kString);
        return value == nullptr ? default_value : value->get_ref<const std::string&>().c_str();
    });
}

int json_token_ref_put(json_token* token) { return ruvo::devkit::release_token(token); }
