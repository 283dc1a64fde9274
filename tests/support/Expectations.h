#pragma once

#include "Allocations.h"

#include <Kel/DumpContext.h>
#include <Mox/Ptr.h>
#include <Mox/Trace.h>
#include <Mox/ValueText.h>

#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <locale>
#include <new>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the tests of many units expect in one and the same way.

/// The text of the error that a call ends with; an error of another kind fails the test.
template <class Error, class Call>
std::string errorOf(Call call) {
    try {
        call();
    } catch (Error const& error) {
        return error.what();
    }
    return "no error";
}

template <class T>
void expectReadsBack(T const& value) {
    auto const text = Mox::valueToStrep(value);
    EXPECT_EQ(Mox::strepToValue<T>(text), value) << text;
}

/// The numbers below 65,536 that an enumeration accepts.
template <class Enumeration>
std::set<unsigned> acceptedBy() {
    std::set<unsigned> numbers;
    for (unsigned number = 0; number < 0x10000; ++number) {
        if (bgpIsValidEnumMember(static_cast<Enumeration>(number))) {
            numbers.insert(number);
        }
    }
    return numbers;
}

template <class Dumped>
std::string dumpOf(Dumped const& dumped, Mox::U32 indent) {
    auto const context = Mox::makeCounted<Kel::StringDumpContext>();
    dumped.dumpState(context, indent);
    return std::string(context->text());
}

/// A call that breaks a contract, and the text that it dies with, or part of that, to the letter.
/// "#" stands for a line number, a leading "^" for the start of the text.
struct BrokenContract {
    char const* text;
    std::function<void()> call;
};

inline void expectAssertions(std::vector<BrokenContract> const& contracts) {
    for (auto const& contract : contracts) {
        std::string pattern;
        for (char const character : std::string_view(contract.text)) {
            if (std::string_view("().|+*\\").find(character) != std::string_view::npos) {
                pattern += '\\';
            }
            pattern += character == '#' ? "[0-9]+" : std::string(1, character);
        }
        EXPECT_DEATH(contract.call(), pattern) << contract.text;
    }
}

/// A stream that is set as oddly as it can be, in a locale that groups every digit. That locale is
/// the global one too for as long as the stream lives.
class OddStream : public std::ostringstream {
  public:
    explicit OddStream(std::ios_base::fmtflags more = {}) {
        imbue(std::locale());
        *this << std::hex << std::showbase << std::showpos << std::left << std::setfill('*')
              << std::setprecision(2) << std::setw(90);
        setf(more);
        flags_ = flags();
    }
    ~OddStream() override {
        std::locale::global(before_);
        EXPECT_TRUE(flags() == flags_ && width() == 90 && fill() == '*' && precision() == 2)
            << "the stream did not stay as it was set";
    }
    OddStream(OddStream const&) = delete;
    OddStream& operator=(OddStream const&) = delete;

  private:
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
        char do_decimal_point() const override { return ','; }
    };
    std::locale const before_ = std::locale::global(std::locale(std::locale(), new Grouping));
    std::ios_base::fmtflags flags_;
};

/// A stream that does something, once, as soon as anything is written on it.
class InterruptedStream : private std::stringbuf, public std::ostream {
  public:
    explicit InterruptedStream(std::function<void()> interrupt)
      : std::ostream(static_cast<std::stringbuf*>(this))
      , interrupt_(std::move(interrupt)) {}
    std::string text() const { return std::stringbuf::str(); }

  private:
    std::streamsize xsputn(char const* octets, std::streamsize count) override {
        if (auto const interrupt = std::exchange(interrupt_, nullptr)) {
            interrupt();
        }
        return std::stringbuf::xsputn(octets, count);
    }

    std::function<void()> interrupt_;
};

/// Makes each allocation of a call fail in turn, that one alone and with all after it: the call
/// throws `std::bad_alloc`, or returns what it returns undisturbed. Returns how many it makes.
template <class Call>
long wholeOrRefused(Call call) {
    auto const whole = call();
    auto const before = allocationsSoFar();
    (void)call();
    auto const allocations = static_cast<long>(allocationsSoFar() - before);
    for (long succeeding = 0; succeeding < allocations; ++succeeding) {
        for (long const failing : {1, -1}) {
            try {
                auto const result = [&] {
                    FailingAllocations const failingAllocations(succeeding, failing);
                    return call();
                }();
                EXPECT_EQ(result, whole) << succeeding;
            } catch (std::bad_alloc const&) {
            }
        }
    }
    return allocations;
}

/// The lines that are traced while it lives, each behind its level.
class TracedLines {
  public:
    explicit TracedLines(int level) {
        Mox::traceSinkIs([this](int lineLevel, std::string_view line) {
            lines.push_back(std::to_string(lineLevel) + ' ' + std::string(line));
        });
        Mox::traceLevelIs(level);
    }
    ~TracedLines() {
        Mox::traceLevelIs(0);
        Mox::traceSinkIs(nullptr);
    }
    TracedLines(TracedLines const&) = delete;
    TracedLines& operator=(TracedLines const&) = delete;

    std::vector<std::string> lines;
};
