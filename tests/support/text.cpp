#include "tests/support/text.h"

#include <regex.h>

#include <optional>
#include <stdexcept>

namespace ruvo::test {
namespace {

// The system's own expressions: those of the C++ library do not get past the
// compiler's warnings in a sanitizer build.
class Expression {
  public:
    explicit Expression(const std::string& pattern) {
        if (::regcomp(&compiled_, pattern.c_str(), REG_EXTENDED) != 0) {
            throw std::invalid_argument(pattern);
        }
    }
    ~Expression() { ::regfree(&compiled_); }
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    // Where the first match lies, the leftmost and longest one.
    [[nodiscard]] std::optional<regmatch_t> find_in(const char* text) const {
        regmatch_t match{};
        if (::regexec(&compiled_, text, 1, &match, 0) != 0) return {};
        return match;
    }

  private:
    regex_t compiled_{};
};

}  // namespace

std::string repeated(std::size_t count, char character) { return std::string(count, character); }

bool matches(const std::string& text, const std::string& pattern) {
    const auto match = Expression(pattern).find_in(text.c_str());
    return match && match->rm_so == 0 && static_cast<std::size_t>(match->rm_eo) == text.size();
}

std::string replaced(const std::string& text, const std::string& pattern,
                     const std::string& replacement) {
    const Expression expression(pattern);
    std::string result;
    const char* rest = text.c_str();
    while (const auto match = expression.find_in(rest)) {
        result.append(rest, static_cast<std::size_t>(match->rm_so)) += replacement;
        rest += match->rm_eo;
    }
    return result + rest;
}

}  // namespace ruvo::test
