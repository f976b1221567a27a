#pragma once

#include <string>

namespace ruvo::test {

// The whole of a file; empty when there is none.
std::string text_of(const std::string& path);
bool is_file(const std::string& path);
void write_text(const std::string& path, const std::string& text);

// A folder of its own, gone with everything in it when the object dies.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return folder_ + "/" + name; }

  private:
    std::string folder_;
};

}  // namespace ruvo::test
