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

Receives routes over BMP (RFC 7854), including Adj-RIB-Out (RFC 8671) and Loc-RIB (RFC 9069), and holds
them with their interned lists of communities until SIGTERM or SIGINT. Reports its address, and the
start and end of each session, on standard error.

  --bmp ADDRESS:PORT
                     the address to listen on; an IPv6 address in brackets. Without ADDRESS,
                     127.0.0.1; port 0 is any free port
  --threads N        read sessions in N threads, from 1 (the default) to 64

output:
  --json             print a JSON object per line: each announced or withdrawn route in the format of
                     `read --json`, with router (address and port), name, view (adjRibInPre,
                     adjRibInPost, adjRibOutPre, adjRibOutPost, locRib) and instance (a route
                     distinguisher) instead of file; and events of type routerUp, routerDown, peerUp,
                     peerDown and endOfRib. routerDown and peerDown withdraw all routes of the router
                     or peer
  --targets          print a line when a route target, or the set of route targets of a list, comes
                     into use (+) or goes out of use (-): the sign, the target, the router and the
                     time, separated by tabs. The router is "publication" if the last reference was
                     that of a store being published
  --store STORE      publish the lists, with the number of routes that carry each: in a file, or as
                     shm:/NAME in a POSIX shared-memory segment, for show --follow, diff and merge. An
                     existing store stays until the first route changes
  --every SECONDS    publish at this interval if routes have changed; default 10
  --dictionary FILE|DIR
                     with --json, print the operators' meanings of communities; read again on SIGHUP
  --metrics ADDRESS:PORT
                     serve metrics over HTTP in the format of Prometheus: messages, routes, distinct
                     lists and values, octets, problems, sessions, duration of publications
  --record FILE      write all messages as MRT (BGP4MP_ET), for read and replay. One file holds all
                     routers and views; an existing FILE is renamed to FILE.TIME
  --record-octets N  start a new file before this one exceeds N octets
  --record-seconds N start a new file when this one is N seconds old
  --verbose          report all problems of a session on standard error, not only the first few

limits:
  --allow PREFIX     accept sessions only from these addresses; can be repeated
  --timeout SECONDS  end a session if its first message, or the rest of a message, does not arrive in
                     this time; default 30. A router may be silent between messages
  --max-sessions N   refuse further sessions; default 1024
  --max-routes N     end a session that has more routes; default 20000000
  --max-message N    end a session that sends a longer message, in octets; default 262144

A malformed UPDATE withdraws its routes (RFC 7606) and is reported; the session continues. A message
that is not BMP version 3, or whose length is wrong, ends the session, because the start of the next
message is unknown. The end of a session withdraws its routes.

On SIGTERM or SIGINT the store is published once more. The exit status is 3 if that failed, or if
records of --record were lost.

examples:
  bgp-communities listen --bmp 192.0.2.1:1790 --allow 192.0.2.0/24 --json
  bgp-communities listen --bmp :1790 --threads 2 --store shm:/lists --every 5
)";

/// Returns the value of an option, from 1 to `most`, or `otherwise` if it is missing.
template <class Number>
Number numberOf(Arguments const& arguments, std::string_view option, Number otherwise, U64 most) {
    auto const number = arguments.count(option);
    if (number && *number > most) {
        throw UsageError(std::string(option) + ": at most " + std::to_string(most));
    }
    return number ? static_cast<Number>(*number) : otherwise;
}

StationOptions stationOptionsOf(Arguments const& arguments) {
    constexpr U64 any = std::numeric_limits<U32>::max();
    StationOptions options;
    options.address = bmpAddress(arguments);
    options.threads = numberOf(arguments, threadsOption, options.threads, 64);
    options.maxSessions = numberOf(arguments, maxSessionsOption, options.maxSessions, any);
    options.limits.routes = numberOf(arguments, maxRoutesOption, options.limits.routes, any);
    options.limits.messageOctets =
        numberOf(arguments, maxMessageOption, options.limits.messageOctets, any);
    options.limits.timeout =
        std::chrono::seconds(numberOf(arguments, timeoutOption, U64{30}, 86400));
    options.limits.verbose = arguments.has(verboseOption);
    options.every = std::chrono::seconds(numberOf(arguments, everyOption, U64{10}, 86400));
    options.store = arguments.value(storeOption).value_or("");
    if (auto const text = arguments.value(metricsOption)) {
        options.metrics = addressIn(metricsOption, *text);
    }
    options.record.path = arguments.value(recordOption).value_or("");
    options.record.octets = arguments.count(recordOctetsOption).value_or(options.record.octets);
    if (auto const seconds = arguments.count(recordSecondsOption)) {
        options.record.age = std::chrono::seconds(std::min<U64>(*seconds, any));
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

/// Raises the limit of descriptors: each session needs one.
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
    StationOptions const options = stationOptionsOf(arguments);
    if (options.printsRoutes && options.printsTargets) {
        throw UsageError("--json and --targets exclude each other");
    }
    dictionary(arguments); // an unreadable dictionary is an error at startup
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
    "listen", "receive routes from routers over BMP", listenHelp, listenOptions, listen, {}};

} // namespace BgpCommunities
