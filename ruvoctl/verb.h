#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace ruvo::ctl {

// What the chosen verb does; returns the exit status.
using Run = std::function<int()>;

// Wrong usage that shows while the command line is read; the text says what is wrong.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// How an option's value is shown in the help, and what it has to be.
struct Taking {
    const char* type_name = nullptr;
    // Returns what is wrong with a value, "" for nothing.
    std::function<std::string(const std::string&)> check = nullptr;
    std::vector<const char*> excludes{};
    bool shows_default = false;
    bool takes_empty = false;  // else an empty value is wrong usage
};

// One verb of the command line, or a group of its options. The parser's library stands
// behind it, in one file: its templates take long to compile.
//
// Names are those of an option, "-f,--file", or of an argument, "FILE". The values that the
// options are declared with have to live until the command line has been read.
class Verb {
  public:
    // Both have to outlive the verb. `run` is set when the command line has chosen it.
    Verb(CLI::App& parser, Run& run) : parser_(&parser), run_(&run) {}

    // What the help ends with.
    void set_footer(const std::string& text);

    void add_flag(const char* name, bool& given, const char* help, const Taking& taking = {});
    void add_option(const char* names, std::string& value, const char* help,
                    const Taking& taking = {});
    // One value each time the option is given; any number of arguments.
    void add_list(const char* names, std::vector<std::string>& values, const char* help,
                  const Taking& taking = {});
    // A whole number from 0 to `max`.
    void add_number(const char* names, std::int64_t& value, std::int64_t max, const char* help,
                    const Taking& taking = {});
    // Calls `take` with the value; it may throw UsageError.
    void add_taker(const char* names, const std::function<void(const std::string&)>& take,
                   const char* help, const Taking& taking = {});
    // Takes all arguments as they stand: the first, which is required, goes to `first`; those
    // behind it are the `others`.
    void add_words(const char* name, std::string& first, const char* help);

    // Options of which one command line takes at most one.
    Verb add_group(const char* name, const char* help);

    // When the command line has chosen this verb and is read, `prepare` returns what there is
    // to do. It may throw UsageError.
    void when_chosen(std::function<Run()> prepare);

    // What the command line has said, for `when_chosen`.
    [[nodiscard]] bool is_given(const char* name) const;
    [[nodiscard]] std::vector<std::string> others() const;

  private:
    CLI::App* parser_;
    Run* run_;
};

}  // namespace ruvo::ctl
