#pragma once

// The device's user-configuration store and JSON token library, as far as the daemon
// uses them. The device's library defines these operations with C linkage; nothing
// here is the daemon's own. docs/porting.md says what each has to do.

extern "C" {

// A token, or a whole tree of them; only the library knows what is in it.
struct json_token;

// What json_token_type answers. Any other answer means a value that has no text.
enum json_token_type_code {
    kJsonTokenBoolean = 1,
    kJsonTokenDouble = 2,
    kJsonTokenInteger = 3,
    kJsonTokenString = 6,
};

// The answer to a query such as {"network":{}}: a tree that the caller releases;
// null when there is none.
json_token* user_config_query_to_json_token(const char* query);

// The token at a dotted path of a tree, with a reference that the caller releases;
// null when nothing is there.
json_token* json_token_object_walk_get_token(json_token* tree, const char* key);

int json_token_type(json_token* token);

// The value at a dotted path of a tree, or the default when there is none of this type.
// A text belongs to the tree and lives as long as it does.
int json_token_object_walk_get_boolean(json_token* tree, const char* key, int default_value);
double json_token_object_walk_get_double(json_token* tree, const char* key, double default_value);
int json_token_object_walk_get_int(json_token* tree, const char* key, int default_value);
const char* json_token_object_walk_get_string(json_token* tree, const char* key,
                                              const char* default_value);

// Gives a reference back; the result says nothing that the daemon needs.
int json_token_ref_put(json_token* token);

}  // extern "C"
