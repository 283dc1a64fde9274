/// A process that publishes or reads stores, for StorePublishTest:
///
///     StoreProcess write STORE    repeatedly; prints `w` when it starts
///     StoreProcess read STORE     prints `r` for each one that it reads
///
/// Both run until their standard input ends or they are killed.
///
/// Each store repeats its number in every part; the numbers ascend by one. A reader that finds
/// anything else reports it and fails; at the end it prints how often writers overtook it.
#include "../../../fuzz/StoreContent.h"

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>

#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <poll.h>
#include <unistd.h>

namespace {

using namespace Routing::Bgp::Test;
using MoxStash::StoreManager;
using MoxStash::StoreWriter;

/// All sizes, so that the areas of a segment move.
U32 membersOf(U32 number) {
    return 2 + number * 7 % 90;
}

StoreWriter const& storeOf(StoreSample& sample, StoreWriter& writer, U32 number) {
    sample.stash(writer, number, membersOf(number));
    return writer;
}

/// Reads the number from the first part of the store; 0 if there is no store.
U32 numberOf(std::string const& store) {
    try {
        StoreManager const manager(store);
        return static_cast<U32>(MoxStash::StoredTable(manager, manager.root("values"))[0].number);
    } catch (MoxStash::StoreException const&) {
        return 0;
    }
}

void announce(char what) {
    if (::write(STDOUT_FILENO, &what, 1) != 1) {
        throw std::runtime_error("cannot write to standard output");
    }
}

bool hasEnded() {
    ::pollfd input = {STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 0) != 0;
}

void write(std::string const& store) {
    StoreSample sample;
    auto number = numberOf(store);
    announce('w');
    while (!hasEnded()) {
        StoreWriter writer;
        MoxStash::publishStore(storeOf(sample, writer, ++number), store);
    }
}

/// The expected text of a store with this number.
std::string textOf(StoreSample& sample, U32 number) {
    StoreWriter writer, copy;
    auto const words = storeOf(sample, writer, number).image(1);
    StoreManager manager("expected", std::as_bytes(std::span(words)));
    return copyStore(manager, copy);
}

struct Seen {
    U32 number;
    U64 generation;
};

/// Rebuilds one complete store; none if it was overtaken by a writer.
std::optional<Seen> readOnce(StoreSample& sample, std::string const& store) {
    std::string text;
    Seen seen{};
    try {
        StoreManager manager(store);
        StoreWriter copy;
        seen = {static_cast<U32>(MoxStash::StoredTable(manager, manager.root("values"))[0].number),
                manager.versionAnchor()};
        text = copyStore(manager, copy);
    } catch (MoxStash::StaleStoreException const&) {
        return std::nullopt;
    }
    if (text != textOf(sample, seen.number)) {
        throw std::runtime_error("a mixture: " + text);
    }
    return seen;
}

void read(std::string const& store) {
    StoreSample sample;
    Seen last{};
    unsigned overtaken = 0;
    while (!hasEnded()) {
        auto const now = readOnce(sample, store);
        if (!now) {
            ++overtaken;
            continue;
        }
        if (now->number < last.number || now->generation < last.generation) {
            throw std::runtime_error("the number went back");
        }
        if (now->number != last.number) {
            announce('r');
        }
        last = *now;
    }
    std::cout << ' ' << overtaken << '\n';
}

} // namespace

int main(int count, char* arguments[]) {
    try {
        if (count != 3) {
            throw std::invalid_argument("write STORE | read STORE");
        }
        std::string_view(arguments[1]) == "write" ? write(arguments[2]) : read(arguments[2]);
        return 0;
    } catch (std::exception const& exception) {
        std::cerr << arguments[0] << ": " << exception.what() << '\n';
        return 1;
    }
}
