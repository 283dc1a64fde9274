#include "Database.h"

#include <sqlite3.h>

namespace BgpCommunities {

// ---- Database -----------------------------------------------------------------------------------

Database::Database(std::string const& name)
  : name_(name) {
    sqlite3* connection = nullptr;
    int const code = ::sqlite3_open_v2(name.c_str(), &connection,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    connection_.reset(connection);
    if (code != SQLITE_OK) {
        fail();
    }
    ::sqlite3_busy_timeout(connection, 60000);
}

void Database::Close::operator()(sqlite3* connection) const noexcept {
    ::sqlite3_close_v2(connection);
}

void Database::fail() const {
    throw DatabaseError(name_ + ": " + ::sqlite3_errmsg(connection_.get()));
}

void Database::execute(std::string const& sql) {
    if (::sqlite3_exec(connection_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail();
    }
}

S64 Database::number(std::string const& sql) {
    auto const row = Statement(*this, sql).row();
    return row ? row->number : 0;
}

S64 Database::lastId() const {
    return ::sqlite3_last_insert_rowid(connection_.get());
}

// ---- Statement ----------------------------------------------------------------------------------

Statement::Statement(Database& database, std::string_view sql)
  : database_(database) {
    sqlite3_stmt* statement = nullptr;
    check(::sqlite3_prepare_v3(database.connection_.get(), sql.data(), static_cast<int>(sql.size()),
                               SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    statement_.reset(statement);
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
    ::sqlite3_finalize(statement);
}

void Statement::check(int code) {
    if (code != SQLITE_OK) {
        database_.fail();
    }
}

Statement& Statement::bind(S64 number) {
    check(::sqlite3_bind_int64(statement_.get(), ++parameter_, number));
    return *this;
}

Statement& Statement::bind(std::string_view text) {
    check(::sqlite3_bind_text64(statement_.get(), ++parameter_, text.data(), text.size(),
                                SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bindOctets(Octets octets) {
    // SQLite takes a null pointer for NULL.
    void const* const data = octets.empty() ? "" : static_cast<void const*>(octets.data());
    check(::sqlite3_bind_blob64(statement_.get(), ++parameter_, data, octets.size(),
                                SQLITE_TRANSIENT));
    return *this;
}

Statement& Statement::bindNull() {
    check(::sqlite3_bind_null(statement_.get(), ++parameter_));
    return *this;
}

bool Statement::step() {
    int const code = ::sqlite3_step(statement_.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        database_.fail();
    }
    return code == SQLITE_ROW;
}

void Statement::reset() {
    ::sqlite3_reset(statement_.get());
    parameter_ = 0;
}

void Statement::run() {
    step();
    reset();
}

std::optional<Statement::Row> Statement::row() {
    std::optional<Row> found;
    if (step()) {
        found.emplace();
        found->number = ::sqlite3_column_int64(statement_.get(), 0);
        if (::sqlite3_column_count(statement_.get()) > 1) {
            auto const* const text = ::sqlite3_column_text(statement_.get(), 1);
            auto const octets = ::sqlite3_column_bytes(statement_.get(), 1);
            found->text.assign(reinterpret_cast<char const*>(text),
                               static_cast<std::size_t>(octets));
        }
    }
    reset();
    return found;
}

} // namespace BgpCommunities
