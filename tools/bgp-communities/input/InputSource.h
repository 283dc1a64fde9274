#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "OctetReader.h"

namespace BgpCommunities {

/** A file that could not be opened or read; `what()` names it and says why. */
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The octets of a file, or of standard input, as they are, through a buffer of fixed size that can
 * be looked into before it is consumed.
 *
 * Owns the descriptor; standard input is left open. Thread-compatible.
 */
class InputSource {
  public:
    /** Opens `path`, or standard input if that is "-". Throws InputError. */
    explicit InputSource(std::string const& path);
    ~InputSource();
    InputSource(InputSource const&) = delete;
    InputSource& operator=(InputSource const&) = delete;

    /** Called before each read that may have to wait for octets: of a pipe that is empty. */
    void beforeWaitIs(std::function<void()> beforeWait) { beforeWait_ = std::move(beforeWait); }

    /** At least `count` octets that are not consumed, fewer only at the end of the file; `count` is
        at most `bufferOctets`. Good until the next call. Throws InputError. */
    Octets peek(std::size_t count);

    void consume(std::size_t count) { begin_ += count; }

    /** What is buffered, else straight from the file; 0 at the end of the file. */
    std::size_t read(std::span<std::uint8_t> out);

    /** The path, or "standard input". */
    [[nodiscard]] std::string const& name() const { return name_; }

    /** How many octets have been read from the file, and how many of them consumed. */
    [[nodiscard]] std::uint64_t octets() const { return octets_; }

    [[nodiscard]] std::uint64_t consumed() const { return octets_ - (end_ - begin_); }

    /** The size of the file; 0 if it has none that is known beforehand. */
    [[nodiscard]] std::uint64_t size() const { return size_; }

    static constexpr std::size_t bufferOctets = 64 * 1024;

  private:
    std::size_t readFile(std::span<std::uint8_t> out);
    [[noreturn]] void fail() const;

    std::string name_;
    bool opened_;
    int fd_;
    std::function<void()> beforeWait_;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t octets_ = 0;
    std::uint64_t size_ = 0; // 0: of no regular file, or an empty one
    bool mayWait_ = true;    // no regular file
};

} // namespace BgpCommunities
