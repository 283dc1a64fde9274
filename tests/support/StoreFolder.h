#pragma once

#include <MoxStash/StorePublisher.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

/// Unique places for the stores of one test: a folder for files, and names of segments. The
/// destructor removes everything.
class StoreFolder {
  public:
    explicit StoreFolder(std::string const& parent = testing::TempDir())
      : path_(parent + "stores-XXXXXX") {
        if (::mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no folder " + path_);
        }
        segment_ = "shm:/vobgp-test-" + path_.substr(path_.size() - 6);
    }

    ~StoreFolder() {
        std::filesystem::remove_all(path_);
        MoxStash::removeStore(segment_);
    }

    StoreFolder(StoreFolder const&) = delete;
    StoreFolder& operator=(StoreFolder const&) = delete;

    std::string const& path() const { return path_; }

    /// The name of a store in a segment or in a file.
    std::string store(bool isSegment) const { return isSegment ? segment_ : path_ + "/store"; }

    /// The path of the store in the file system.
    std::string fileOf(std::string const& store) const {
        return store == segment_ ? "/dev/shm/" + segment_.substr(5) : store;
    }

  private:
    std::string path_;
    std::string segment_;
};

/// Runs tests with both places.
class StorePlaces : public testing::TestWithParam<bool> {
  protected:
    explicit StorePlaces(std::string const& parent = testing::TempDir())
      : folder(parent) {}

    StoreFolder folder;
    std::string store = folder.store(GetParam());
    std::string file = folder.fileOf(store);
};

inline std::string storePlaceName(testing::TestParamInfo<bool> const& info) {
    return info.param ? "Segment" : "File";
}
