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

/// Expectations shared by the tests of several units.

/// Returns the text of the error thrown by a call. Any other error fails the test.
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

/// Returns the numbers below 65,536 that an enumeration accepts.
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

/// A call that violates a contract, and (part of) the literal text it dies with. "#" matches a line
/// number, a leading "^" the start of the text.
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

/// A stream with unusual flags and a locale that groups every digit, which is also the global
/// locale during the lifetime of the stream.
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
            << "the state of the stream was changed";
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

/// A stream that calls a function once, at the first write.
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

/// Makes each allocation of a call fail in turn, alone and with all later ones. The call must throw
/// `std::bad_alloc` or return its normal result. Returns the number of allocations.
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

/// Collects the lines traced during its lifetime, each after its level.
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
