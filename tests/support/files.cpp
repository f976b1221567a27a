#include "tests/support/files.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace ruvo::test {

std::string text_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool is_file(const std::string& path) { return std::filesystem::is_regular_file(path); }

void write_text(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) throw std::system_error(errno, std::generic_category(), path);
}

TemporaryFolder::TemporaryFolder() : folder_(testing::TempDir() + "ruvo-test-XXXXXX") {
    if (::mkdtemp(folder_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), folder_);
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;  // what stays behind lies in the folder for temporary files
    std::filesystem::remove_all(folder_, ignored);
}

}  // namespace ruvo::test
