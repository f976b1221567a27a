#include "platform/user_config.h"

#include "core/log.h"
#include "core/text_cut.h"
#include "platform/token_text.h"

#include <cstddef>

namespace ruvo {
namespace {

constexpr std::size_t kSectionBytes = 128;

}  // namespace

std::string section_query(std::string_view key) {
    const std::string_view kept = cut_to_buffer(key, kSectionBytes);
    return "{\"" + std::string(kept.substr(0, kept.find('.'))) + "\":{}}";
}

std::string get_token_value(const std::string& key) {
    const std::string query = section_query(key);
    debug_line("[%s:%d] get user json=%s key=%s\n", "get_token_value", 1313, query.c_str(),
               key.c_str());
    return token_text(query, key);
}

}  // namespace ruvo
