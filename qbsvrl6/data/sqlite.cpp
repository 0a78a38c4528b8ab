// SQLite, loaded on first use. A query reads, and reads this database alone: everything else is denied by
// the library itself.
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <thread>
#include <utility>

#include "qbsvrl6/data/sql.h"
#include "qbsvrl6/data/sql_result.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

struct Sqlite {
    LazyLibrary library{"libsqlite3.so.0", "libsqlite3-0"};
    QBSVR_LAZY_FUNCTION(library, sqlite3_open_v2);
    QBSVR_LAZY_FUNCTION(library, sqlite3_close_v2);
    QBSVR_LAZY_FUNCTION(library, sqlite3_exec);
    QBSVR_LAZY_FUNCTION(library, sqlite3_errmsg);
    QBSVR_LAZY_FUNCTION(library, sqlite3_errstr);
    QBSVR_LAZY_FUNCTION(library, sqlite3_system_errno);
    QBSVR_LAZY_FUNCTION(library, sqlite3_db_config);
    QBSVR_LAZY_FUNCTION(library, sqlite3_limit);
    QBSVR_LAZY_FUNCTION(library, sqlite3_set_authorizer);
    QBSVR_LAZY_FUNCTION(library, sqlite3_progress_handler);
    QBSVR_LAZY_FUNCTION(library, sqlite3_busy_handler);
    QBSVR_LAZY_FUNCTION(library, sqlite3_prepare_v2);
    QBSVR_LAZY_FUNCTION(library, sqlite3_finalize);
    QBSVR_LAZY_FUNCTION(library, sqlite3_reset);
    QBSVR_LAZY_FUNCTION(library, sqlite3_step);
    QBSVR_LAZY_FUNCTION(library, sqlite3_bind_parameter_count);
    QBSVR_LAZY_FUNCTION(library, sqlite3_bind_parameter_name);
    QBSVR_LAZY_FUNCTION(library, sqlite3_bind_null);
    QBSVR_LAZY_FUNCTION(library, sqlite3_bind_int64);
    QBSVR_LAZY_FUNCTION(library, sqlite3_bind_double);
    QBSVR_LAZY_FUNCTION(library, sqlite3_bind_text);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_count);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_name);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_decltype);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_type);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_int64);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_double);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_text);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_blob);
    QBSVR_LAZY_FUNCTION(library, sqlite3_column_bytes);

    static const Sqlite& functions() {
        static const Sqlite sqlite;
        return sqlite;
    }
};

// What a column is declared as, beyond the types that the database itself has.
enum class Declared { Plain, Boolean, Date };

Declared declaredAs(const char* type) {
    if (type == nullptr) return Declared::Plain;
    const std::u16string name = toUtf16(type);
    if (startsIgnoringCase(name, u"BOOL")) return Declared::Boolean;
    if (startsIgnoringCase(name, u"DATE") || startsIgnoringCase(name, u"TIMESTAMP")) return Declared::Date;
    return Declared::Plain;
}

class Connection : public SqlConnection, public std::enable_shared_from_this<Connection> {
public:
    Connection(const FilePath& file, std::string origin) : origin_(std::move(origin)) {
        std::string path = file.path;
        if (!path.starts_with('/')) path.insert(0, "./");  // the library gives meanings to other names
        const int links = file.isWithoutLinks ? SQLITE_OPEN_NOFOLLOW : 0;
        // Null only without memory; otherwise it has the cause of a failure, too.
        const int result = sqlite_.sqlite3_open_v2(
            path.c_str(), &database_, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | links, nullptr);
        if (database_ == nullptr) throw std::bad_alloc();
        try {
            check(result);
            restrict();
        } catch (...) {
            sqlite_.sqlite3_close_v2(database_);
            throw;
        }
    }
    ~Connection() override { sqlite_.sqlite3_close_v2(database_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::unique_ptr<SqlQuery> prepare(std::u16string_view statement) override;

    const Sqlite& sqlite() const { return sqlite_; }
    const std::string& origin() const { return origin_; }
    sqlite3* database() const { return database_; }
    void startClock() { clock_.start(); }

    // Raises the error of a result, or the one that interrupted the library.
    void check(int result) {
        if (interrupted_) std::rethrow_exception(std::exchange(interrupted_, nullptr));
        if (result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE) return;
        if ((result & 0xFF) == SQLITE_NOMEM) throw std::bad_alloc();
        std::string message = sqlite_.sqlite3_errmsg(database_);
        if ((result & 0xFF) == SQLITE_CANTOPEN && isShortage(sqlite_.sqlite3_system_errno(database_))) {
            throw MachineError(origin_ + ": " + message);
        }
        if ((result & 0xFF) == SQLITE_AUTH) message += ": a query only reads, and reads this database alone";
        throw EngineError(ErrorCode::BadData, message, {origin_});
    }

private:
    static constexpr int kStepsBetweenChecks = 1'000;

    void restrict() {
        const auto set = [&](int option, int value) {
            check(sqlite_.sqlite3_db_config(database_, option, value, static_cast<int*>(nullptr)));
        };
        set(SQLITE_DBCONFIG_DEFENSIVE, 1);
        set(SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0);
        for (const auto& [limit, value] : {std::pair{SQLITE_LIMIT_ATTACHED, 0},
                                           std::pair{SQLITE_LIMIT_LENGTH, int{limits::kDatabaseValueBytes}},
                                           std::pair{SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 1'000},
                                           std::pair{SQLITE_LIMIT_WORKER_THREADS, 0}}) {
            sqlite_.sqlite3_limit(database_, limit, value);
        }
        sqlite_.sqlite3_progress_handler(database_, kStepsBetweenChecks, &Connection::goOnWithQuery, this);
        sqlite_.sqlite3_busy_handler(database_, &Connection::waitForLock, this);
        clock_.start();
        // The first query begins to read; all further ones see the same data.
        check(sqlite_.sqlite3_exec(database_, "PRAGMA query_only=1; BEGIN", nullptr, nullptr, nullptr));
        check(sqlite_.sqlite3_exec(database_, "SELECT 1 FROM sqlite_master", nullptr, nullptr, nullptr));
        sqlite_.sqlite3_set_authorizer(database_, &Connection::authorize, nullptr);
    }

    static int authorize(void*, int action, const char*, const char*, const char*, const char*) noexcept {
        const bool reads = action == SQLITE_SELECT || action == SQLITE_READ || action == SQLITE_FUNCTION ||
                           action == SQLITE_RECURSIVE;
        return reads ? SQLITE_OK : SQLITE_DENY;
    }

    // Both are called by the library, which no exception may cross. The results are its own: zero from the
    // first lets a query go on, and from the second gives up.
    static int goOnWithQuery(void* self) noexcept { return static_cast<Connection*>(self)->isInterrupted(); }
    static int waitForLock(void* self, int attempts) noexcept {
        constexpr std::chrono::milliseconds kPause{20};
        if (kPause * attempts > std::chrono::seconds(limits::kLockSeconds)) return 0;
        if (static_cast<Connection*>(self)->isInterrupted()) return 0;
        std::this_thread::sleep_for(kPause);
        return 1;
    }

    bool isInterrupted() noexcept {
        try {
            clock_.check();
            return false;
        } catch (...) {
            interrupted_ = std::current_exception();
            return true;
        }
    }

    const Sqlite& sqlite_ = Sqlite::functions();
    std::string origin_;
    sqlite3* database_ = nullptr;
    QueryClock clock_;
    std::exception_ptr interrupted_;
};

class Query : public SqlQuery {
public:
    Query(std::shared_ptr<Connection> connection, std::string_view statement)
        : connection_(std::move(connection)),
          sqlite_(connection_->sqlite()),
          statement_(nullptr, finalizer()) {
        connection_->startClock();
        sqlite3_stmt* prepared = nullptr;
        const char* rest = nullptr;
        const int result = sqlite_.sqlite3_prepare_v2(connection_->database(), statement.data(),
                                                      static_cast<int>(statement.size()), &prepared, &rest);
        statement_.reset(prepared);
        connection_->check(result);
        if (prepared == nullptr) fail("the query is empty");
        checkRest({rest, static_cast<std::size_t>(statement.data() + statement.size() - rest)});
        readColumns();
        readParameters();
    }

    const std::vector<std::u16string>& parameters() const override { return parameters_; }
    DataSet shape() override { return newResult().finish(); }

    DataSet run(std::span<const Value> values) override {
        const Running running(*this);
        connection_->startClock();
        for (std::size_t i = 0; i < values.size(); ++i) bind(static_cast<int>(i) + 1, values[i]);
        SqlResult result = newResult();
        while (true) {
            const int step = sqlite_.sqlite3_step(statement_.get());
            connection_->check(step);
            if (step != SQLITE_ROW) break;
            result.beginRow();
            for (std::size_t column = 0; column < columns_.size(); ++column) addValue(result, column);
        }
        return result.finish();
    }

private:
    // A statement that is left is reset, so that it holds no rows and can run again.
    struct Running {
        explicit Running(Query& owner) : query(owner) {}
        ~Running() { query.sqlite_.sqlite3_reset(query.statement_.get()); }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        Query& query;
    };
    struct Column {
        std::string name;
        Declared declared;
    };

    decltype(&::sqlite3_finalize) finalizer() const { return sqlite_.sqlite3_finalize; }

    [[noreturn]] void fail(const std::string& message) const {
        throw EngineError(ErrorCode::BadData, message, {connection_->origin()});
    }

    // A second statement would never run. Comments may follow.
    void checkRest(std::string_view rest) const {
        if (rest.find_first_not_of(" \t\r\n;") == std::string_view::npos) return;
        sqlite3_stmt* next = nullptr;
        const int result = sqlite_.sqlite3_prepare_v2(connection_->database(), rest.data(),
                                                      static_cast<int>(rest.size()), &next, nullptr);
        sqlite_.sqlite3_finalize(next);
        if (next != nullptr || result != SQLITE_OK) fail("the query has more than one statement");
    }

    void readColumns() {
        const int count = sqlite_.sqlite3_column_count(statement_.get());
        if (count == 0) fail("the statement returns no rows");
        for (int i = 0; i < count; ++i) {
            const char* const name = sqlite_.sqlite3_column_name(statement_.get(), i);
            if (name == nullptr) throw std::bad_alloc();
            columns_.push_back({name, declaredAs(sqlite_.sqlite3_column_decltype(statement_.get(), i))});
        }
    }

    void readParameters() {
        const int count = sqlite_.sqlite3_bind_parameter_count(statement_.get());
        for (int i = 1; i <= count; ++i) {
            const char* const name = sqlite_.sqlite3_bind_parameter_name(statement_.get(), i);
            if (name == nullptr || name[0] != ':') fail("a parameter without a name; write it as \":Name\"");
            parameters_.push_back(toUtf16(name + 1));
        }
    }

    SqlResult newResult() const {
        SqlResult result(connection_->origin());
        for (const Column& column : columns_) result.addColumn(column.name);
        return result;
    }

    void bind(int index, const Value& value) {
        sqlite3_stmt* const statement = statement_.get();
        const auto text = [&](const std::string& utf8) {
            return sqlite_.sqlite3_bind_text(statement, index, utf8.data(), static_cast<int>(utf8.size()),
                                             SQLITE_TRANSIENT);
        };
        int result = SQLITE_OK;
        switch (value.type) {
            case ValueType::Null:
                result = sqlite_.sqlite3_bind_null(statement, index);
                break;
            case ValueType::Boolean:
                result = sqlite_.sqlite3_bind_int64(statement, index, value.boolean ? 1 : 0);
                break;
            case ValueType::Number: {
                const Decimal* const decimal = value.number.decimal();
                const auto whole = decimal == nullptr || decimal->places() != 0
                                       ? std::int64_t{0}
                                       : static_cast<std::int64_t>(decimal->coefficient());
                const bool isWhole =
                    decimal != nullptr && decimal->places() == 0 && whole == decimal->coefficient();
                result = isWhole ? sqlite_.sqlite3_bind_int64(statement, index, whole)
                                 : sqlite_.sqlite3_bind_double(statement, index, value.number.toDouble());
                break;
            }
            case ValueType::Date:
                result = text(sqlDate(value.date));
                break;
            case ValueType::Text:
                result = text(toUtf8(value.text));
                break;
        }
        connection_->check(result);
    }

    void addValue(SqlResult& result, std::size_t index) {
        sqlite3_stmt* const statement = statement_.get();
        const int column = static_cast<int>(index);
        const Declared declared = columns_[index].declared;
        switch (sqlite_.sqlite3_column_type(statement, column)) {
            case SQLITE_INTEGER: {
                const std::int64_t number = sqlite_.sqlite3_column_int64(statement, column);
                const bool isBoolean = declared == Declared::Boolean && (number == 0 || number == 1);
                if (isBoolean) return result.setBoolean(index, number == 1);
                return result.setWhole(index, number);
            }
            case SQLITE_FLOAT:
                return result.setReal(index, sqlite_.sqlite3_column_double(statement, column));
            case SQLITE_TEXT: {
                const auto* const text =
                    reinterpret_cast<const char*>(sqlite_.sqlite3_column_text(statement, column));
                if (text == nullptr) throw std::bad_alloc();
                const std::string_view utf8(text, bytesOf(column));
                return declared == Declared::Date ? result.setDateText(index, utf8)
                                                  : result.setText(index, utf8);
            }
            case SQLITE_BLOB: {
                const auto* const bytes =
                    static_cast<const char*>(sqlite_.sqlite3_column_blob(statement, column));
                return result.setBytes(index, {bytes, bytes == nullptr ? 0 : bytesOf(column)});
            }
            default:
                return;
        }
    }

    std::size_t bytesOf(int column) const {
        return static_cast<std::size_t>(sqlite_.sqlite3_column_bytes(statement_.get(), column));
    }

    std::shared_ptr<Connection> connection_;
    const Sqlite& sqlite_;
    std::unique_ptr<sqlite3_stmt, decltype(&::sqlite3_finalize)> statement_;
    std::vector<Column> columns_;
    std::vector<std::u16string> parameters_;
};

std::unique_ptr<SqlQuery> Connection::prepare(std::u16string_view statement) {
    return std::make_unique<Query>(shared_from_this(), toUtf8(statement));
}

}  // namespace

std::shared_ptr<SqlConnection> openSqlite(const Address& file) {
    const FilePath path = reachablePath(file);
    const std::string origin = shownAddress(file);
    if (path.path.empty()) throw EngineError(ErrorCode::NotSupported, "a database is a file", {origin});
    static_cast<void>(InputFile(path));  // with the errors of all files
    return std::make_shared<Connection>(path, origin);
}

}  // namespace qbsvrl6
