#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "input/OctetReader.h"

struct sqlite3;
struct sqlite3_stmt;

namespace BgpCommunities {

/** A database that cannot be opened, read or written; `what()` is `NAME: REASON`. */
class DatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * A connection to an SQLite database, which it creates if it does not exist.
 *
 * Owns the connection. The destructor rolls back what was not committed; if the process is killed,
 * the next connection does. Waits for other writers, at most a minute.
 * Thread-compatible.
 */
class Database {
  public:
    explicit Database(std::string const& name);

    /** Executes statements without results. Throws DatabaseError. */
    void execute(std::string const& sql);

    /** The number in the first column of the first row. Throws DatabaseError. */
    std::int64_t number(std::string const& sql);

    /** Of the last row that was inserted. */
    [[nodiscard]] std::int64_t lastId() const;

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

/**
 * A prepared statement: bind its parameters in order, then `run()` or `row()`.
 *
 * Refers to its database, which must outlive it. Thread-compatible.
 */
class Statement {
  public:
    Statement(Database& database, std::string_view sql);

    Statement& bind(std::int64_t number);
    Statement& bind(std::string_view text); // copied
    Statement& bindOctets(std::string_view octets);
    Statement& bindNull();

    template <class Value>
    Statement& bind(std::optional<Value> const& value) {
        return value ? bind(*value) : bindNull();
    }

    /** Executes it and resets it for the next parameters. Throws DatabaseError. */
    void run();

    /** The number and the text in the first two columns of the first row, if there is a row. */
    struct Row {
        std::int64_t number = 0;
        std::string text;
    };

    std::optional<Row> row();

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };

    void check(int code);
    /** True if there is a row. */
    bool step();
    void reset();

    Database& database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    int parameter_ = 0;
};

} // namespace BgpCommunities
