#pragma once

#include <getopt.h>

#include <string>
#include <utility>
#include <vector>

namespace ruvo::test {

// A command line as a process is given it, and getopt as it is in a fresh process.
class OptionWords {
  public:
    explicit OptionWords(std::vector<std::string> words) : words_(std::move(words)) {
        words_.insert(words_.begin(), "ruvotcpd");
        for (std::string& word : words_) pointers_.push_back(word.data());
        pointers_.push_back(nullptr);
        ::optind = 0;  // a process parses its options only once
    }

    OptionWords(const OptionWords&) = delete;
    OptionWords& operator=(const OptionWords&) = delete;

    [[nodiscard]] int count() const { return static_cast<int>(words_.size()); }
    [[nodiscard]] char* const* pointers() const { return pointers_.data(); }

  private:
    std::vector<std::string> words_;
    std::vector<char*> pointers_;
};

}  // namespace ruvo::test
