#pragma once

#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mrt/MrtReader.h"
#include "support/DumpOctets.h"

namespace BgpCommunities::Test {

// ---- Records ----

inline constexpr unsigned int tableDump = 12;
inline constexpr unsigned int tableDumpV2 = 13;
inline constexpr unsigned int bgp4mp = 16;
inline constexpr unsigned int bgp4mpEt = 17;

inline std::string const peer2 = hex("fbf0 fbff 0000 0001 c0000201 c00002fe");
inline std::string const peers =
    record(tableDumpV2, 1,
           hex("c00002fe 0000 0002  00 c0000201 c0000201 fbf0"
               "03 c0000202 20010db8000000000000000000000002 00010000"));

// ---- Delivered routes as text ----

inline std::string text(std::span<Route const> routes) {
    std::string out;
    for (Route const& route : routes) {
        out += out.empty() ? "" : " ";
        if (route.hasPathId) {
            out += std::to_string(route.pathId) + "@";
        }
        appendText(out, route);
        out += route.family.safi == safiMulticast ? "(multicast)" : "";
    }
    return out;
}

inline std::string text(Peer const& peer) {
    std::string out;
    appendText(out, peer);
    return out;
}

/// " TYPE#REPETITION/OCTETS" for each attribute.
inline std::string text(std::span<CommunityAttribute const> communities) {
    std::string out;
    for (CommunityAttribute const& attribute : communities) {
        out += " " + std::to_string(traitsOf(attribute.kind).attributeType) + "#" +
               std::to_string(attribute.repetition) + "/" + std::to_string(attribute.value.size());
    }
    return out;
}

/// Records every call in one line; problems as "record@offset: reason".
class Recorder : public RouteHandler {
  public:
    void handleUpdate(Update const& update) override {
        lines.push_back(text(update.peer) + (update.sentByUs ? " sent +" : " +") +
                        text(update.announced) + " -" + text(update.withdrawn) +
                        text(update.communities));
    }

    void handleRibEntry(RibEntry const& entry) override {
        lines.push_back(text(entry.peer) + " " + text(std::span(&entry.route, 1)) +
                        text(entry.communities));
    }

    void handleStateChange(StateChange const& change) override {
        lines.push_back(text(change.peer) + " " + std::to_string(change.oldState) + ">" +
                        std::to_string(change.newState));
    }

    void handleProblem(Problem const& problem) override {
        kinds.push_back(problem.kind);
        problems.push_back(std::to_string(problem.at.number) + "@" +
                           std::to_string(problem.at.offset) + ": " + problem.reason);
    }

    std::vector<std::string> lines;
    std::vector<std::string> problems;
    std::vector<ProblemKind> kinds;
};

using Lines = std::vector<std::string>;

inline MrtCounts read(std::string const& dump, Recorder& recorder,
                      AddPath addPath = AddPath::automatic) {
    TemporaryFile const file(dump);
    InputStream input(file.path());
    MrtReader reader(input, recorder, addPath);
    while (reader.next()) {
    }
    EXPECT_FALSE(reader.next());
    return reader.counts();
}

} // namespace BgpCommunities::Test
