#include "TimeText.h"

#include <charconv>
#include <chrono>
#include <optional>

#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

constexpr Microseconds perSecond = 1000000;

void appendPadded(std::string& out, U64 value, std::size_t digits) {
    std::string text;
    appendNumber(text, value);
    out.append(digits - std::min(digits, text.size()), '0').append(text);
}

/// Parses a text from its start.
class Scanner {
  public:
    explicit Scanner(std::string_view text)
      : left_(text) {}

    [[nodiscard]] bool empty() const { return left_.empty(); }

    /// Takes exactly `count` digits.
    std::optional<unsigned int> digits(std::size_t count) {
        unsigned int value = 0;
        std::string_view const text = left_.substr(0, count);
        auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || text.size() != count || end != text.data() + count) {
            return std::nullopt;
        }
        left_.remove_prefix(count);
        return value;
    }

    /// Takes one of these characters; returns 0 if the next one is another.
    char any(std::string_view characters) {
        if (left_.empty() || characters.find(left_[0]) == std::string_view::npos) {
            return 0;
        }
        char const taken = left_[0];
        left_.remove_prefix(1);
        return taken;
    }

    /// Takes the digits of a fraction of a second; ignores those after the sixth.
    std::optional<Microseconds> fraction() {
        Microseconds value = 0;
        std::size_t count = 0;
        for (; !left_.empty() && left_[0] >= '0' && left_[0] <= '9'; left_.remove_prefix(1)) {
            value = count < 6 ? value * 10 + static_cast<Microseconds>(left_[0] - '0') : value;
            ++count;
        }
        for (std::size_t at = count; at < 6; ++at) {
            value *= 10;
        }
        return count == 0 ? std::nullopt : std::optional(value);
    }

  private:
    std::string_view left_;
};

/// Parses a date; returns seconds since 1970, or none if there is no such day.
std::optional<S64> readDate(Scanner& in) {
    auto const year = in.digits(4);
    bool const first = in.any("-") != 0;
    auto const month = in.digits(2);
    bool const second = in.any("-") != 0;
    auto const day = in.digits(2);
    if (!year || !first || !month || !second || !day) {
        return std::nullopt;
    }
    std::chrono::year_month_day const date(std::chrono::year(static_cast<int>(*year)),
                                           std::chrono::month(*month), std::chrono::day(*day));
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_seconds(std::chrono::sys_days(date)).time_since_epoch().count();
}

/// Parses "12:00" or "12:00:00"; returns seconds. A leap second counts as the next second.
std::optional<S64> readClock(Scanner& in) {
    auto const hour = in.digits(2);
    bool const colon = in.any(":") != 0;
    auto const minute = in.digits(2);
    auto const second = in.any(":") != 0 ? in.digits(2) : std::optional(0U);
    if (!hour || !colon || !minute || !second || *hour > 23 || *minute > 59 || *second > 60) {
        return std::nullopt;
    }
    return S64{*hour} * 3600 + *minute * 60 + *second;
}

/// Parses "Z", "+01:00" or nothing; returns seconds.
std::optional<S64> readOffset(Scanner& in) {
    if (in.empty() || in.any("Zz") != 0) {
        return 0;
    }
    char const sign = in.any("+-");
    auto const offset = sign == 0 ? std::nullopt : readClock(in);
    return offset && sign == '-' ? std::optional(-*offset) : offset;
}

std::optional<Microseconds> readRfc3339(std::string_view text) {
    Scanner in(text);
    auto const date = readDate(in);
    std::optional<S64> clock = 0;
    std::optional<Microseconds> fraction = 0;
    std::optional<S64> offset = 0;
    if (!in.empty()) {
        clock = in.any("Tt ") != 0 ? readClock(in) : std::nullopt;
        fraction = in.any(".") != 0 ? in.fraction() : std::optional(Microseconds{0});
        offset = readOffset(in);
    }
    if (!date || !clock || !fraction || !offset || !in.empty()) {
        return std::nullopt;
    }
    S64 const seconds = *date + *clock - *offset;
    return seconds < 0 ? std::nullopt
                       : std::optional(static_cast<Microseconds>(seconds) * perSecond + *fraction);
}

} // namespace

Microseconds currentTime() {
    using namespace std::chrono;
    return static_cast<Microseconds>(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

void appendTime(std::string& out, Microseconds time) {
    using namespace std::chrono;
    seconds const all(static_cast<S64>(time / perSecond));
    sys_days const day = floor<days>(sys_seconds(all));
    year_month_day const date(day);
    hh_mm_ss const clock(sys_seconds(all) - day);
    appendPadded(out, static_cast<U64>(static_cast<int>(date.year())), 4);
    out += '-';
    appendPadded(out, static_cast<unsigned int>(date.month()), 2);
    out += '-';
    appendPadded(out, static_cast<unsigned int>(date.day()), 2);
    out += 'T';
    appendPadded(out, static_cast<U64>(clock.hours().count()), 2);
    out += ':';
    appendPadded(out, static_cast<U64>(clock.minutes().count()), 2);
    out += ':';
    appendPadded(out, static_cast<U64>(clock.seconds().count()), 2);
    if (time % perSecond != 0) {
        out += '.';
        appendPadded(out, time % perSecond, 6);
    }
    out += 'Z';
}

std::string_view readTime(std::string_view text, Microseconds& time) {
    U32 seconds = 0;
    char const* const end = text.data() + text.size();
    auto const [read, error] = std::from_chars(text.data(), end, seconds);
    if (error == std::errc() && (read == end || *read == '.')) {
        Scanner rest(text.substr(static_cast<std::size_t>(read - text.data())));
        auto const fraction = rest.any(".") != 0 ? rest.fraction() : std::optional(Microseconds{0});
        if (fraction && rest.empty()) {
            time = seconds * perSecond + *fraction;
            return {};
        }
    }
    auto const read3339 = readRfc3339(text);
    time = read3339.value_or(0);
    return read3339 ? std::string_view()
                    : "not a time: expected 2024-01-31T12:00:00Z, 2024-01-31 or seconds since 1970";
}

} // namespace BgpCommunities
