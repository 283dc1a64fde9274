#include "StandardError.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "Terminal.h"
#include "Utf8.h"
#include "input/InputStream.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view clearLine = "\r\x1b[K";

/// There may be a progress line. Read by a signal handler.
std::atomic<bool> lineShown{false};
static_assert(std::atomic<bool>::is_always_lock_free);

/// Writes a line in one call, so that lines of several processes do not mix.
void write(std::string_view text) {
    // An error of standard error itself cannot be reported.
    [[maybe_unused]] auto const written = ::write(STDERR_FILENO, text.data(), text.size());
}

/// Installed with SA_RESETHAND: raising the signal again has its default effect.
extern "C" void handleInterrupt(int signal) {
    if (lineShown) {
        write(clearLine);
    }
    ::raise(signal);
}

/// "1.5 MB"
std::string octetsText(double octets) {
    constexpr std::array<char const*, 5> units = {"B", "kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    while (octets >= 999.95 && unit + 1 < units.size()) {
        octets /= 1000;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.*f %s", unit == 0 ? 0 : 1, octets, units[unit]);
    return text.data();
}

/// "1:02:03", or "2:03"
std::string timeText(double seconds) {
    constexpr double longest = 999 * 3600;
    auto const whole = static_cast<unsigned int>(std::ceil(std::min(seconds, longest)));
    std::array<char, 32> text{};
    if (whole < 3600) {
        std::snprintf(text.data(), text.size(), "%u:%02u", whole / 60, whole % 60);
    } else {
        std::snprintf(text.data(), text.size(), "%u:%02u:%02u", whole / 3600, whole / 60 % 60,
                      whole % 60);
    }
    return text.data();
}

/// Returns the end of the masked name, in at most `columns` octets.
std::string shortName(std::string_view name, std::size_t columns) {
    constexpr std::string_view gap = "...";
    std::string text = masked(name);
    if (text.size() <= columns) {
        return text;
    }
    std::size_t from = text.size() - (columns - std::min(columns, gap.size()));
    while (from < text.size() && (static_cast<unsigned char>(text[from]) & 0xc0) == 0x80) {
        ++from; // do not split a multi-octet character
    }
    return text.replace(0, from, gap);
}

/// The progress of reading one file.
struct ReadingProgress {
    std::string_view name;
    U64 octets = 0;     // of the file itself
    U64 size = 0;       // of the file; 0 if unknown
    double seconds = 0; // since reading started
};

/// The text after the name.
std::string measures(ReadingProgress const& progress) {
    auto const octets = static_cast<double>(progress.octets);
    auto const size = static_cast<double>(progress.size);
    std::string text = ": " + octetsText(octets);
    if (progress.size != 0) {
        text += " of " + octetsText(size) + " (" +
                std::to_string(static_cast<int>(std::min(octets / size, 1.0) * 100)) + " %)";
    }
    if (progress.octets != 0 && progress.seconds > 0) {
        double const rate = octets / progress.seconds;
        text += ", " + octetsText(rate) + "/s";
        if (progress.size != 0) {
            text += ", " + timeText(std::max(size - octets, 0.0) / rate) + " left";
        }
    }
    return text;
}

/// Returns the progress as one line of at most `columns` octets. Shortens the start of the name
/// first, then truncates the line.
std::string progressText(ReadingProgress const& progress, std::size_t columns) {
    std::string text = measures(progress);
    std::size_t const left = columns - std::min(columns, text.size());
    text.insert(0, shortName(progress.name, left));
    text.resize(std::min(text.size(), columns));
    return text;
}

} // namespace

void complain(std::string_view message) {
    std::string line(lineShown ? clearLine : "");
    line.append("bgp-communities: ").append(masked(message)).append("\n");
    write(line);
}

void complainOfMemory() noexcept {
    if (lineShown) {
        write(clearLine);
    }
    write("bgp-communities: not enough memory\n");
}

void installInterrupts() {
    for (int const signal : {SIGINT, SIGTERM}) {
        struct sigaction action = {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
            continue;
        }
        action.sa_handler = handleInterrupt;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        ::sigaction(signal, &action, nullptr);
    }
}

Progress::Progress()
  : active_(::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (lineShown) {
        write(clearLine);
        lineShown = false;
    }
}

void Progress::show(InputStream const& input, Clock::time_point begun) {
    if (!active_) {
        return;
    }
    auto const now = Clock::now();
    if (now < next_) {
        return;
    }
    next_ = now + std::chrono::milliseconds(200);
    ReadingProgress const progress = {input.name(), input.sourceOctets(), input.sourceSize(),
                                      std::chrono::duration<double>(now - begun).count()};
    std::string line(clearLine);
    // Not in the last column, where some terminals wrap.
    line += progressText(progress, terminalColumns(STDERR_FILENO).value_or(defaultColumns) - 1);
    lineShown = true;
    write(line);
}

} // namespace BgpCommunities
