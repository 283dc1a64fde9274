#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "IntegerTypes.h"
#include "OctetReader.h"

namespace BgpCommunities {

/// A file that could not be opened or read; `what()` names it and says why.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The raw octets of a file or of standard input, with a fixed-size buffer that allows peeking.
///
/// Owns the descriptor; standard input is left open. Thread-compatible.
class InputSource {
  public:
    /// Opens `path`, or standard input if that is "-". Throws InputError.
    explicit InputSource(std::string const& path);
    ~InputSource();
    InputSource(InputSource const&) = delete;
    InputSource& operator=(InputSource const&) = delete;

    /// Sets a function to be called before each read that may block, such as from an empty pipe.
    void setBeforeWait(std::function<void()> beforeWait) { beforeWait_ = std::move(beforeWait); }

    /// Returns at least `count` unconsumed octets, fewer only at the end of the file. Invalidated
    /// by the next call. Throws InputError. REQUIRES: `count` is at most `bufferOctets`.
    Octets peek(std::size_t count);

    void consume(std::size_t count) { begin_ += count; }

    /// Reads buffered octets if there are any, otherwise from the file; returns 0 at the end of it.
    std::size_t read(std::span<U8> out);

    /// The path, or "standard input".
    [[nodiscard]] std::string const& name() const { return name_; }

    /// The number of octets read from the file.
    [[nodiscard]] U64 octets() const { return octets_; }

    [[nodiscard]] U64 consumed() const { return octets_ - (end_ - begin_); }

    /// The size of the file; 0 if unknown, as for a pipe.
    [[nodiscard]] U64 size() const { return size_; }

    static constexpr std::size_t bufferOctets = 64 * 1024;

  private:
    std::size_t readFile(std::span<U8> out);
    [[noreturn]] void fail() const;

    std::string name_;
    bool opened_;
    int fd_;
    std::function<void()> beforeWait_;
    std::vector<U8> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    U64 octets_ = 0;
    U64 size_ = 0;        // 0 if not a regular file
    bool mayWait_ = true; // false for a regular file
};

} // namespace BgpCommunities
