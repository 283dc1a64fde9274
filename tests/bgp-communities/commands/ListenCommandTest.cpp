#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <MoxStash/StoreManager.h>

#include <gtest/gtest.h>

#include "bmp/TcpSocket.h"
#include "support/BmpOctets.h"
#include "support/ProgramRun.h"
#include "support/StoreFolder.h"

namespace BgpCommunities {
namespace {

using namespace Test;

/// Calls `holds()` until it returns true, for at most a minute.
template <class Holds>
bool eventually(Holds const& holds) {
    for (int tries = 0; tries < 3000; ++tries) {
        if (holds()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

/// A running program. The destructor kills it unless the test waited for its end.
class Running {
  public:
    explicit Running(Arguments const& arguments) {
        Descriptor const in("/dev/null", O_RDONLY);
        Descriptor const out(out_.path(), O_WRONLY), err(err_.path(), O_WRONLY);
        pid_ = start(arguments, in.fd(), out.fd(), err.fd());
    }
    ~Running() {
        if (pid_ > 0) {
            end(SIGKILL);
        }
    }

    int end(int signal) {
        ::kill(pid_, signal);
        return finish();
    }
    int finish() { return Test::finish(std::exchange(pid_, -1)); }
    void signal(int number) const { ::kill(pid_, number); }

    /// Suspends the program and waits until all its threads have stopped.
    void suspend() const {
        signal(SIGSTOP);
        EXPECT_EQ(::waitpid(pid_, nullptr, WUNTRACED), pid_);
    }

    /// From now on the program cannot make a file longer.
    void limitFiles(rlim_t octets) const {
        rlimit const limit = {octets, octets};
        EXPECT_EQ(::prlimit(pid_, RLIMIT_FSIZE, &limit, nullptr), 0);
    }

    [[nodiscard]] std::string out() const { return contentOf(out_.path()); }
    [[nodiscard]] std::string err() const { return contentOf(err_.path()); }

    /// Waits until standard error contains the text at least that many times.
    [[nodiscard]] bool says(std::string const& text, int times = 1) const {
        return eventually([&] {
            std::string const all = err();
            int found = 0;
            for (auto at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) {
                ++found;
            }
            return found >= times;
        });
    }

  private:
    TemporaryFile out_{""}, err_{""};
    pid_t pid_ = -1;
};

/// A station on a free port of the loopback address.
class Listening : public Running {
  public:
    explicit Listening(Arguments options)
      : Running(withAddress(std::move(options))) {
        address = addressAfter("listening for BMP on ");
    }

    /// Returns the address after `head` on standard error.
    [[nodiscard]] std::string addressAfter(std::string const& head) const {
        EXPECT_TRUE(says(head) && eventually([&] { return err().back() == '\n'; }));
        std::string const text = err();
        auto const at = text.find(head) + head.size();
        return text.substr(at, text.find('\n', at) - at);
    }

    /// Connects as a router and sends the octets.
    [[nodiscard]] FileDescriptor router(std::string const& octets) const {
        return connection(address, octets);
    }

    static FileDescriptor connection(std::string const& address, std::string const& octets) {
        SocketAddress to;
        EXPECT_EQ(readSocketAddress(address, to), "");
        FileDescriptor socket = connectTo(to);
        EXPECT_EQ(::send(socket.get(), octets.data(), octets.size(), MSG_NOSIGNAL),
                  std::ssize(octets));
        return socket;
    }

    std::string address;

  private:
    static Arguments withAddress(Arguments options) {
        options.insert(options.begin(), {"listen", "--bmp", ":0"});
        return options;
    }
};

std::string const terminated = "session ended: terminated by the router";

/// Returns the lines of routes, without the fields of the file or the session, and without `sent`,
/// which a station prints as a view.
Lines routesOf(std::string const& json, std::string const& sent = R"("sent":true,)") {
    Lines routes;
    for (std::string line : linesOf(json)) {
        bool const isRoute = line.find(R"("family":)") != std::string::npos &&
                             line.find(R"("type":"endOfRib")") == std::string::npos;
        line.erase(0, line.find(R"("time":)"));
        if (auto const at = line.find(sent); at != std::string::npos) {
            line.erase(at, sent.size());
        }
        if (auto const view = line.find(R"("view":)"); view != std::string::npos) {
            line.erase(view, line.find(',', view) + 1 - view);
        }
        if (isRoute) {
            routes.push_back(line);
        }
    }
    return routes;
}

/// The routes of a sent dump, as printed and as recorded, are those of the dump.
TEST(ListenCommandTest, PrintsAndRecordsRoutesAsRead) {
    StoreFolder const folder;
    for (char const* const name :
         {"updates.mrt.gz", "targets.mrt", "add-path-marked.mrt", "add-path-unmarked.mrt"}) {
        std::string const recorded = folder.path() + "/" + name;
        Listening station({"--json", "--record", recorded});
        Result const sent = run({"send", "--bmp", station.address, sample(name)});
        EXPECT_EQ(sent.status, 0) << sent.err;
        EXPECT_TRUE(station.says(terminated));
        EXPECT_EQ(station.end(SIGTERM), 0) << station.err();
        std::string const read = run({"read", "--json", sample(name)}).out;
        EXPECT_NE(read, "");
        EXPECT_EQ(routesOf(station.out()), routesOf(read)) << name;
        EXPECT_EQ(routesOf(run({"read", "--json", recorded}).out, ""), routesOf(read, "")) << name;
        std::string const records = contentOf(recorded);
        EXPECT_TRUE(records.ends_with(hex("0006 0001"))) << "no longer Established";
        EXPECT_TRUE(records.find(hex("0011 0009")) != std::string::npos || // MESSAGE_AS4_ADDPATH
                    !std::string(name).starts_with("add-path"));
    }
}

TEST(ListenCommandTest, ReceivesEntriesOfTableDumps) {
    auto const entry = [](std::string const& prefix, std::size_t octets) {
        std::string const area = attribute(8, std::string(octets, '\1'));
        return record(13, 2, u32(0) + prefix + u16(1) + u16(0) + u32(0) + u16(area.size()) + area);
    };
    TemporaryFile const dump(
        record(13, 1, hex("c00002fe 0000 0001 02 c0000201 c0000201 0000fbf0")) +
        entry(prefixNear, 256) + entry(prefixFar, 65528)); // the latter fits no UPDATE
    Listening station({"--json"});
    Result const sent = run({"send", "--bmp", station.address, dump.path()});
    EXPECT_NE(sent.out.find(" 1 entries of table dumps; 1 not sent"), std::string::npos);
    EXPECT_TRUE(station.says(terminated));
    EXPECT_EQ(station.end(SIGTERM), 0);
    Lines const routes = routesOf(station.out());
    ASSERT_EQ(routes.size(), 1U);
    EXPECT_NE(routes[0].find(R"("192.0.2.0/24","communities":{"standard":)"), std::string::npos);
}

TEST(ListenCommandTest, PublishesTheListsOfRoutes) {
    StoreFolder const folder;
    std::string const store = folder.store(false), stashed = folder.path() + "/stashed";
    ASSERT_EQ(run({"stash", "--out", stashed, sample("rib.mrt.gz")}).status, 0);
    auto const lists = [](std::string const& of) {
        std::set<std::string> texts;
        for (std::string const& line : linesOf(run({"show", of}).out)) {
            texts.insert(line.substr(line.find('\t')));
        }
        return texts;
    };
    auto const wanted = lists(stashed);
    Listening station({"--store", store, "--every", "1"});
    Running sender({"send", "--hold", "--bmp", station.address, sample("rib.mrt.gz")});
    EXPECT_TRUE(eventually([&] { return lists(store) == wanted; }));
    sender.end(SIGKILL);
    EXPECT_TRUE(eventually([&] { return lists(store).empty(); })) << "routes are withdrawn";
    auto const router = station.router(bmp(4, bmpTlv(2, "edge")) + bmp(3, bmpPeerUp()));
    auto const holds = [&](std::string const& messages, std::set<std::string> const& texts) {
        ::send(router.get(), messages.data(), messages.size(), MSG_NOSIGNAL);
        return eventually([&] { return lists(store) == texts; });
    };
    auto const carrying = [](unsigned int community) {
        return update(attribute(8, u32(community)), prefixFar);
    };
    unsigned int const post = 0x40;
    EXPECT_TRUE(holds(bmp(0, bmpPeer() + carrying(7)) + bmp(0, bmpPeer(1, post) + carrying(8)),
                      {"\tstandard\t0:7", "\tstandard\t0:8"}))
        << "views are kept apart";
    {
        MoxStash::StoreManager const reader(store);
        auto const* const view = reader.root("standard of edge/192.0.2.1 AS64496/adjRibInPost");
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(MoxStash::StoredTable(reader, view).size(), 1U);
    }
    EXPECT_TRUE(holds(bmp(0, bmpPeer(1, post) + update("", "", prefixFar)), {"\tstandard\t0:7"}));
    EXPECT_TRUE(holds(bmp(2, bmpPeer() + u8(4)), {})) << "the peer is down";
    EXPECT_TRUE(holds(bmp(3, bmpPeerUp()) + bmp(0, bmpPeer() + carrying(9)), {"\tstandard\t0:9"}));
    station.end(SIGKILL);
    std::set<std::string> const last = {"\tstandard\t0:9"};
    EXPECT_EQ(lists(store), last) << "the last whole store";
    Listening restarted({"--store", store, "--every", "1"});
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    EXPECT_EQ(lists(store), last) << "until the first route changes";
    std::string const obstacle = store + ".new"; // the file that is written first
    std::filesystem::create_directory(obstacle);
    auto const again =
        restarted.router(bmp(4, "") + bmp(3, bmpPeerUp()) + bmp(0, bmpPeer() + carrying(7)));
    EXPECT_TRUE(restarted.says(store + ": ")) << "a publication failed";
    std::filesystem::remove(obstacle);
    EXPECT_TRUE(eventually([&] { return lists(store).contains("\tstandard\t0:7"); }));
}

/// Each bad session ends and its reason is reported; a good one continues.
TEST(ListenCommandTest, EndsOnlyBadSessions) {
    struct Row {
        char const* name;
        Arguments options;
        std::string octets;
        char const* reason;
        std::string more = ""; // sent again and again
    };

    std::string const routes = bmp(4, "") + bmp(3, bmpPeerUp()), locRib = u8(3);
    std::string const target = attribute(16, hex("0002fbf400000007")),
                      malformed = attribute(8, "1");
    std::string const one = bmp(0, bmpPeer() + update(target, prefixNear));
    std::string const two = bmp(0, bmpPeer() + update("", prefixFar));
    std::string const badOne = bmp(0, bmpPeer() + update(malformed, prefixNear));
    // IPv4 in a socket for IPv6, where there are some.
    bool const hasIpv6 = std::filesystem::exists("/proc/net/if_inet6");
    std::string const mapped = hasIpv6 ? "[::ffff:127.0.0.1]:0" : ":0";
    for (Row const& row : std::vector<Row>{
             {"not BMP", {}, "GET / HTTP/1.0\r\n\r\n", "ended: unknown BMP version 71"},
             {"wrong length",
              {},
              routes + "\x03" + u32(2) + u8(0),
              "ended: BMP message length 2 is less than its header"},
             {"too long",
              {"--max-message", "4096"},
              routes + "\x03" + u32(4097) + u8(0),
              "ended: BMP message of 4097 octets, at most 4096 are accepted"},
             {"silent", {"--timeout", "2"}, "", "ended: timed out"},
             {"never a whole message",
              {"--timeout", "2"},
              "\x03" + u32(9999),
              "ended: timed out",
              "."},
             {"too many routes",
              {"--max-routes", "1", "--targets"},
              routes + one + two + bmp(0, bmpPeer() + update("", hex("18 cb0071"))),
              "ended: more than 1 routes; 2 routes withdrawn"},
             {"a malformed attribute",
              {},
              routes + badOne,
              "malformed attribute of communities: routes withdrawn"},
             {"no route left",
              {},
              routes + two + bmp(3, bmpPeerUp()) + one + badOne +
                  bmp(3, locRib + bmpPeerUp().substr(1)) +
                  bmp(0, locRib + bmpPeer().substr(1) + update("", prefixNear)) +
                  bmp(2, locRib + bmpPeer().substr(1) + u8(4)) + "x",
              "ended: unknown BMP version 120; 0 routes withdrawn"},
             {"an address that is not allowed",
              {"--bmp", mapped, "--allow", "192.0.2.0/24", "--allow", "::/0"},
              "",
              "refused: address is not allowed"},
             {"too many sessions", {"--max-sessions", "1"}, "", "refused: too many sessions"},
         }) {
        Listening station(row.options);
        bool const isRefused = std::string(row.reason).starts_with("refused");
        FileDescriptor const good = station.router(bmp(4, bmpTlv(2, "good")));
        EXPECT_TRUE(row.options.size() == 6 || station.says("(good)")) << row.name;
        {
            FileDescriptor const bad = station.router(row.octets);
            EXPECT_TRUE(eventually([&] {
                ::send(bad.get(), row.more.data(), row.more.size(), MSG_NOSIGNAL);
                return station.err().find(row.reason) != std::string::npos;
            })) << row.name
                << ": " << station.err();
        }
        EXPECT_EQ(station.end(SIGTERM), 0);
        EXPECT_TRUE(isRefused || station.says("(good): session ended: the station stops"))
            << row.name << ": " << station.err();
        EXPECT_EQ(station.out().find("publication"), std::string::npos) << station.out();
    }
}

/// Octets that arrived in time count, even if the station was too busy to read them.
TEST(ListenCommandTest, ReadsBeforeItTimesOut) {
    Listening station({"--timeout", "8"});
    std::vector<FileDescriptor> routers(100); // more than are read at a time
    for (FileDescriptor& router : routers) {
        router = station.router("");
    }
    EXPECT_TRUE(station.says("connected", 100));
    station.suspend();
    std::string const octets = bmp(4, bmpTlv(2, "in time"));
    for (FileDescriptor const& router : routers) {
        ::send(router.get(), octets.data(), octets.size(), MSG_NOSIGNAL);
    }
    std::this_thread::sleep_for(std::chrono::seconds(9));
    station.signal(SIGCONT);
    EXPECT_TRUE(station.says("(in time): ", 100));
    EXPECT_EQ(station.end(SIGTERM), 0);
}

/// Sessions of several workers start, and end in the middle of messages.
TEST(ListenCommandTest, KeepsNothingOfFlappingSessions) {
    StoreFolder const folder;
    Listening station(
        {"--threads", "4", "--targets", "--store", folder.store(true), "--every", "1"});
    std::string const session = contentOf(sample("session.bmp"));
    std::vector<std::thread> routers;
    for (std::size_t router = 0; router < 8; ++router) {
        routers.emplace_back([&, router] {
            for (std::size_t turn = 1; turn <= 20; ++turn) {
                auto const whole =
                    station.router(session.substr(0, session.size() - turn * router));
            }
        });
    }
    Result const sent =
        run({"send", "--repeat", "20", "--bmp", station.address, sample("updates.mrt.gz")});
    for (std::thread& router : routers) {
        router.join();
    }
    EXPECT_EQ(sent.status, 0) << sent.err;
    EXPECT_TRUE(station.says("session ended", 161));
    EXPECT_EQ(station.end(SIGTERM), 0) << station.err(); // 3 if a list is still interned
    std::set<std::string> inUse;
    for (std::string const& line : linesOf(station.out())) {
        std::string const what = line.substr(2, line.find('\t') - 2);
        EXPECT_TRUE(line[0] == '+' ? inUse.insert(what).second : inUse.erase(what) == 1) << line;
    }
    EXPECT_TRUE(inUse.empty());
}

TEST(ListenCommandTest, ServesMetricsAndRotatesRecordings) {
    StoreFolder const folder;
    std::string const recorded = folder.path() + "/recorded";
    std::string const store = folder.store(true);
    std::ofstream(recorded) << "old";
    Listening station({"--metrics", ":0", "--record", recorded, "--record-octets", "20000",
                       "--store", store, "--every", "86400"});
    std::string const metrics = station.addressAfter("serving metrics on ");
    Running sender({"send", "--hold", "--bmp", station.address, sample("rib.mrt.gz")});
    std::string text;
    auto const countsRoutes = [&](std::string const& routes) {
        return eventually([&] {
            auto const client = Listening::connection(metrics, "GET /metrics HTTP/1.1\r\n\r\n");
            std::string piece(1U << 16, '\0');
            text.clear();
            for (ssize_t got = 1; got > 0; text.append(piece, 0, static_cast<std::size_t>(got))) {
                got = std::max<ssize_t>(::recv(client.get(), piece.data(), piece.size(), 0), 0);
            }
            return text.find("\nbgp_communities_routes " + routes + "\n") != std::string::npos;
        });
    };
    EXPECT_TRUE(countsRoutes("393")) << text;
    EXPECT_NE(text.find("\nbgp_communities_messages_total{type=\"peerUp\"} 5\n"), text.npos);
    sender.end(SIGKILL);
    EXPECT_TRUE(countsRoutes("0")) << text;
    // AS 65551, where AS numbers have two octets.
    std::string const wide = bmpPeer(1, 0x20).replace(26, 4, u32(65551));
    auto const router = station.router(bmp(3, bmpPeerUp()) +
                                       bmp(0, wide + update(attribute(8, u32(7)), prefixNear)));
    EXPECT_TRUE(countsRoutes("1")) << text;
    EXPECT_EQ(station.end(SIGTERM), 0);
    EXPECT_EQ(run({"show", store}).out, "1\tstandard\t0:7\n") << "published at the end";
    std::string read;
    std::size_t files = 0;
    for (auto const& file : std::filesystem::directory_iterator(folder.path())) {
        EXPECT_TRUE(file.file_size() <= 20000 && file.file_size() != 0);
        read += run({"read", file.path()}).out;
        ++files;
    }
    EXPECT_EQ(linesOf(read).size(), 403U);
    EXPECT_NE(read.find("\t192.0.2.1 AS23456\t"), std::string::npos) << "AS_TRANS";
    EXPECT_GE(files, 4U); // including the old one
}

TEST(ListenCommandTest, KeepsWholeRecordsWhenTheDiskIsFull) {
    StoreFolder const folder;
    std::string const recorded = folder.path() + "/recorded";
    Listening station({"--record", recorded});
    station.limitFiles(20001);
    EXPECT_EQ(run({"send", "--bmp", station.address, sample("rib.mrt.gz")}).status, 0);
    EXPECT_TRUE(station.says(recorded + ": File too large: records are lost"));
    EXPECT_TRUE(station.says("session ended"));
    EXPECT_EQ(station.end(SIGTERM), 3);
    Result const read = run({"read", recorded});
    EXPECT_EQ(read.status, 0) << read.err;
    EXPECT_NE(read.out, "");
}

TEST(ListenCommandTest, RecordsAgainOnceAFileCanBeCreated) {
    StoreFolder const folder;
    std::string const moved = folder.path() + "/moved", current = folder.path() + "/current";
    std::filesystem::create_directory(current);
    Listening station({"--record", current + "/recorded", "--record-octets", "20000"});
    std::filesystem::rename(current, moved);
    Arguments const send = {"send", "--bmp", station.address, sample("rib.mrt.gz")};
    EXPECT_EQ(run(send).status, 0);
    EXPECT_TRUE(station.says("/recorded: No such file or directory: records are lost"));
    std::filesystem::create_directory(current);
    int sent = 2; // with the last one
    EXPECT_TRUE(eventually([&] {
        ++sent;
        EXPECT_EQ(run(send).status, 0);
        return std::filesystem::exists(current + "/recorded");
    }));
    EXPECT_EQ(run(send).status, 0);
    EXPECT_TRUE(station.says("session ended", sent));
    EXPECT_EQ(station.end(SIGTERM), 3);
    for (std::string const& recorded : {moved, current}) {
        Arguments read = {"read"};
        for (auto const& file : std::filesystem::directory_iterator(recorded)) {
            read.push_back(file.path());
        }
        Result const result = run(read);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_NE(result.out, "");
    }
}

TEST(ListenCommandTest, ReloadsTheDictionary) {
    TemporaryFile const dictionary("64496:100,before\n", ".txt");
    Listening station({"--json", "--dictionary", dictionary.path()});
    std::string const route =
        bmp(0, bmpPeer() + update(attribute(8, hex("fbf0 0064")), prefixNear));
    FileDescriptor const router = station.router(bmp(4, "") + bmp(3, bmpPeerUp()));
    auto const printsMeaning = [&](std::string const& meaning) {
        return eventually([&] {
            ::send(router.get(), route.data(), route.size(), MSG_NOSIGNAL);
            return station.out().find(meaning) != std::string::npos;
        });
    };
    EXPECT_TRUE(printsMeaning("before"));
    std::ofstream(dictionary.path()) << "64496:100,after\n";
    station.signal(SIGHUP);
    EXPECT_TRUE(printsMeaning("after"));
    EXPECT_EQ(station.end(SIGTERM), 0);
}

} // namespace
} // namespace BgpCommunities
