#include "InputSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace BgpCommunities {

InputSource::InputSource(std::string const& path)
  : name_(path == "-" ? "standard input" : path)
  , opened_(path != "-")
  , fd_(!opened_ ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC))
  , buffer_(bufferOctets) {
    if (fd_ < 0) {
        fail();
    }
    struct stat status = {};
    if (::fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
        size_ = static_cast<U64>(status.st_size);
        mayWait_ = false;
    }
}

InputSource::~InputSource() {
    if (opened_) {
        ::close(fd_);
    }
}

Octets InputSource::peek(std::size_t count) {
    while (end_ - begin_ < count) {
        std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
                  buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
        end_ -= begin_;
        begin_ = 0;
        std::size_t const got = readFile(std::span(buffer_).subspan(end_));
        if (got == 0) {
            break;
        }
        end_ += got;
    }
    return Octets(buffer_).subspan(begin_, end_ - begin_);
}

std::size_t InputSource::read(std::span<U8> out) {
    if (begin_ == end_) {
        return readFile(out);
    }
    std::size_t const count = std::min(out.size(), end_ - begin_);
    std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_), count, out.begin());
    begin_ += count;
    return count;
}

std::size_t InputSource::readFile(std::span<U8> out) {
    if (mayWait_ && beforeWait_) {
        pollfd ready = {fd_, POLLIN, 0};
        if (::poll(&ready, 1, 0) == 0) {
            beforeWait_();
        }
    }
    for (;;) {
        ssize_t const got = ::read(fd_, out.data(), out.size());
        if (got >= 0) {
            octets_ += static_cast<U64>(got);
            return static_cast<std::size_t>(got);
        }
        if (errno != EINTR) {
            fail();
        }
    }
}

void InputSource::fail() const {
    throw InputError(name_ + ": " + std::strerror(errno));
}

} // namespace BgpCommunities
