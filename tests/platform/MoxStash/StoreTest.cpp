#include "StoreNumbers.h"
#include "support/StoreFolder.h"

#include "support/Allocations.h"
#include "support/Expectations.h"

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreFormat.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace MoxStash {
namespace {

using namespace Test;
namespace fs = std::filesystem;

// ---- The content of a store ---------------------------------------------------------------------

TEST(Store, StoresEqualRecordsOnceAndFindsThemByName) {
    StoreWriter writer;
    auto const* const one = writer.recordIs(kindNumbers, std::array<U64, 2>{1, 2});
    auto const* const two = writer.recordIs(kindNumbers, std::array<U64, 2>{2, 1});
    auto const* const other = writer.recordIs(kindNumbers + 1, std::array<U64, 2>{1, 2});
    auto const* const none = writer.recordIs(kindNumbers, {});
    auto const octets = writer.octets();
    EXPECT_EQ(writer.recordIs(kindNumbers, std::array<U64, 2>{1, 2}), one);
    EXPECT_EQ((std::set<void const*>{one, two, other, none}.size()), 4U);
    EXPECT_EQ(writer.octets(), octets);
    EXPECT_EQ(writer.records(), 4U);
    StoreWriter many;
    for (U32 number = 0; number < 1000; ++number) {
        many.recordIs(kindNumbers + 1 + number, std::array<U64, 3>{1, 2, 3});
        many.recordIs(kindNumbers, std::array<U64, 3>{1, 2, number});
    }
    EXPECT_EQ(many.records(), 2000U);
    auto const* const table =
        writer.tableIs(std::array<StoredEntry, 3>{{{one, 7}, {none, 8}, {one, 9}}});
    std::string const longName(1000, 'n');
    writer.rootIs("b", one);
    writer.rootIs("", two);
    writer.rootIs(longName, table);
    writer.rootIs("b", other);

    auto const words = writer.image(1);
    StoreManager const manager("memory", std::as_bytes(std::span(words)));
    EXPECT_EQ(manager.root("b"), other) << "the last one counts";
    EXPECT_EQ(manager.root(""), two);
    EXPECT_EQ(manager.root("a"), nullptr);
    EXPECT_EQ(manager.translate(two, kindNumbers).word(1), 1U);
    EXPECT_EQ(manager.translate(none, kindNumbers).words(), 0U);
    StoredTable const rows(manager, manager.root(longName));
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[2].stored, one);
    EXPECT_EQ(rows[2].number, 9U);
    EXPECT_TRUE(manager.isCurrent());
}

TEST(StoreDeathTest, ContractsAreAsserted) {
    StoreWriter writer;
    auto const* const two = writer.recordIs(kindNumbers, std::array<U64, 2>{1, 2});
    auto const words = writer.image(1);
    StoreManager const manager("memory", std::as_bytes(std::span(words)));
    auto const record = manager.translate(two, kindNumbers);
    std::array<U64, 2> numbers{};
    expectAssertions({
        {"word: Assertion", [&] { record.word(2); }},
        {"copyOctets: Assertion", [&] { record.copy(1, numbers.data(), 2); }},
        {"rootIs: Assertion", [&] { writer.rootIs("a", storedAddress(1 << 20)); }},
    });
}

// ---- Publishing and attaching -------------------------------------------------------------------

INSTANTIATE_TEST_SUITE_P(Place, StorePlaces, testing::Bool(), storePlaceName);

TEST_P(StorePlaces, ReadersAttachToTheNewestStoreOfAnySize) {
    EXPECT_NE(refusalOf([&] { StoreManager const manager(store); }).reason().find("cannot open"),
              std::string::npos);
    U64 generation = 0;
    for (std::size_t const words : {1U, 100U, 20000U, 3U, 600U, 1U, 70000U, 40000U, 2U, 70000U}) {
        ++generation;
        ASSERT_EQ(publish(store, generation * 7, words), generation);
        StoreManager const manager(store);
        ASSERT_EQ(numberIn(manager), generation * 7);
        ASSERT_EQ(manager.versionAnchor(), generation);
        ASSERT_TRUE(manager.isCurrent());
    }
    EXPECT_EQ(namesIn(folder.path()).size(), GetParam() ? 0U : 1U) << "leftover files";
    EXPECT_EQ(contentOf("/proc/self/maps").find(file), std::string::npos) << "still mapped";
}

TEST_P(StorePlaces, AttachedReadersKeepTheirStoreWhileTheNextIsWritten) {
    for (std::size_t const words : {1U, 5000U}) {
        publish(store, 1, words);
        StoreManager const manager(store);
        publish(store, 2, 5001 - words);
        EXPECT_EQ(numberIn(manager), 1U);
        EXPECT_FALSE(manager.isCurrent());
        publish(store, 3, words);
        if (GetParam()) {
            EXPECT_THROW(numberIn(manager), StaleStoreException);
            EXPECT_THROW(manager.root("not there"), StaleStoreException);
            EXPECT_THROW(manager.translate(storedAddress(8), kindNumbers), StaleStoreException)
                << "reported as damaged";
        } else {
            EXPECT_EQ(numberIn(manager), 1U);
        }
    }
}

void wordIs(std::string const& path, std::size_t offset, U64 value) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(reinterpret_cast<char const*>(&value), sizeof value);
}

/// The writer of the store after the next may be killed before it overwrites anything.
TEST(StoreSegment, IsStaleOnceTheSecondNextGenerationIsBegun) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    publish(store, 1);
    StoreManager const manager(store);
    for (U64 const begun : {1U, 2U, 3U}) {
        wordIs(folder.fileOf(store), 8 * Format::begunWord, begun);
        EXPECT_EQ(manager.isCurrent(), begun <= 2);
    }
    EXPECT_THROW(manager.validateVersionAnchor(), StaleStoreException);
}

/// A reader overtaken by two writers may find a complete store that is not current, and never will
/// be if its writer is killed.
TEST(StoreSegment, RefusesAGenerationThatWasNotBegunBeforehand) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    publish(store, 1);
    wordIs(folder.fileOf(store), 8 * Format::begunWord, 0);
    EXPECT_THROW(StoreManager{store}, StoreException);
}

TEST(StoreSegment, RefusesStoresOutsideOfIt) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    struct {
        std::size_t offset;
        U64 value;
        char const* reason;
    } const rows[] = {
        {8 * Format::currentWord, 0, "no store has been published yet"},
        {8 * Format::currentWord, 4096 + 8, "outside the segment"},
        {8 * Format::currentWord, U64{1} << 40, "outside the segment"},
        {4096 + offsetof(Format::StoreHeader, octets), U64{1} << 40, "wrong store size"},
    };
    for (auto const& row : rows) {
        removeStore(store);
        publish(store, 1);
        wordIs(folder.fileOf(store), row.offset, row.value);
        auto const reason = refusalOf([&] { StoreManager const manager(store); }).reason();
        EXPECT_NE(reason.find(row.reason), std::string::npos) << reason;
    }
    fs::resize_file(folder.fileOf(store), 32);
    EXPECT_EQ(refusalOf([&] { StoreManager const manager(store); }).reason(),
              "too short for a segment header");
}

/// The leftovers of writers that were killed, or of damage: the generation after the one that was
/// begun is skipped.
TEST(StoreSegment, WritersTakeOverWhatIsLeft) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    struct {
        std::size_t offset;
        U64 value;
        U64 next;
    } const rows[] = {
        {8 * Format::begunWord, 2, 2},
        {8 * Format::begunWord, 5, 7},
        {4096 + offsetof(Format::StoreHeader, octets), U64{1} << 40, 3},
    };
    for (auto const& row : rows) {
        removeStore(store);
        publish(store, 1);
        wordIs(folder.fileOf(store), row.offset, row.value);
        EXPECT_EQ(publish(store, 2), row.next);
        EXPECT_EQ(numberIn(StoreManager(store)), 2U);
    }
    removeStore(store);
    std::ofstream(folder.fileOf(store), std::ios::binary) << std::string(4096, '\0');
    wordIs(folder.fileOf(store), 8, 1); // the magic number is written last
    EXPECT_EQ(publish(store, 3), 1U);
}

/// A reader must learn that its store is overwritten before it reads a word of the next one.
TEST(StoreSegment, IsBegunBeforeItIsWritten) {
    constexpr std::size_t words = 70000, area = Format::areaAlignment / 8;
    StoreFolder const folder;
    auto const store = folder.store(true);
    publish(store, 1, words);
    int const fd = ::open(folder.fileOf(store).c_str(), O_RDONLY | O_CLOEXEC);
    auto const* const mapped =
        static_cast<U64 const*>(::mmap(nullptr, 8 * words, PROT_READ, MAP_SHARED, fd, 0));
    ASSERT_NE(mapped, MAP_FAILED);
    std::atomic<bool> stopped = false;
    std::atomic<int> early = 0;
    std::thread reader([&] {
        while (!stopped) {
            auto const written =
                __atomic_load_n(mapped + area + Format::generationWord, __ATOMIC_ACQUIRE);
            early += written > Format::loadWord(mapped + Format::begunWord) ? 1 : 0;
        }
    });
    for (U64 number = 0; number < 60; ++number) {
        publish(store, number, words);
    }
    stopped = true;
    reader.join();
    EXPECT_EQ(early, 0);
    ::munmap(const_cast<U64*>(mapped), 8 * words);
    ::close(fd);
}

/// Stores that just fit before the current one, and stores that are slightly too large.
TEST(StoreSegment, WritesBesideTheCurrentStore) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    constexpr std::size_t pageWords = 512;
    for (std::size_t pages = 1; pages < 3; ++pages) {
        for (auto words = pages * pageWords - 40; words < (pages + 2) * pageWords; words += 8) {
            removeStore(store);
            publish(store, 1, pages * pageWords);
            publish(store, 2, pageWords);
            StoreManager const manager(store);
            publish(store, 3, words);
            ASSERT_EQ(numberIn(manager), 2U) << words << " words";
            ASSERT_EQ(numberIn(StoreManager(store)), 3U);
        }
    }
}

TEST_P(StorePlaces, CanBeRemovedAndRecreated) {
    removeStore(store);
    publish(store, 1);
    publish(store, 2);
    StoreManager const manager(store);
    removeStore(store);
    EXPECT_FALSE(manager.isCurrent());
    EXPECT_THROW(StoreManager{store}, StoreException);
    EXPECT_EQ(publish(store, 3), 1U);
    publish(store, 4);
    publish(store, 5);
    EXPECT_EQ(numberIn(manager), 2U);
    EXPECT_FALSE(manager.isCurrent());
    EXPECT_EQ(numberIn(StoreManager(store)), 5U);
}

TEST_P(StorePlaces, LeaveForeignFilesAlone) {
    auto segment = std::string(4096, '\0');
    Format::SegmentHeader header = {
        Format::segmentMagic, Format::byteOrder, Format::layoutVersion + 1, 0, 0, {}};
    std::memcpy(segment.data(), &header, sizeof header);
    std::vector<std::string> foreign = {"text", std::string(10000, 't')};
    if (GetParam()) {
        foreign.insert(foreign.end(),
                       {segment, std::string(100, '\0'),
                        std::string(4000, '\0') + std::string(96, 't'), std::string(8192, '\0')});
    }
    for (auto const& content : foreign) {
        std::ofstream(file, std::ios::binary) << content;
        EXPECT_EQ(refusalOf([&] { publish(store, 1); }).store(), store);
        EXPECT_THROW(StoreManager{store}, StoreException);
        EXPECT_EQ(contentOf(file), content);
    }
    EXPECT_LE(namesIn(folder.path()).size(), 1U) << "leftover files";
}

TEST(StoreFile, DoesNotReplaceNonRegularFiles) {
    StoreFolder const folder;
    auto const store = folder.store(false);
    auto const aside = store + ".new";
    struct {
        char const* name;
        std::string path;
        std::function<void(std::string const&)> make;
    } const rows[] = {
        {"a folder", store, [](auto const& path) { fs::create_directory(path); }},
        {"a link", store, [&](auto const& path) { fs::create_symlink("elsewhere", path); }},
        {"a pipe", store, [](auto const& path) { ::mkfifo(path.c_str(), 0666); }},
        {"a folder beside", aside, [](auto const& path) { fs::create_directory(path); }},
        {"a link beside", aside, [&](auto const& path) { fs::create_symlink("elsewhere", path); }},
        {"a pipe beside", aside, [](auto const& path) { ::mkfifo(path.c_str(), 0666); }},
        {"a text beside", aside, [](auto const& path) { std::ofstream(path) << "text"; }},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        row.make(row.path);
        auto const type = fs::symlink_status(row.path).type();
        EXPECT_THROW(publish(store, 1), StoreException);
        EXPECT_EQ(fs::symlink_status(row.path).type(), type);
        EXPECT_EQ(namesIn(folder.path()).size(), 1U);
        fs::remove(row.path);
    }
    // The leftover of a killed writer may be removed.
    std::ofstream(aside) << "VoStash\nhalf a store";
    publish(store, 1);
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"store"});
}

/// Limits the size of the process's files, which acts like a full disk.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(::rlim_t octets)
      : handlerBefore_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        ::rlimit const limit = {octets, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handlerBefore_);
    }

  private:
    ::rlimit before_ = {};
    void (*handlerBefore_)(int);
};

TEST_P(StorePlaces, KeepTheOldStoreOnFullDisk) {
    auto const tooLarge = [&] {
        return refusalOf([&] {
                   FileSizeLimit const limit(16384);
                   publish(store, 9, 4000);
               })
            .reason();
    };
    EXPECT_NE(tooLarge().find("File too large"), std::string::npos);
    EXPECT_FALSE(fs::exists(file)) << "leftover files";
    publish(store, 1);
    StoreManager const reader(store);
    for (int attempt = 0; attempt < 3; ++attempt) {
        tooLarge();
    }
    EXPECT_EQ(numberIn(reader), 1U);
    EXPECT_TRUE(reader.isCurrent());
    EXPECT_EQ(numberIn(StoreManager(store)), 1U);
    EXPECT_EQ(namesIn(folder.path()).size(), GetParam() ? 0U : 1U) << "leftover files";
    EXPECT_EQ(publish(store, 2), 2U);
}

TEST(StorePlace, InvalidNamesAreRefused) {
    StoreFolder const folder;
    std::ofstream(folder.path() + "/file") << "";
    for (auto const& store : {folder.path() + "/file/store", folder.path() + "/none/store",
                              std::string("shm:"), std::string("shm:/a/b"), std::string()}) {
        EXPECT_EQ(refusalOf([&] { publish(store, 1); }).store(), store);
        EXPECT_EQ(refusalOf([&] { StoreManager const manager(store); }).store(), store);
    }
    ::mkfifo((folder.path() + "/pipe").c_str(), 0666);
    EXPECT_EQ(refusalOf([&] { StoreManager(folder.path() + "/pipe"); }).reason(),
              "not a regular file");
    EXPECT_EQ(refusalOf([&] { StoreManager(folder.path() + "/file"); }).reason(),
              "too short for a store");
}

TEST(StoreFile, Generation1FollowsTheLargestAndNone) {
    StoreFolder const folder;
    auto const store = folder.store(false);
    StoreWriter writer;
    put(writer, 1, 1);
    auto const words = writer.image(~U64{0});
    std::ofstream(store, std::ios::binary)
        .write(reinterpret_cast<char const*>(words.data()), std::ssize(words) * 8);
    EXPECT_EQ(StoreManager(store).versionAnchor(), ~U64{0});
    EXPECT_EQ(publish(store, 2), 1U);
    fs::resize_file(store, 32);
    EXPECT_EQ(publish(store, 3), 1U) << "after a part of a header";
    std::ofstream(store, std::ios::binary) << std::string(100, '\0');
    EXPECT_EQ(publish(store, 4), 1U) << "in place of zeros, which a crash may leave";
}

// ---- Damage -------------------------------------------------------------------------------------

using Words = std::vector<U64>;

/// A record of three words at 64, a table of one row, a root, the directory.
Words sound() {
    StoreWriter writer;
    put(writer, 5, 3);
    return writer.image(1);
}

constexpr U64 recordAt = 64, rootAt = recordAt + 32, directoryAt = rootAt + 32;

void half(Words& words, std::size_t offset, U32 value) {
    std::memcpy(reinterpret_cast<char*>(words.data()) + offset, &value, sizeof value);
}

struct Damage {
    char const* name;
    std::function<void(Words&)> change;
    U64 offset;
    char const* reason;
};

/// Expects the operation to refuse each damaged store. `checksum`: make the checksum valid first.
template <class Operation>
void expectRefused(std::span<Damage const> rows, bool checksum, Operation operation) {
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        auto words = sound();
        row.change(words);
        if (checksum) {
            words[Format::checksumWord] = Format::checksum(words);
        }
        auto const refusal = refusalOf([&] { operation(std::as_bytes(std::span(words))); });
        EXPECT_EQ(refusal.store(), "memory");
        EXPECT_EQ(refusal.offset(), row.offset);
        EXPECT_NE(refusal.reason().find(row.reason), std::string::npos) << refusal.reason();
        EXPECT_EQ(refusal.what(),
                  "memory: octet " + std::to_string(row.offset) + ": " + refusal.reason());
    }
}

TEST(StoreDamage, IsDetectedInHeaderAndRecordsOnAttaching) {
    Damage const rows[] = {
        {"magic", [](Words& w) { w[0] ^= 1; }, 0, "magic"},
        {"byte order", [](Words& w) { half(w, 8, 0x04030201); }, 8, "byte order"},
        {"older", [](Words& w) { half(w, 12, 0); }, 12, "version is 0, expected 1"},
        {"newer", [](Words& w) { half(w, 12, 2); }, 12, "version is 2, expected 1"},
        {"longer", [](Words& w) { w[2] += 8; }, 16, "size"},
        {"shorter", [](Words& w) { w[2] -= 8; }, 16, "size"},
        {"uneven", [](Words& w) { w[2] -= 1; }, 16, "size"},
        {"no size", [](Words& w) { w[2] = 0; }, 16, "size"},
        {"huge", [](Words& w) { w[2] = ~U64{7}; }, 16, "size"},
        {"no generation", [](Words& w) { w[3] = w.back() = 0; }, 24, "generation"},
        {"two generations", [](Words& w) { w[3] = 2; }, 24, "generation"},
        {"directory elsewhere", [](Words& w) { w[5] = rootAt; }, 40, "directory"},
        {"directory outside", [](Words& w) { w[5] = ~U64{7}; }, 40, "directory"},
        {"directory unaligned", [](Words& w) { w[5] += 1; }, 40, "directory"},
        {"reserved", [](Words& w) { w[6] = 1; }, 48, "reserved"},
        {"reserved", [](Words& w) { w[7] = U64{1} << 63; }, 48, "reserved"},
        {"empty record", [](Words& w) { half(w, recordAt + 4, 0); }, recordAt, "empty"},
        {"long record", [](Words& w) { half(w, recordAt + 4, 100); }, recordAt, "longer"},
        {"huge record", [](Words& w) { half(w, recordAt + 4, ~0U); }, recordAt, "longer"},
        {"long last record", [](Words& w) { half(w, directoryAt + 4, 3); }, directoryAt, "longer"},
        {"too short", [](Words& w) { w.resize(9); }, 72, "too short"},
        {"nothing", [](Words& w) { w.resize(6); }, 48, "too short"},
    };
    expectRefused(rows, true, [](auto octets) { StoreManager const manager("memory", octets); });
    Damage const unsealed[] = {
        {"a word of a record", [](Words& w) { w[10] ^= 1; }, 32, "checksum"},
        {"the checksum", [](Words& w) { w[4] ^= 1; }, 32, "checksum"},
    };
    expectRefused(unsealed, false,
                  [](auto octets) { StoreManager const manager("memory", octets); });
    auto const words = sound();
    auto const octets = std::as_bytes(std::span(words));
    EXPECT_EQ(refusalOf([&] { StoreManager("memory", octets.first(octets.size() - 1)); }).reason(),
              "size is not a multiple of 8 octets");
}

/// Replaces the root of sound() by one with that body.
void rootIs(Words& words, std::initializer_list<U64> body) {
    auto at = words.begin() + rootAt / 8;
    *at++ = (1 + body.size()) << 32 | kindRoot;
    at = std::copy(body.begin(), body.end(), at);
    *at = U64{3 - body.size()} << 32 | kindNumbers; // the rest
}

TEST(StoreDamage, IsDetectedInReferencesOnReading) {
    constexpr auto longName = U64{1} << 63;
    Damage const rows[] = {
        {"root outside", [](Words& w) { w[directoryAt / 8 + 1] = 1 << 20; }, 1 << 20, "no record"},
        {"root far outside", [](Words& w) { w[directoryAt / 8 + 1] = ~U64{7}; }, ~U64{7},
         "no record"},
        {"root unaligned", [](Words& w) { w[directoryAt / 8 + 1] += 4; }, rootAt + 4, "no record"},
        {"root inside", [](Words& w) { w[directoryAt / 8 + 1] += 8; }, rootAt + 8, "no record"},
        {"root in the header", [](Words& w) { w[directoryAt / 8 + 1] = 56; }, 56, "no record"},
        {"root at the end", [](Words& w) { w[directoryAt / 8 + 1] = directoryAt + 16; },
         directoryAt + 16, "no record"},
        {"root of another kind", [](Words& w) { w[directoryAt / 8 + 1] = recordAt; }, recordAt,
         "record kind is 116, expected 1"},
        {"name too long", [](Words& w) { w[rootAt / 8 + 2] = 9; }, rootAt + 16, "name"},
        {"name far too long", [](Words& w) { w[rootAt / 8 + 2] = longName; }, rootAt + 16, "name"},
        {"no name", [](Words& w) { rootIs(w, {recordAt}); }, rootAt + 8, "no name"},
        {"name of 2^64 octets",
         [](Words& w) {
             rootIs(w, {recordAt, ~U64{0}});
         },
         rootAt + 16, "name"},
        {"name too short", [](Words& w) { w[rootAt / 8 + 2] = 0; }, rootAt + 16, "name"},
        {"octets behind a name", [](Words& w) { w[rootAt / 8 + 3] |= U64{1} << 63; }, rootAt + 24,
         "not zero"},
        {"another kind of directory", [](Words& w) { half(w, directoryAt, kindTable); },
         directoryAt, "record kind is 3, expected 2"},
        {"record of the root", [](Words& w) { w[rootAt / 8 + 1] = 8; }, 8, "no record"},
        {"nothing for a root", [](Words& w) { w[rootAt / 8 + 1] = 0; }, 0, "no record"},
    };
    expectRefused(rows, true, [](auto octets) {
        StoreManager const manager("memory", octets);
        auto const before = octetsAllocatedSoFar();
        try {
            numberIn(manager);
        } catch (StoreException const&) {
            EXPECT_LT(octetsAllocatedSoFar() - before, 2000U);
            throw;
        }
    });
    StoreWriter writer;
    auto const* const odd = writer.recordIs(kindTable, std::array<U64, 3>{});
    auto const words = writer.image(1);
    StoreManager const manager("memory", std::as_bytes(std::span(words)));
    EXPECT_EQ(refusalOf([&] { StoredTable(manager, odd); }).offset(), storedOffset(odd) + 24);
}

/// Comparing many long names must not take time in proportion to the product.
TEST(StoreDamage, CannotSlowDownRootLookUps) {
    StoreWriter writer;
    writer.rootIs(std::string(1 << 20, 'n'), writer.recordIs(kindNumbers, {}));
    auto words = writer.image(1);
    auto const rootOffset = words[words.size() - 2];
    words.resize(words.size() - 3); // without directory and generation
    words[5] = words.size() * 8;
    constexpr std::size_t names = 200000;
    words.push_back(U64{names + 1} << 32 | kindDirectory);
    words.insert(words.end(), names, rootOffset);
    words.push_back(1);
    words[2] = words.size() * 8;
    words[Format::checksumWord] = Format::checksum(words);
    StoreManager const manager("memory", std::as_bytes(std::span(words)));
    auto const before = octetsAllocatedSoFar();
    EXPECT_EQ(manager.root("another"), nullptr);
    EXPECT_LT(octetsAllocatedSoFar() - before, 1U << 20);
}

/// Another process writes to the mapped store; its sizes were valid on attaching.
TEST_P(StorePlaces, DetectChangesUnderAReader) {
    publish(store, 1, 3);
    StoreManager const manager(store);
    auto const* const record = manager.root("numbers");
    for (U64 const words : {0U, 1000U, ~0U}) {
        wordIs(file, (GetParam() ? 4096 : 0) + storedOffset(record), words << 32 | kindNumbers);
        auto const refusal = refusalOf([&] { manager.translate(record, kindNumbers); });
        EXPECT_EQ(refusal.offset(), storedOffset(record)) << words;
    }
}

// ---- Cut while it is read -----------------------------------------------------------------------

TEST_P(StorePlaces, DetectTruncationUnderAReader) {
    constexpr std::size_t words = 4096;
    publish(store, 1, words);
    auto const whole = fs::file_size(file);
    for (std::uintmax_t const left : {whole - 8, whole - 1000, std::uintmax_t{20000}, 12289UL,
                                      12288UL, 8192UL, 4097UL, 4096UL, 4095UL, 64UL, 1UL, 0UL}) {
        SCOPED_TRACE(left);
        removeStore(store);
        publish(store, 1, words);
        StoreManager const manager(store);
        fs::resize_file(file, left);
        if (left % 16 == 0) { // or validate immediately
            EXPECT_THROW(numberIn(manager), StoreException);
        }
        // Within its last page a truncated file reads as zeros, without a signal.
        bool const isReported = (left + 4095) / 4096 < (whole + 4095) / 4096;
        auto const refusal = refusalOf([&] { manager.validateVersionAnchor(); });
        EXPECT_EQ(refusal.reason().find("truncated") != std::string::npos, isReported);
        EXPECT_FALSE(manager.isCurrent());
        EXPECT_THROW(StoreManager{store}, StoreException);
    }
}

// ---- Threads ------------------------------------------------------------------------------------

/// Several threads attach to stores that are replaced and to files that are truncated.
TEST(StoreThreads, ReadStoresThatAreReplacedAndTruncated) {
    StoreFolder const folder("/dev/shm/"); // in memory, for speed
    std::atomic<int> read = 0, cut = 0;
    auto const work = [&](int thread) {
        auto const own = folder.path() + "/cut-" + std::to_string(thread);
        for (int round = 0; round < 40; ++round) {
            publish(own, 7, 2000);
            StoreManager const manager(own);
            std::vector<std::unique_ptr<StoreManager>> others;
            for (int count = 0; count < 4; ++count) {
                publish(folder.path() + "/shared", 8, 1000);
                others.push_back(std::make_unique<StoreManager>(folder.path() + "/shared"));
            }
            fs::resize_file(own, 4096);
            others.pop_back();
            EXPECT_THROW(numberIn(manager), StoreException);
            ++cut;
            for (auto const& other : others) {
                EXPECT_EQ(numberIn(*other), 8U);
                ++read;
            }
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back(work, thread);
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(read, 480);
    EXPECT_EQ(cut, 160);
}

TEST_P(StorePlaces, SerializeTheirWriters) {
    constexpr U64 each = 25;
    std::array<std::vector<U64>, 4> generations;
    std::vector<std::thread> threads;
    for (auto& mine : generations) {
        threads.emplace_back([&] {
            for (U64 count = 0; count < each; ++count) {
                mine.push_back(publish(store, 7, 1 + count * 50));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    std::set<U64> all;
    for (auto const& mine : generations) {
        EXPECT_TRUE(std::is_sorted(mine.begin(), mine.end()));
        all.insert(mine.begin(), mine.end());
    }
    EXPECT_EQ(all.size(), each * generations.size()) << "two stores of one generation";
    EXPECT_EQ(*all.rbegin(), each * generations.size());
    EXPECT_EQ(StoreManager(store).versionAnchor(), each * generations.size());
}

TEST(StoreThreads, CanRemoveAStoreWhileItIsPublished) {
    StoreFolder const folder("/dev/shm/"); // in memory, for speed
    for (bool const isSegment : {false, true}) {
        auto const store = folder.store(isSegment);
        std::atomic<bool> stopped = false;
        std::thread remover([&] {
            while (!stopped) {
                removeStore(store);
            }
        });
        for (int count = 0; count < 3000; ++count) {
            EXPECT_NO_THROW(publish(store, 1));
        }
        stopped = true;
        remover.join();
        removeStore(store);
        EXPECT_EQ(publish(store, 1), 1U);
    }
}

TEST(StoreThreads, NeverReadAMixtureOfTwoStoresFromASegment) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    publish(store, 1, 10);
    std::atomic<bool> stopped = false;
    std::thread writer([&] {
        for (U64 number = 2; !stopped; ++number) {
            publish(store, number, 10 + number * 97 % 1500);
        }
    });
    std::vector<std::thread> readers;
    for (int thread = 0; thread < 2; ++thread) {
        readers.emplace_back([&] {
            U64 last = 0;
            for (int rebuilt = 0; rebuilt < 300;) {
                try {
                    auto const number = numberIn(StoreManager(store));
                    EXPECT_GE(number, last);
                    last = number;
                    ++rebuilt;
                } catch (StaleStoreException const&) {
                }
            }
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    stopped = true;
    writer.join();
}

} // namespace
} // namespace MoxStash
