#pragma once

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// Test stores: each consists of one record that repeats one number.
namespace MoxStash::Test {

constexpr StoredKind kindNumbers = firstKind + 100;

/// Writes a record that repeats a number.
inline void put(StoreWriter& writer, U64 number, std::size_t words) {
    std::vector<U64> const body(words, number);
    auto const* const record = writer.recordIs(kindNumbers, body);
    writer.rootIs("numbers", record);
}

inline U64 publish(std::string const& store, U64 number, std::size_t words = 100) {
    StoreWriter writer;
    put(writer, number, words);
    return publishStore(writer, store);
}

/// Reads the record of put() and checks that all words are equal. Throws the exceptions of the
/// manager.
inline U64 numberIn(StoreManager const& manager) {
    auto const record = manager.translate(manager.root("numbers"), kindNumbers);
    std::vector<U64> numbers(record.words());
    record.copy(0, numbers.data(), numbers.size());
    manager.validateVersionAnchor();
    bool const same =
        std::count(numbers.begin(), numbers.end(), numbers.front()) == std::ssize(numbers);
    EXPECT_TRUE(same) << "a mixture";
    return numbers.front();
}

inline std::string contentOf(std::string const& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

/// The names of the files in a folder.
inline std::vector<std::string> namesIn(std::string const& folder) {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

/// Returns the StoreException thrown by the operation. Fails the test if it throws nothing.
template <class Operation>
StoreException refusalOf(Operation operation) {
    try {
        operation();
    } catch (StoreException const& exception) {
        return exception;
    }
    ADD_FAILURE() << "nothing was refused";
    return {"", ""};
}

} // namespace MoxStash::Test
