#include "Commands.h"

#include <filesystem>
#include <string>

#include "DictionaryOption.h"
#include "DumpFiles.h"
#include "RouteDatabase.h"
#include "lists/Agent.h"
#include "text/Output.h"
#include "text/StandardError.h"
#include "text/Utf8.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view sqliteOption = "--sqlite";
constexpr Option exportOptions[] = {
    {sqliteOption, Takes::file}, dictionaryOption, addPathOption, {verboseOption}};

constexpr std::string_view exportHelp =
    R"(usage: bgp-communities export --sqlite DB [OPTION...] FILE...

Adds the routes of MRT dumps (RFC 6396, RFC 8050; plain or compressed; "-" is standard input) to an
SQLite database, created if it does not exist: every announced, withdrawn or table route, and every
distinct AS path, list and community once. Messages that were sent to a peer are ignored.

  --sqlite DB       the file of the database
  --dictionary FILE|DIR
                    operators' descriptions of their communities, stored with them; lines
                    ASN:PATTERN,DESCRIPTION, see the man page
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind

Tables: dumps, peers, routes, as_paths, communities, lists, list_members, and for malformed,
truncated and refused attributes errors, route_errors. Views: route_lists, route_communities,
list_uses, community_uses, as_routes, full_routes, last_routes. `sqlite3 DB .schema` prints them
with comments; PRAGMA user_version is the version of the schema.

Each dump is one transaction. If it cannot be read or written, the error is reported, the database
keeps the previous dumps, and the exit status is 3. If the process is killed, the next program that
opens the database restores it from the journal. A dump that is already in the database, under any
name, is refused in the same way, and reading continues with the next one.

examples:
  bgp-communities export --sqlite routes.db rib.bz2 updates.*.gz
  sqlite3 routes.db 'SELECT name, routes FROM community_uses ORDER BY routes DESC LIMIT 10'
)";

/// A transaction; the destructor rolls it back unless it was committed.
class Transaction {
  public:
    explicit Transaction(Database& database)
      : database_(database) {
        database_.execute("BEGIN IMMEDIATE");
    }

    ~Transaction() {
        try {
            if (isOpen_) {
                database_.execute("ROLLBACK");
            }
        } catch (DatabaseError const&) { // SQLite has already rolled back
        }
    }

    Transaction(Transaction const&) = delete;
    Transaction& operator=(Transaction const&) = delete;

    void commit() {
        database_.execute("COMMIT");
        isOpen_ = false;
    }

  private:
    Database& database_;
    bool isOpen_ = true;
};

/// Adds one dump; on error the database is unchanged. Throws DatabaseError.
ExitStatus addDump(Database& database, DumpInput const& input, Dictionary const& dictionary,
                   bool verbose, Output& output) {
    std::string const name(input.files[0]);
    Transaction transaction(database);
    prepareRouteDatabase(database);
    Agent agent;
    RouteInserter inserter(database, agent, dictionary, verbose);
    DumpResult const result = readDumps(input, inserter);
    if (result.status == ExitStatus::unreadable) {
        complain(name + ": not added to " + database.name());
        return result.status;
    }
    if (auto const same =
            inserter.finish(name, result.counts.records, result.status == ExitStatus::malformed)) {
        complain(name + ": not added: " + database.name() + " already has this dump as " + *same);
        return ExitStatus::unreadable;
    }
    transaction.commit();
    output.text().append(masked(name)).append(": ").append(std::to_string(inserter.routes()));
    output.text() += " routes";
    output.endLine();
    return result.status;
}

/// Removes a database that is still empty.
void removeIfEmpty(std::string const& name) {
    std::error_code error;
    if (std::filesystem::is_regular_file(name, error) &&
        std::filesystem::file_size(name, error) == 0) {
        std::filesystem::remove(name, error);
    }
}

ExitStatus exportRoutes(Arguments const& arguments, Output& output) {
    DumpInput input(arguments);
    auto const name = arguments.value(sqliteOption);
    if (!name || name->empty()) {
        throw UsageError("missing --sqlite DB");
    }
    std::error_code error;
    bool const isNew = !std::filesystem::exists(std::string(*name), error);
    auto files = input.files; // that are not added yet
    Dictionary const meanings = dictionary(arguments);
    bool const verbose = arguments.has(verboseOption);
    ExitStatus status = ExitStatus::allRead;
    try {
        Database database{std::string(*name)};
        database.execute("PRAGMA cache_size = -65536"); // 64 MB
        for (; !files.empty(); files = files.subspan(1)) {
            input.files = files.first(1);
            status = worse(status, addDump(database, input, meanings, verbose, output));
        }
    } catch (DatabaseError const& fault) {
        complain(fault.what());
        for (std::string_view const file : files) {
            complain(std::string(file) + ": not added to " + std::string(*name));
        }
        status = ExitStatus::unreadable;
    }
    if (isNew) {
        removeIfEmpty(std::string(*name));
    }
    return status;
}

} // namespace

Command const exportCommand = {"export", "add the routes of MRT dumps to a database", exportHelp,
                               exportOptions, exportRoutes};

} // namespace BgpCommunities
