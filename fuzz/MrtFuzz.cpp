/// Fuzzes an MRT dump, plain or compressed: its communities are interned, serialized and decoded
/// again.
#include "AttributeCheck.h"
#include "input/InputStream.h"
#include "mrt/MrtReader.h"

#include <Mox/Assert.h>

#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace BgpCommunities::Test {
namespace {

class CheckingHandler final : public RouteHandler {
  public:
    explicit CheckingHandler(AttributeCheck& attributeCheck)
      : check_(attributeCheck) {}

    void handleUpdate(Update const& update) override { check(update.communities); }
    void handleRibEntry(RibEntry const& entry) override { check(entry.communities); }

    void handleProblem(Problem const& problem) override {
        MOX_ASSERT(!problem.reason.empty() && problem.reason.find('\n') == std::string::npos);
    }

  private:
    void check(std::span<CommunityAttribute const> communities) {
        for (CommunityAttribute const& attribute : communities) {
            check_.check(attribute.kind, attribute.value);
        }
    }

    AttributeCheck& check_;
};

/// A file in memory with the octets.
class MemoryFile {
  public:
    explicit MemoryFile(Octets octets)
      : fd_(::memfd_create("input", MFD_CLOEXEC)) {
        MOX_ASSERT(::write(fd_, octets.data(), octets.size()) == std::ssize(octets));
    }
    ~MemoryFile() { ::close(fd_); }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

  private:
    int fd_;
};

} // namespace
} // namespace BgpCommunities::Test

extern "C" int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size);

int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size) {
    using namespace BgpCommunities;
    static Test::AttributeCheck check;
    Test::MemoryFile const file(Octets(data, size));
    Test::CheckingHandler handler(check);
    InputStream input(file.path());
    MrtReader reader(input, handler);
    try {
        while (reader.next()) {
        }
        MOX_ASSERT(!reader.next());
    } catch (InputError const&) {
        // An archive, which is refused.
    }
    return 0;
}
