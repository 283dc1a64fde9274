/// Fuzzes a BMP session: reads it at once and again in pieces, with the same result. Its
/// communities are interned, serialized and decoded again.
#include "AttributeCheck.h"
#include "bmp/BmpReader.h"
#include "bmp/BmpStream.h"

#include <Mox/Assert.h>

#include <algorithm>
#include <string>

namespace BgpCommunities::Test {
namespace {

/// Records a line for each call.
class LoggingHandler final : public BmpHandler {
  public:
    explicit LoggingHandler(AttributeCheck* attributeCheck)
      : check_(attributeCheck) {}

    void handleMessage(BmpType type) override { line(std::to_string(static_cast<int>(type))); }

    void handleSystem(BmpSystem const& system) override {
        line(std::string(system.name) + " " + std::string(system.description));
    }

    void handleTermination(std::string_view reason) override { line(std::string(reason)); }

    void handlePeerUp(BmpPeer const& peer, BmpPeerUp const& up) override {
        MOX_ASSERT(up.sentOpen.whole && up.receivedOpen.whole);
        line(textOf(peer) + " up");
    }

    void handlePeerDown(BmpPeer const& peer, std::string_view reason) override {
        line(textOf(peer) + std::string(reason));
    }

    void handleUpdate(BmpPeer const& peer, BmpUpdate const& update) override {
        line(textOf(peer) + " update");
        for (auto const* const routes :
             {&update.content.withdrawn(), &update.content.announced()}) {
            for (Route const& route : *routes) {
                appendText(text, route);
            }
        }
        MOX_ASSERT(!update.content.endOfRib() ||
                   (update.content.withdrawn().empty() && update.content.announced().empty()));
        for (CommunityAttribute const& attribute : update.content.attributes().communities) {
            if (check_ != nullptr) {
                check_->check(attribute.kind, attribute.value);
            }
        }
    }

    void handleProblem(std::string const& reason) override {
        MOX_ASSERT(!reason.empty() && reason.find('\n') == std::string::npos);
        line(reason);
    }

    std::string text;

  private:
    static std::string textOf(BmpPeer const& peer) {
        std::string out(nameOf(peer.view));
        appendText(out += ' ', peer.peer());
        return out;
    }

    void line(std::string const& event) { text += event + "\n"; }

    AttributeCheck* check_;
};

/// Reads the session in pieces of `step` octets.
std::string read(Octets octets, std::size_t atATime, AttributeCheck* check) {
    LoggingHandler handler(check);
    BmpReader reader(handler);
    BmpStream stream(1U << 16);
    std::size_t taken = 0;
    while (stream.fault().empty() && taken < octets.size()) {
        auto const piece = octets.subspan(taken).first(std::min(atATime, octets.size() - taken));
        taken += piece.size();
        bool const sound = stream.add(piece, [&](BmpMessage const& each) { reader.read(each); });
        MOX_ASSERT(sound == stream.fault().empty() && stream.pendingOctets() <= taken);
    }
    return handler.text + stream.fault();
}

} // namespace
} // namespace BgpCommunities::Test

extern "C" int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size);

int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size) {
    using namespace BgpCommunities;
    static Test::AttributeCheck check;
    Octets const octets(data, size);
    std::string const whole = Test::read(octets, std::max<std::size_t>(size, 1), &check);
    for (std::size_t const atATime : {1U, 5U, 61U}) {
        MOX_ASSERT(Test::read(octets, atATime, nullptr) == whole);
    }
    return 0;
}
