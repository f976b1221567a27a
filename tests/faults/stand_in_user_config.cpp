// A device library in the place of the simulated one: its answers are the lines
// "KEY TYPE VALUE" of the file that RUVO_STAND_IN_ANSWERS names, read anew for each
// query (no file: no tree); each call is a line of the file of RUVO_STAND_IN_CALLS.
#include "platform/json_token.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

struct json_token {
    struct Answer {
        int type = 0;
        std::string value;
    };

    const char* name;
    int type = 0;
    std::map<std::string, Answer> answers{};
};

namespace {

void tell(const std::string& call) {
    std::ofstream(std::getenv("RUVO_STAND_IN_CALLS"), std::ios::app) << call << "\n" << std::flush;
}

const json_token::Answer* find(const json_token* tree, const char* key) {
    const auto found = tree->answers.find(key);
    return found == tree->answers.end() ? nullptr : &found->second;
}

}  // namespace

extern "C" {

json_token* user_config_query_to_json_token(const char* query) {
    tell(std::string("query ") + query);
    std::ifstream file(std::getenv("RUVO_STAND_IN_ANSWERS"));
    if (!file) return nullptr;
    auto* const tree = new json_token{"tree"};
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string key;
        json_token::Answer answer;
        words >> key >> answer.type;
        if (words.get() == ' ') std::getline(words, answer.value);
        tree->answers[key] = answer;
    }
    return tree;
}

json_token* json_token_object_walk_get_token(json_token* tree, const char* key) {
    tell(std::string("walk ") + key);
    const json_token::Answer* const answer = find(tree, key);
    return answer == nullptr ? nullptr : new json_token{"token", answer->type};
}

int json_token_type(json_token* token) {
    tell("type " + std::to_string(token->type));
    return token->type;
}

int json_token_object_walk_get_boolean(json_token* tree, const char* key, int) {
    tell(std::string("boolean ") + key);
    return std::atoi(find(tree, key)->value.c_str());
}

double json_token_object_walk_get_double(json_token* tree, const char* key, double) {
    tell(std::string("double ") + key);
    return std::strtod(find(tree, key)->value.c_str(), nullptr);
}

int json_token_object_walk_get_int(json_token* tree, const char* key, int) {
    tell(std::string("int ") + key);
    return std::atoi(find(tree, key)->value.c_str());
}

const char* json_token_object_walk_get_string(json_token* tree, const char* key, const char*) {
    tell(std::string("string ") + key);
    return find(tree, key)->value.c_str();
}

int json_token_ref_put(json_token* token) {
    tell(std::string("put ") + token->name);
    delete token;
    return 1;
}

}  // extern "C"
