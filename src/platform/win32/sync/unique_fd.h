// Sole ownership of a file descriptor, closed when the owner goes.
#pragma once

#include <unistd.h>

#include <utility>

namespace orvella::platform::sync {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            Reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    ~UniqueFd() { Reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    void Reset() {
        if (fd_ >= 0) close(fd_);
        fd_ = -1;
    }

    int fd_ = -1;
};

}  // namespace orvella::platform::sync
