#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

struct sqlite3;
struct sqlite3_stmt;

namespace BgpCommunities {

/// A database cannot be opened, read or written; `what()` is `NAME: REASON`.
class DatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A connection to an SQLite database. Creates the database if it does not exist.
///
/// Owns the connection. Uncommitted changes are rolled back by the destructor, or by the next
/// connection if the process is killed. Waits for other writers for at most a minute.
/// Thread-compatible.
class Database {
  public:
    explicit Database(std::string const& name);

    /// Executes statements without results. Throws DatabaseError.
    void execute(std::string const& sql);

    /// Returns the number in the first column of the first row. Throws DatabaseError.
    S64 number(std::string const& sql);

    /// The row id of the last insertion.
    [[nodiscard]] S64 lastId() const;

    [[nodiscard]] std::string const& name() const { return name_; }

    [[noreturn]] void fail() const;

  private:
    friend class Statement;

    struct Close {
        void operator()(sqlite3* connection) const noexcept;
    };

    std::string const name_;
    std::unique_ptr<sqlite3, Close> connection_;
};

/// A prepared statement. Bind its parameters in order, then call `run()` or `row()`.
///
/// Refers to its database, which must outlive it. Thread-compatible.
class Statement {
  public:
    Statement(Database& database, std::string_view sql);

    Statement& bind(S64 number);
    Statement& bind(std::string_view text); // copied
    Statement& bindOctets(Octets octets);   // copied

    Statement& bindOctets(std::string_view octets) { return bindOctets(octetsOf(octets)); }

    Statement& bindNull();

    template <class Value>
    Statement& bind(std::optional<Value> const& value) {
        return value ? bind(*value) : bindNull();
    }

    /// Executes the statement and resets it for the next parameters. Throws DatabaseError.
    void run();

    /// The first two columns of a row.
    struct Row {
        S64 number = 0;
        std::string text;
    };

    std::optional<Row> row();

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };

    void check(int code);
    /// Returns true if there is a row.
    bool step();
    void reset();

    Database& database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    int parameter_ = 0;
};

} // namespace BgpCommunities
