#include "platform/token_text.h"

#include "platform/json_token.h"

#include <cstddef>
#include <cstdio>
#include <memory>

namespace ruvo {
namespace {

struct PutToken {
    void operator()(json_token* token) const {
        (void)json_token_ref_put(token);  // how many references are left is nobody's concern
    }
};

using UniqueToken = std::unique_ptr<json_token, PutToken>;

// "%f" of the greatest double has 309 digits, a point and six decimals.
constexpr std::size_t kDoubleTextBytes = 320;

std::string six_decimals(double value) {
    char text[kDoubleTextBytes];
    std::snprintf(text, sizeof text, "%f", value);
    return text;
}

// The value is read again from the tree: a token tells its type only.
std::string text_of_type(int type, json_token* tree, const char* key) {
    switch (type) {
        case kJsonTokenBoolean:
            return std::to_string(json_token_object_walk_get_boolean(tree, key, -1));
        case kJsonTokenDouble:
            return six_decimals(json_token_object_walk_get_double(tree, key, 0));
        case kJsonTokenInteger:
            return std::to_string(json_token_object_walk_get_int(tree, key, 0));
        case kJsonTokenString: {
            const char* const text = json_token_object_walk_get_string(tree, key, "");
            return text == nullptr ? "" : text;
        }
        default:
            return {};
    }
}

}  // namespace

std::string token_text(const std::string& query, const std::string& key) {
    const UniqueToken tree(user_config_query_to_json_token(query.c_str()));
    if (!tree) return {};
    // Declared after the tree, so released before it.
    const UniqueToken token(json_token_object_walk_get_token(tree.get(), key.c_str()));
    if (!token) return {};
    return text_of_type(json_token_type(token.get()), tree.get(), key.c_str());
}

}  // namespace ruvo
