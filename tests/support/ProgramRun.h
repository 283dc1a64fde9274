#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "DumpOctets.h"

namespace BgpCommunities::Test {

/// Runs the program with arguments and files; returns its output and exit status.

using Arguments = std::vector<std::string>;
using Lines = std::vector<std::string>;

/// A descriptor that is closed by the destructor and in every started program.
class Descriptor {
  public:
    explicit Descriptor(int fd);
    Descriptor(std::string const& path, int flags);
    ~Descriptor() { close(); }

    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    void close();

    [[nodiscard]] int fd() const { return fd_; }

  private:
    int fd_;
};

/// Starts the program with these standard descriptors. It ignores the signal `ignored`.
pid_t start(Arguments const& arguments, int in, int out, int err, int ignored = 0);

/// Waits for the program; returns its exit status, or -1 if a signal ended it.
int finish(pid_t pid);

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs the program with this file, or a file with `input`, as standard input.
Result runWithFile(Arguments const& arguments, std::string const& path);
Result run(Arguments const& arguments, std::string const& input = "");

std::string contentOf(std::string const& path);
Lines linesOf(std::string const& text);
/// Returns the columns of a line separated by tabs.
Lines fieldsOf(std::string const& line);
/// Returns the number of a key in the object after the key `object`, or in the outer object if "".
std::string number(std::string const& json, std::string const& object, std::string const& key);
/// Returns the path of a sample dump.
std::string sample(std::string const& name);

} // namespace BgpCommunities::Test
