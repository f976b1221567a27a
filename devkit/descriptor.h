#pragma once

namespace ruvo::devkit {

// Owns one file descriptor and closes it; -1 is "none".
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release();
    void reset();

  private:
    int fd_ = -1;
};

}  // namespace ruvo::devkit
