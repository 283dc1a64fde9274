#include "Commands.h"

#include <algorithm>
#include <csignal>
#include <limits>
#include <string>
#include <string_view>

#include <sys/resource.h>

#include <Mox/CountWord.h>
#include <Routing/Bgp/VoBgpGlobals.h>

#include "BmpOptions.h"
#include "DictionaryOption.h"
#include "Station.h"
#include "text/Output.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view threadsOption = "--threads";
constexpr std::string_view targetsOption = "--targets";
constexpr std::string_view storeOption = "--store";
constexpr std::string_view everyOption = "--every";
constexpr std::string_view metricsOption = "--metrics";
constexpr std::string_view recordOption = "--record";
constexpr std::string_view recordOctetsOption = "--record-octets";
constexpr std::string_view recordSecondsOption = "--record-seconds";
constexpr std::string_view allowOption = "--allow";
constexpr std::string_view timeoutOption = "--timeout";
constexpr std::string_view maxSessionsOption = "--max-sessions";
constexpr std::string_view maxRoutesOption = "--max-routes";
constexpr std::string_view maxMessageOption = "--max-message";

constexpr Option listenOptions[] = {{bmpOption, Takes::value},
                                    {threadsOption, Takes::value},
                                    {jsonOption},
                                    {targetsOption},
                                    {storeOption, Takes::file},
                                    {everyOption, Takes::value},
                                    dictionaryOption,
                                    {metricsOption, Takes::value},
                                    {recordOption, Takes::file},
                                    {recordOctetsOption, Takes::value},
                                    {recordSecondsOption, Takes::value},
                                    {allowOption, Takes::value},
                                    {timeoutOption, Takes::value},
                                    {maxSessionsOption, Takes::value},
                                    {maxRoutesOption, Takes::value},
                                    {maxMessageOption, Takes::value},
                                    {verboseOption}};

constexpr std::string_view listenHelp =
    R"(usage: bgp-communities listen --bmp ADDRESS:PORT [OPTION...]

Receives the routes of routers over BMP (RFC 7854, with Adj-RIB-Out, RFC 8671, and Loc-RIB,
RFC 9069) and holds them in a table with their lists of communities, until SIGTERM or SIGINT. Says on
standard error where it listens, and when sessions begin and end.

  --bmp ADDRESS:PORT
                     where to listen; an IPv6 address in brackets; :PORT is that of 127.0.0.1, and
                     port 0 any free one
  --threads N        read sessions in N threads, 1 to 64; 1 if not given. Each session is read by one

output:
  --json             a JSON object a line for each route that is announced or withdrawn, as
                     `read --json` prints it, with router (address and port), name, view
                     (adjRibInPre, adjRibInPost, adjRibOutPre, adjRibOutPost, locRib) and instance
                     (a route distinguisher) in place of file; and for events, of type routerUp,
                     routerDown, peerUp, peerDown and endOfRib. A peer or router that is down has
                     withdrawn its routes
  --targets          a line whenever a route target, or the set of route targets of a list, comes into
                     use or goes out of it: "+" or "-" and what it is, the router and the time;
                     between these a tab
  --store STORE      publish the lists, each with how many routes carry it: a file or, as shm:/NAME,
                     a POSIX shared-memory segment, for show --follow, diff and merge
  --every SECONDS    publish so often, if anything has changed; 10 if not given
  --dictionary FILE|DIR
                     with --json, what operators say that their communities mean; read again on
                     SIGHUP
  --metrics ADDRESS:PORT
                     serve counters over HTTP, as Prometheus reads them: messages, routes, distinct
                     lists and values, octets, problems, sessions, the time of publications
  --record FILE      write the messages as MRT (BGP4MP_ET) for read and replay, those of all routers
                     and views into one file; a FILE that is there is renamed FILE.TIME
  --record-octets N  begin a new file before this one is longer
  --record-seconds N begin a new file when this one is older
  --verbose          name all problems of a session on standard error, not only the first few

limits:
  --allow PREFIX     accept sessions from these addresses only; may be given more than once
  --timeout SECONDS  end a session whose first message, or the rest of a message, does not arrive in
                     this time; 30 if not given. A router between messages may be silent
  --max-sessions N   refuse more sessions; 1024 if not given
  --max-routes N     end a session with more routes; 20000000 if not given
  --max-message N    end a session with a longer message, in octets; 262144 if not given

A malformed UPDATE withdraws its routes (RFC 7606), is named on standard error and does not end the
session. A message that is not BMP version 3, or lies about its length, ends it: where the next one
begins is not known. When a session ends, its routes are withdrawn.

With SIGTERM or SIGINT the store is published once more. The exit status is 3 if it could not be.

examples:
  bgp-communities listen --bmp 192.0.2.1:1790 --allow 192.0.2.0/24 --json
  bgp-communities listen --bmp :1790 --threads 2 --store shm:/lists --every 5
)";

/** The value of an option, from 1 to `most`, or `otherwise`. */
template <class Number>
Number numberOf(Arguments const& arguments, std::string_view option, Number otherwise,
                std::uint64_t most) {
    auto const number = arguments.count(option);
    if (number && *number > most) {
        throw UsageError(std::string(option) + ": at most " + std::to_string(most));
    }
    return number ? static_cast<Number>(*number) : otherwise;
}

StationOptions optionsOf(Arguments const& arguments) {
    constexpr std::uint64_t any = std::numeric_limits<std::uint32_t>::max();
    StationOptions options;
    options.address = bmpAddress(arguments);
    options.threads = numberOf(arguments, threadsOption, options.threads, 64);
    options.maxSessions = numberOf(arguments, maxSessionsOption, options.maxSessions, any);
    options.limits.routes = numberOf(arguments, maxRoutesOption, options.limits.routes, any);
    options.limits.messageOctets =
        numberOf(arguments, maxMessageOption, options.limits.messageOctets, any);
    options.limits.timeout =
        std::chrono::seconds(numberOf(arguments, timeoutOption, std::uint64_t{30}, 86400));
    options.limits.verbose = arguments.has(verboseOption);
    options.every =
        std::chrono::seconds(numberOf(arguments, everyOption, std::uint64_t{10}, 86400));
    options.store = arguments.value(storeOption).value_or("");
    if (auto const text = arguments.value(metricsOption)) {
        options.metrics = addressIn(metricsOption, *text);
    }
    options.record.path = arguments.value(recordOption).value_or("");
    options.record.octets = arguments.count(recordOctetsOption).value_or(options.record.octets);
    if (auto const seconds = arguments.count(recordSecondsOption)) {
        options.record.age = std::chrono::seconds(std::min<std::uint64_t>(*seconds, any));
    }
    options.printsRoutes = arguments.has(jsonOption);
    options.printsTargets = arguments.has(targetsOption);
    for (std::string_view const text : arguments.values(allowOption)) {
        if (auto const fault = readPrefix(text, options.allowed.emplace_back()); !fault.empty()) {
            throw UsageError("--allow: \"" + std::string(text) + "\": " + std::string(fault));
        }
    }
    options.readDictionary = [&arguments] { return dictionary(arguments); };
    return options;
}

/** A session takes a descriptor, and the default limit is for programs that use few. */
void allowManyDescriptors() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void blockSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (int const signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaddset(&signals, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

ExitStatus listen(Arguments const& arguments, Output& output) {
    if (!arguments.operands().empty()) {
        throw UsageError("listen takes no FILE");
    }
    StationOptions const options = optionsOf(arguments);
    if (options.printsRoutes && options.printsTargets) {
        throw UsageError("--json and --targets exclude each other");
    }
    dictionary(arguments); // one that cannot be read is an error at the start
    Mox::threadSafePtrsIs(true);
    Routing::Bgp::VoBgpGlobals::multiThreadedIs(true);
    blockSignals();
    allowManyDescriptors();
    Station station(options, output);
    std::string text = "listening for BMP on ";
    appendText(text, station.address());
    complain(text);
    if (options.metrics) {
        text = "serving metrics on ";
        appendText(text, station.metricsAddress());
        complain(text);
    }
    return station.run();
}

} // namespace

Command const listenCommand = {
    "listen", "receive routes over BMP, as a station", listenHelp, listenOptions, listen, {}};

} // namespace BgpCommunities
