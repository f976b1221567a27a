#pragma once

#include <stdexcept>
#include <string>

namespace ruvo::ctl {

// A file that can't be read or written; the text names it and says why.
class FileError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The bytes of a file, or of standard input for "-". Throws FileError.
std::string read_input(const std::string& path);

// Replaces a file's content. Throws FileError.
void write_output(const std::string& path, const std::string& text);

}  // namespace ruvo::ctl
