#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "DumpOctets.h"

namespace BgpCommunities::Test {

/** The program, run as a user would: real arguments, real files, its output and its status. */

using Arguments = std::vector<std::string>;
using Lines = std::vector<std::string>;

/** A descriptor that is closed in the end, and in every program that is started. */
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

/** Starts the program with these descriptors as its standard ones. */
pid_t start(Arguments const& arguments, int in, int out, int err);

/** The exit status; -1 if a signal ended the program. */
int finish(pid_t pid);

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

/** Runs the program to its end, with this file, or a file that holds `input`, as standard input. */
Result runWithFile(Arguments const& arguments, std::string const& path);
Result run(Arguments const& arguments, std::string const& input = "");

std::string contentOf(std::string const& path);
Lines linesOf(std::string const& text);
/** What stands between the tabs of a line. */
Lines fieldsOf(std::string const& line);
/** The number of a key of the object that follows the key `object`, "" for the whole. */
std::string number(std::string const& json, std::string const& object, std::string const& key);
/** The path of one of the project's own dumps. */
std::string sample(std::string const& name);

} // namespace BgpCommunities::Test
