#include "events/unescape_data.h"

namespace ruvo {

std::string unescape_data(std::string_view data) {
    std::string result = replace_all(data, "\\n", "\n");
    result = replace_all(result, "\\r", "\r");
    return replace_all(result, "\\t", "\t");
}

// One walk does the work of starting over after each replacement: the leftmost
// occurrence is the one that ends first, and a replacement is read again.
std::string replace_all(std::string_view text, std::string_view pattern,
                        std::string_view replacement) {
    std::string result;
    result.reserve(text.size());
    std::string unread(text.rbegin(), text.rend());
    while (!unread.empty()) {
        result.push_back(unread.back());
        unread.pop_back();
        if (!result.ends_with(pattern)) continue;
        result.resize(result.size() - pattern.size());
        unread.append(replacement.rbegin(), replacement.rend());
    }
    return result;
}

}  // namespace ruvo
