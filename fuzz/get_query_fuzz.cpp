// Reads any key from a user configuration of any content, through the device's simulated
// library.

#include "core/process_state.h"
#include "core/text_cut.h"
#include "fuzz/stand_in_system.h"
#include "platform/user_config.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

namespace ruvo::fuzz {
namespace {

using Json = nlohmann::ordered_json;

// An input is a key, this byte and the store; without the byte, a key to a store that
// holds something of every type.
constexpr char kStore = '\x1e';
constexpr char kUsualStore[] =
    R"({"network":{"ruvo":{"enable":true,"import":false},"port":2700,"name":"a=b:c\n"},)"
    R"("level":0.5,"most":1.7976931348623157e308,"list":[1],"none":null,"far":2147483648,)"
    R"("deep":{"a":{"b":{"c":-1}}},"zero":"a\u0000b","big":18446744073709551615})";

const std::string& store_path() {
    static const std::string path = stand_in_path("/mnt/configs/user_config.json");
    return path;
}

void set_up_process() {
    drop_standard_output();
    require(::setenv("RUVO_USER_CONFIG", store_path().c_str(), 1) == 0, "the store's place");
}

// A value as the daemon shows it. A number beyond the device's 32 bits is read as 0.
std::string shown(const Json& value) {
    if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
    if (value.is_number_float()) {
        std::array<char, 320> text{};
        (void)std::snprintf(text.data(), text.size(), "%f", value.get<double>());
        return text.data();
    }
    if (value.is_number_integer()) {
        constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
        if (value.is_number_unsigned() && value.get<std::uint64_t>() > kMost) return "0";
        const auto number = value.get<std::int64_t>();
        return std::to_string(number < -std::int64_t{kMost} - 1 || number > kMost ? 0 : number);
    }
    if (value.is_string()) return std::string(until_zero(value.get_ref<const std::string&>()));
    return {};
}

// A walk along a key of ordinary letters; other keys have no expectation but to survive.
bool is_ordinary(std::string_view key) {
    return !key.empty() && key.size() < 128 && std::all_of(key.begin(), key.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || c == '.' || c == '_';
    });
}

std::string expected(const Json& store, std::string_view key) {
    const Json* node = &store;
    for (;;) {
        const auto dot = std::min(key.find('.'), key.size());
        if (!node->is_object()) return {};
        const auto member = node->find(std::string(key.substr(0, dot)));
        if (dot == 0 || member == node->end()) return {};
        node = &*member;
        if (dot == key.size()) return shown(*node);
        key.remove_prefix(dot + 1);
    }
}

void require_query(std::string_view key) {
    const std::string query = section_query(key);
    require(query.starts_with("{\"") && query.ends_with("\":{}}"), "a query has its form");
    const std::string section = query.substr(2, query.size() - 7);
    require(section.size() < 128 && section.find('.') == std::string::npos, "a query's bounds");
    require(key.starts_with(section), "a query names the key's section");
}

void try_input(std::string_view key, std::string_view store) {
    g_debug_flag = key.size() % 16 == 15 ? 1 : 0;
    require_query(key);
    write_file(store_path(), store);
    const std::string text = get_token_value(std::string(key));
    require(text == get_token_value(std::string(key)), "a second query gives the same");
    require(file_text(store_path()) == store, "a query changes nothing");
    const Json tree = store.empty() ? Json::object() : Json::parse(store, nullptr, false);
    if (tree.is_discarded() || !tree.is_object()) {
        require(text.empty(), "what is no store holds nothing");
    } else if (is_ordinary(key)) {
        require(text == expected(tree, key), "the value");
    }
}

}  // namespace
}  // namespace ruvo::fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ruvo::fuzz::set_up_process();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ruvo::fuzz;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto end = input.find(kStore);
    // A C text: the command port's requests hold no zero byte.
    const std::string_view key = ruvo::until_zero(input.substr(0, end));
    try_input(key, end == std::string_view::npos ? kUsualStore : input.substr(end + 1));
    return 0;
}
