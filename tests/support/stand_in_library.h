#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ruvo::test {

// Stands where the device's library is: its operations answer what the object of the
// moment says and tell it what they were asked. One object at a time, in one thread.
// Without an object the store does not answer.
class StandInLibrary {
  public:
    StandInLibrary();
    ~StandInLibrary();
    StandInLibrary(const StandInLibrary&) = delete;
    StandInLibrary& operator=(const StandInLibrary&) = delete;

    // What the store holds. Nothing of a value's type makes its getter answer with the
    // default that it was given.
    bool has_tree = true;
    bool has_token = true;
    int type = 0;
    std::optional<int> boolean;
    std::optional<double> real;
    std::optional<int> integer;
    std::optional<std::string> text;
    // A string getter that has nothing to give at all.
    bool text_is_null = false;

    // The calls in their order, a line each, such as "walk network.ruvo.enable" or
    // "put token". A call with a token that is not alive is told as such.
    std::vector<std::string> calls;

    // The references that nobody has given back.
    int references = 0;
};

}  // namespace ruvo::test
