#include "ProgramRun.h"

#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

extern char** environ;

namespace BgpCommunities::Test {

Descriptor::Descriptor(int fd)
  : fd_(fd) {
    EXPECT_NE(fd, -1);
    ::fcntl(fd_, F_SETFD, FD_CLOEXEC);
}

Descriptor::Descriptor(std::string const& path, int flags)
  : Descriptor(::open(path.c_str(), flags)) {}

void Descriptor::close() {
    if (fd_ != -1) {
        ::close(fd_);
        fd_ = -1;
    }
}

namespace {

/// Resets signals, because the parent may ignore or block some: a shell makes background processes
/// ignore SIGINT. While it exists, this process ignores `ignored`, for the program to inherit.
class UsersSignals {
  public:
    explicit UsersSignals(int ignored)
      : ignored_(ignored)
      , before_(ignored == 0 ? SIG_DFL : ::signal(ignored, SIG_IGN)) {
        sigset_t signals;
        ::posix_spawnattr_init(&attributes_);
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        ::sigaddset(&signals, SIGINT);
        ::sigaddset(&signals, SIGTERM);
        ::sigdelset(&signals, ignored);
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~UsersSignals() {
        ::posix_spawnattr_destroy(&attributes_);
        ::signal(ignored_, before_); // changes nothing for 0
    }

    UsersSignals(UsersSignals const&) = delete;
    UsersSignals& operator=(UsersSignals const&) = delete;

    [[nodiscard]] posix_spawnattr_t const* attributes() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
    int const ignored_;
    sighandler_t const before_;
};

} // namespace

pid_t start(Arguments const& arguments, int in, int out, int err, int ignored) {
    std::vector<char*> argv = {const_cast<char*>(VOBGP_PROGRAM)};
    for (std::string const& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    pid_t pid = -1;
    UsersSignals const signals(ignored);
    EXPECT_EQ(
        posix_spawn(&pid, VOBGP_PROGRAM, &actions, signals.attributes(), argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

int finish(pid_t pid) {
    int status = 0;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string contentOf(std::string const& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

Result runWithFile(Arguments const& arguments, std::string const& input) {
    TemporaryFile const out(""), err("");
    Descriptor const in(input, O_RDONLY);
    Descriptor const outFd(out.path(), O_WRONLY), errFd(err.path(), O_WRONLY);
    int const status = finish(start(arguments, in.fd(), outFd.fd(), errFd.fd()));
    return {status, contentOf(out.path()), contentOf(err.path())};
}

Result run(Arguments const& arguments, std::string const& input) {
    TemporaryFile const in(input);
    return runWithFile(arguments, in.path());
}

namespace {

Lines split(std::string const& text, char separator) {
    Lines pieces;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, separator);) {
        pieces.push_back(piece);
    }
    return pieces;
}

} // namespace

Lines linesOf(std::string const& text) {
    return split(text, '\n');
}

Lines fieldsOf(std::string const& line) {
    return split(line, '\t');
}

std::string number(std::string const& json, std::string const& object, std::string const& key) {
    std::size_t const start = object.empty() ? 0 : json.find("\"" + object + "\":{");
    std::size_t const at = json.find("\"" + key + "\":", start);
    if (start == std::string::npos || at == std::string::npos ||
        (!object.empty() && at > json.find('}', start))) {
        return "no " + object + " " + key;
    }
    std::size_t const digits = at + key.size() + 3;
    return json.substr(digits, json.find_first_of(",}", digits) - digits);
}

std::string sample(std::string const& name) {
    return VOBGP_SAMPLES "/" + name;
}

} // namespace BgpCommunities::Test
