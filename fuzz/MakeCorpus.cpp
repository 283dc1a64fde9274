/// Writes the initial corpus: small stores, and the first records and attributes of the sample
/// dumps. The files are the same on every run; inputs found by a fuzzer are kept.
///
///     MakeCorpus SAMPLES CORPUS
#include "StoreContent.h"
#include "input/InputStream.h"
#include "mrt/MrtReader.h"

#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

using namespace BgpCommunities;
using Routing::Bgp::Test::StoreSample;

void writeFile(std::filesystem::path const& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    if (!(out << content).flush()) {
        throw std::runtime_error(path.string() + ": cannot write");
    }
}

void writeStores(std::filesystem::path const& corpus) {
    StoreSample sample;
    for (MoxStash::U32 const members : {0U, 1U, 5U, 20U}) {
        MoxStash::StoreWriter writer;
        sample.stash(writer, 7, members);
        auto const words = writer.image(1);
        writeFile(corpus / "StoreFuzz" / ("members-" + std::to_string(members)),
                  {reinterpret_cast<char const*>(words.data()), words.size() * sizeof words[0]});
    }
}

/// Writes the first octets of a sample, decompressed, for a fuzzer.
void writeSample(std::filesystem::path const& dump, std::filesystem::path const& folder) {
    constexpr std::size_t octets = 4096;
    InputStream input(dump);
    std::string content(octets, '\0');
    std::size_t size = 0;
    while (size < octets) {
        auto const got = input.read({reinterpret_cast<U8*>(&content[size]), octets - size});
        if (got == 0) {
            break;
        }
        size += got;
    }
    content.resize(size);
    writeFile(folder / dump.stem().stem(), content);
}

/// Writes the first attributes of each kind.
class AttributeWriter final : public RouteHandler {
  public:
    explicit AttributeWriter(std::filesystem::path folder)
      : folder_(std::move(folder)) {}

    void handleUpdate(Update const& update) override {
        constexpr unsigned wanted = 8;
        for (CommunityAttribute const& attribute : update.communities) {
            auto& written = written_[static_cast<std::size_t>(attribute.kind)];
            if (written < wanted) {
                write(attribute, ++written);
            }
        }
    }

    void handleProblem(Problem const& /*problem*/) override {}

  private:
    void write(CommunityAttribute const& attribute, unsigned number) {
        auto const type = traitsOf(attribute.kind).attributeType;
        std::string content(1, static_cast<char>(type));
        content.append(reinterpret_cast<char const*>(attribute.value.data()),
                       attribute.value.size());
        writeFile(folder_ / ("type-" + std::to_string(type) + "-" + std::to_string(number)),
                  content);
    }

    std::filesystem::path const folder_;
    std::array<unsigned, communityKinds> written_{};
};

void writeCorpus(std::filesystem::path const& samples, std::filesystem::path const& corpus) {
    writeStores(corpus);
    for (char const* const name : {"updates.mrt.gz", "rib.mrt.gz", "damaged.mrt"}) {
        writeSample(samples / name, corpus / "MrtFuzz");
    }
    writeSample(samples / "session.bmp", corpus / "BmpFuzz");
    AttributeWriter attributes(corpus / "AttributeFuzz");
    InputStream updates(samples / "updates.mrt.gz");
    for (MrtReader reader(updates, attributes); reader.next();) {
    }
}

} // namespace

int main(int count, char* arguments[]) {
    try {
        if (count != 3) {
            throw std::invalid_argument("SAMPLES CORPUS");
        }
        writeCorpus(arguments[1], arguments[2]);
        return 0;
    } catch (std::exception const& exception) {
        std::fprintf(stderr, "%s: %s\n", arguments[0], exception.what());
        return 1;
    }
}
