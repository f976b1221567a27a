#include "tests/support/stand_in_library.h"

#include "platform/json_token.h"

#include <algorithm>
#include <string>

// As little as the operations need to tell a tree from a token and a live one from a
// released one.
struct json_token {
    const char* name;
    int references;
};

namespace ruvo::test {
namespace {

StandInLibrary* g_library = nullptr;
json_token g_tree{"tree", 0};
json_token g_token{"token", 0};

void tell(const std::string& call) { g_library->calls.push_back(call); }

json_token* handed_out(json_token& token) {
    ++token.references;
    ++g_library->references;
    return &token;
}

void check(const json_token* token, const json_token& expected) {
    if (token == &expected && token->references > 0) return;
    tell(std::string("a call with no ") + expected.name);
}

void tell_getter(const char* name, const json_token* tree, const char* key,
                 const std::string& default_value = "") {
    check(tree, g_tree);
    tell(std::string(name) + " " + key + default_value);
}

// What a caller still holds of a released tree reads wrong, and no more than that.
void release_texts() {
    if (g_library->text) std::fill(g_library->text->begin(), g_library->text->end(), '#');
}

}  // namespace

StandInLibrary::StandInLibrary() {
    g_library = this;
    g_tree.references = 0;
    g_token.references = 0;
}

StandInLibrary::~StandInLibrary() { g_library = nullptr; }

}  // namespace ruvo::test

using namespace ruvo::test;

extern "C" {

json_token* user_config_query_to_json_token(const char* query) {
    if (g_library == nullptr) return nullptr;
    tell(std::string("query ") + query);
    return g_library->has_tree ? handed_out(g_tree) : nullptr;
}

json_token* json_token_object_walk_get_token(json_token* tree, const char* key) {
    check(tree, g_tree);
    tell(std::string("walk ") + key);
    return g_library->has_token ? handed_out(g_token) : nullptr;
}

int json_token_type(json_token* token) {
    check(token, g_token);
    tell("type");
    return g_library->type;
}

int json_token_object_walk_get_boolean(json_token* tree, const char* key, int default_value) {
    tell_getter("boolean", tree, key, " " + std::to_string(default_value));
    return g_library->boolean.value_or(default_value);
}

double json_token_object_walk_get_double(json_token* tree, const char* key, double default_value) {
    tell_getter("double", tree, key);
    return g_library->real.value_or(default_value);
}

int json_token_object_walk_get_int(json_token* tree, const char* key, int default_value) {
    tell_getter("int", tree, key, " " + std::to_string(default_value));
    return g_library->integer.value_or(default_value);
}

const char* json_token_object_walk_get_string(json_token* tree, const char* key,
                                              const char* default_value) {
    tell_getter("string", tree, key);
    if (g_library->text_is_null) return nullptr;
    return g_library->text ? g_library->text->c_str() : default_value;
}

int json_token_ref_put(json_token* token) {
    if (token == nullptr || token->references == 0) {
        tell("put of nothing");
        return 0;
    }
    tell(std::string("put ") + token->name);
    --token->references;
    --g_library->references;
    if (token == &g_tree && token->references == 0) release_texts();
    return 1;
}

}  // extern "C"
