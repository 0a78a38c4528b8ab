// Databases through ODBC. The driver manager, unixODBC, is loaded on first use; it loads the driver that the
// connection names.
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <future>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "qbsvrl6/data/sql.h"
#include "qbsvrl6/data/sql_result.h"
#include "qbsvrl6/data/sql_statement.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/lazy_library.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kNameUnits = 512;                  // of a column, or of its type
constexpr std::chrono::milliseconds kBetweenChecks{20};  // while the server works

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));

struct Odbc {
    LazyLibrary library{"libodbc.so.2", "libodbc2"};
    QBSVR_LAZY_FUNCTION(library, SQLAllocHandle);
    QBSVR_LAZY_FUNCTION(library, SQLFreeHandle);
    QBSVR_LAZY_FUNCTION(library, SQLSetEnvAttr);
    QBSVR_LAZY_FUNCTION(library, SQLSetConnectAttrW);
    QBSVR_LAZY_FUNCTION(library, SQLSetStmtAttrW);
    QBSVR_LAZY_FUNCTION(library, SQLDriverConnectW);
    QBSVR_LAZY_FUNCTION(library, SQLGetInfo);
    QBSVR_LAZY_FUNCTION(library, SQLDisconnect);
    QBSVR_LAZY_FUNCTION(library, SQLEndTran);
    QBSVR_LAZY_FUNCTION(library, SQLGetDiagRecW);
    QBSVR_LAZY_FUNCTION(library, SQLPrepareW);
    QBSVR_LAZY_FUNCTION(library, SQLExecute);
    QBSVR_LAZY_FUNCTION(library, SQLExecDirectW);
    QBSVR_LAZY_FUNCTION(library, SQLCancel);
    QBSVR_LAZY_FUNCTION(library, SQLNumResultCols);
    QBSVR_LAZY_FUNCTION(library, SQLDescribeColW);
    QBSVR_LAZY_FUNCTION(library, SQLColAttributeW);
    QBSVR_LAZY_FUNCTION(library, SQLBindParameter);
    QBSVR_LAZY_FUNCTION(library, SQLFetch);
    QBSVR_LAZY_FUNCTION(library, SQLGetData);
    QBSVR_LAZY_FUNCTION(library, SQLFreeStmt);

    static const Odbc& functions() {
        static const Odbc odbc;
        return odbc;
    }
};

SQLWCHAR* wide(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }

// The messages of a handle, joined. They name the driver in brackets, but never a password.
std::string messagesOf(const Odbc& odbc, SQLSMALLINT type, SQLHANDLE handle) {
    std::string messages;
    std::u16string state(6, u'\0');
    std::u16string text(1024, u'\0');
    for (SQLSMALLINT record = 1; record <= 4; ++record) {
        SQLINTEGER code = 0;
        SQLSMALLINT length = 0;
        if (!SQL_SUCCEEDED(odbc.SQLGetDiagRecW(type, handle, record, wide(state), &code, wide(text),
                                               static_cast<SQLSMALLINT>(text.size()), &length))) {
            break;
        }
        const auto units =
            std::min(static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0)), text.size() - 1);
        messages += (messages.empty() ? "" : "; ") + toUtf8(text.substr(0, units));
    }
    return messages.empty() ? "the driver gives no reason" : messages;
}

// A handle that frees itself.
class Handle {
public:
    Handle(const Odbc& odbc, SQLSMALLINT type, SQLHANDLE parent) : odbc_(odbc), type_(type) {
        if (!SQL_SUCCEEDED(odbc_.SQLAllocHandle(type, parent, &handle_))) throw std::bad_alloc();
    }
    ~Handle() { odbc_.SQLFreeHandle(type_, handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    SQLHANDLE get() const { return handle_; }
    std::string messages() const { return messagesOf(odbc_, type_, handle_); }

private:
    const Odbc& odbc_;
    SQLSMALLINT type_;
    SQLHANDLE handle_ = nullptr;
};

SQLPOINTER asPointer(SQLULEN value) { return reinterpret_cast<SQLPOINTER>(value); }

// An attribute of PostgreSQL's driver: results come in blocks, by a cursor. Otherwise it holds them whole, at
// some 700 bytes per row.
constexpr SQLINTEGER kPostgresCursors = 65539;

class Connection : public SqlConnection, public std::enable_shared_from_this<Connection> {
public:
    explicit Connection(std::u16string_view connection)
        : origin_("odbc:" + shownOdbc(connection)),
          environment_(odbc_, SQL_HANDLE_ENV, SQL_NULL_HANDLE),
          connection_(newConnection()) {
        // Drivers may not know an attribute; a query that writes is then refused by the database's own
        // rights.
        const auto set = [&](SQLINTEGER attribute, SQLULEN value) {
            odbc_.SQLSetConnectAttrW(connection_->get(), attribute, asPointer(value), SQL_IS_UINTEGER);
        };
        set(SQL_ATTR_LOGIN_TIMEOUT, limits::kFetchSeconds);
        set(SQL_ATTR_ACCESS_MODE, SQL_MODE_READ_ONLY);
        std::u16string text(connection);
        const SQLRETURN result = odbc_.SQLDriverConnectW(connection_->get(), nullptr, wide(text),
                                                         static_cast<SQLSMALLINT>(text.size()), nullptr, 0,
                                                         nullptr, SQL_DRIVER_NOPROMPT);
        if (!SQL_SUCCEEDED(result)) failToConnect();
        if (driverName().starts_with("psqlodbc")) set(kPostgresCursors, 1);
        set(SQL_ATTR_ACCESS_MODE, SQL_MODE_READ_ONLY);
        set(SQL_ATTR_TXN_ISOLATION, SQL_TXN_REPEATABLE_READ);
        set(SQL_ATTR_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF);
        forbidWriting();
    }
    ~Connection() override {
        odbc_.SQLEndTran(SQL_HANDLE_DBC, connection_->get(), SQL_ROLLBACK);
        odbc_.SQLDisconnect(connection_->get());
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::unique_ptr<SqlQuery> prepare(std::u16string_view statement) override;

    const Odbc& odbc() const { return odbc_; }
    const std::string& origin() const { return origin_; }
    SQLHANDLE get() const { return connection_->get(); }

private:
    std::unique_ptr<Handle> newConnection() {
        odbc_.SQLSetEnvAttr(environment_.get(), SQL_ATTR_ODBC_VERSION, asPointer(SQL_OV_ODBC3), 0);
        return std::make_unique<Handle>(odbc_, SQL_HANDLE_DBC, environment_.get());
    }

    std::string driverName() const {
        std::array<char, 64> name{};
        odbc_.SQLGetInfo(connection_->get(), SQL_DRIVER_NAME, name.data(),
                         static_cast<SQLSMALLINT>(name.size()), nullptr);
        return name.data();
    }

    // The attribute is a hint to the driver. The statement lets the server refuse; not every database knows
    // it.
    void forbidWriting() {
        const Handle statement(odbc_, SQL_HANDLE_STMT, connection_->get());
        std::u16string text = u"SET TRANSACTION READ ONLY";
        const SQLRETURN result =
            odbc_.SQLExecDirectW(statement.get(), wide(text), static_cast<SQLINTEGER>(text.size()));
        if (!SQL_SUCCEEDED(result)) odbc_.SQLEndTran(SQL_HANDLE_DBC, connection_->get(), SQL_ROLLBACK);
    }

    [[noreturn]] void failToConnect() const {
        std::string message = connection_->messages();
        // The manager's words for a driver that is not installed, or a source that nobody has configured.
        if (message.find("Can't open lib") != std::string::npos ||
            message.find("Data source name") != std::string::npos) {
            message +=
                "; drivers are in the packages odbc-postgresql, odbc-mariadb, tdsodbc and libsqliteodbc, and "
                "their names in odbcinst.ini";
        }
        throw EngineError(ErrorCode::FetchFailed, message, {origin_});
    }

    const Odbc& odbc_ = Odbc::functions();
    std::string origin_;
    Handle environment_;
    std::unique_ptr<Handle> connection_;
};

// How a column is read.
enum class Read { Whole, Decimal, Float, Double, Boolean, Date, Text, Bytes };

// PostgreSQL's driver reports booleans as texts, and amounts of money as doubles that it can't convert: the
// name of the type is what counts.
Read readOf(SQLSMALLINT type, std::string_view typeName, bool isUnsigned) {
    if (typeName == "bool") return Read::Boolean;
    if (typeName == "money") return Read::Text;
    switch (type) {
        case SQL_BIT:
            return Read::Boolean;
        case SQL_TINYINT:
        case SQL_SMALLINT:
        case SQL_INTEGER:
            return Read::Whole;
        case SQL_BIGINT:
            return isUnsigned ? Read::Decimal : Read::Whole;
        case SQL_DECIMAL:
        case SQL_NUMERIC:
            return Read::Decimal;
        case SQL_REAL:
            return Read::Float;
        case SQL_FLOAT:
        case SQL_DOUBLE:
            return Read::Double;
        case SQL_TYPE_DATE:
        case SQL_TYPE_TIMESTAMP:
            return Read::Date;
        case SQL_BINARY:
        case SQL_VARBINARY:
        case SQL_LONGVARBINARY:
            return Read::Bytes;
        default:
            return Read::Text;
    }
}

class Query : public SqlQuery {
public:
    Query(std::shared_ptr<Connection> connection, std::u16string_view statement)
        : connection_(std::move(connection)),
          odbc_(connection_->odbc()),
          text_(placeholdersFor(statement)),
          statement_(odbc_, SQL_HANDLE_STMT, connection_->get()) {
        odbc_.SQLSetStmtAttrW(statement_.get(), SQL_ATTR_QUERY_TIMEOUT, asPointer(limits::kQuerySeconds),
                              SQL_IS_UINTEGER);
        std::u16string text = text_.text;
        clock_.start();
        check(odbc_.SQLPrepareW(statement_.get(), wide(text), static_cast<SQLINTEGER>(text.size())));
        readColumns();
    }

    const std::vector<std::u16string>& parameters() const override { return text_.names; }
    DataSet shape() override { return newResult().finish(); }

    DataSet run(std::span<const Value> values) override {
        const Running running(*this);
        clock_.start();
        clock_.check();
        bind(values);
        check(await([this] { return odbc_.SQLExecute(statement_.get()); }));
        if (!std::exchange(hasRun_, true)) readColumns();  // some drivers know the types only now
        if (columns_.empty()) fail("the statement returns no rows");
        SqlResult result = newResult();
        for (SQLRETURN fetched; (fetched = odbc_.SQLFetch(statement_.get())) != SQL_NO_DATA;) {
            check(fetched);
            clock_.check();
            result.beginRow();
            for (std::size_t column = 0; column < columns_.size(); ++column) addValue(result, column);
        }
        return result.finish();
    }

private:
    struct Running {
        explicit Running(Query& owner) : query(owner) {}
        ~Running() {
            query.odbc_.SQLFreeStmt(query.statement_.get(), SQL_CLOSE);
            query.odbc_.SQLFreeStmt(query.statement_.get(), SQL_RESET_PARAMS);
        }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        Query& query;
    };
    struct Column {
        std::string name;
        Read read;
    };
    // A value while the statement runs.
    struct Bound {
        std::u16string text;
        SQLLEN length = 0;
    };

    [[noreturn]] void fail(const std::string& message) const {
        throw EngineError(ErrorCode::BadData, message, {connection_->origin()});
    }
    void check(SQLRETURN result) const {
        if (!SQL_SUCCEEDED(result)) fail(statement_.messages());
    }

    // The result of a call in which the server works, perhaps for long. This thread sees when the export
    // ends, and then cancels the call: some drivers cancel only what has already begun, so more than once.
    template <class Call>
    SQLRETURN await(Call call) {
        std::future<SQLRETURN> answer;
        try {
            answer = std::async(std::launch::async, call);
        } catch (const std::system_error& error) {
            throw MachineError(connection_->origin() + ": " + error.what());
        }
        const auto isWorking = [&] { return answer.wait_for(kBetweenChecks) == std::future_status::timeout; };
        try {
            while (isWorking()) clock_.check();
        } catch (...) {
            do odbc_.SQLCancel(statement_.get());
            while (isWorking());
            throw;
        }
        return answer.get();
    }

    void readColumns() {
        SQLSMALLINT count = 0;
        // A prepared statement goes to the server here.
        check(await([&] { return odbc_.SQLNumResultCols(statement_.get(), &count); }));
        columns_.clear();
        std::u16string name(kNameUnits + 1, u'\0');
        for (SQLSMALLINT i = 1; i <= count; ++i) {
            SQLSMALLINT length = 0;
            SQLSMALLINT type = 0;
            SQLSMALLINT digits = 0;
            SQLSMALLINT nullable = 0;
            SQLULEN size = 0;
            check(odbc_.SQLDescribeColW(statement_.get(), static_cast<SQLUSMALLINT>(i), wide(name),
                                        static_cast<SQLSMALLINT>(name.size()), &length, &type, &size, &digits,
                                        &nullable));
            const auto units =
                std::min(static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0)), name.size() - 1);
            columns_.push_back({toUtf8(name.substr(0, units)), readOf(type, typeNameOf(i), isUnsigned(i))});
        }
    }

    std::string typeNameOf(SQLSMALLINT column) const {
        std::u16string name(kNameUnits, u'\0');
        SQLSMALLINT bytes = 0;
        const SQLRETURN result = odbc_.SQLColAttributeW(
            statement_.get(), static_cast<SQLUSMALLINT>(column), SQL_DESC_TYPE_NAME, name.data(),
            static_cast<SQLSMALLINT>(name.size() * sizeof(char16_t)), &bytes, nullptr);
        return SQL_SUCCEEDED(result) ? toUtf8(name.substr(0, name.find(u'\0'))) : std::string();
    }
    bool isUnsigned(SQLSMALLINT column) const {
        SQLLEN answer = SQL_FALSE;
        odbc_.SQLColAttributeW(statement_.get(), static_cast<SQLUSMALLINT>(column), SQL_DESC_UNSIGNED,
                               nullptr, 0, nullptr, &answer);
        return answer == SQL_TRUE;
    }

    SqlResult newResult() const {
        SqlResult result(connection_->origin());
        for (const Column& column : columns_) result.addColumn(column.name);
        return result;
    }

    // Values are bound as texts, which every driver converts to the type of the parameter without loss.
    void bind(std::span<const Value> values) {
        bound_.assign(text_.uses.size(), {});
        for (std::size_t i = 0; i < bound_.size(); ++i) {
            const Value& value = values[text_.uses[i]];
            Bound& bound = bound_[i];
            bound.length = value.isNull() ? SQL_NULL_DATA : SQL_NTS;
            if (value.type == ValueType::Date) {
                bound.text = toUtf16(sqlDate(value.date));
            } else if (value.type == ValueType::Boolean) {
                bound.text = value.boolean ? u"1" : u"0";
            } else {
                bound.text = textOf(value);
            }
            const SQLSMALLINT type = value.type == ValueType::Number    ? SQL_DECIMAL
                                     : value.type == ValueType::Boolean ? SQL_BIT
                                     : value.type == ValueType::Date    ? SQL_TYPE_TIMESTAMP
                                                                        : SQL_WVARCHAR;
            const std::size_t point = bound.text.find(u'.');
            const std::size_t places = point == std::u16string::npos ? 0 : bound.text.size() - point - 1;
            check(odbc_.SQLBindParameter(
                statement_.get(), static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT, SQL_C_WCHAR, type,
                std::max<SQLULEN>(bound.text.size(), 1),
                static_cast<SQLSMALLINT>(type == SQL_DECIMAL ? std::min<std::size_t>(places, 38) : 0),
                bound.text.data(), 0, &bound.length));
        }
    }

    static std::u16string textOf(const Value& value) {
        const Decimal* const decimal = value.type == ValueType::Number ? value.number.decimal() : nullptr;
        if (decimal == nullptr) return std::u16string(value.text);
        std::array<char16_t, Decimal::kLongestText> digits;
        return {digits.data(), decimal->write(digits.data())};
    }

    void addValue(SqlResult& result, std::size_t index) {
        const auto column = static_cast<SQLUSMALLINT>(index + 1);
        switch (columns_[index].read) {
            case Read::Whole: {
                std::int64_t number = 0;
                if (getFixed(column, SQL_C_SBIGINT, number)) result.setWhole(index, number);
                break;
            }
            case Read::Float: {
                float number = 0;
                if (getFixed(column, SQL_C_FLOAT, number)) result.setReal(index, number);
                break;
            }
            case Read::Double: {
                double number = 0;
                if (getFixed(column, SQL_C_DOUBLE, number)) result.setReal(index, number);
                break;
            }
            case Read::Boolean: {
                unsigned char bit = 0;
                if (getFixed(column, SQL_C_BIT, bit)) result.setBoolean(index, bit != 0);
                break;
            }
            case Read::Bytes:
                if (getLong(column, SQL_C_BINARY, 0)) result.setBytes(index, bytes_);
                break;
            case Read::Decimal:
                if (getText(column)) result.setDecimal(index, toUtf8(units_));
                break;
            case Read::Date:
                if (getText(column)) result.setDateText(index, toUtf8(units_));
                break;
            default:
                if (getText(column)) result.setText(index, std::u16string_view(units_));
        }
    }

    // These return false for null.

    template <class T>
    bool getFixed(SQLUSMALLINT column, SQLSMALLINT type, T& value) {
        SQLLEN length = 0;
        check(odbc_.SQLGetData(statement_.get(), column, type, &value, sizeof value, &length));
        return length != SQL_NULL_DATA;
    }

    bool getText(SQLUSMALLINT column) {
        if (!getLong(column, SQL_C_WCHAR, sizeof(char16_t))) return false;
        units_.resize(bytes_.size() / sizeof(char16_t));
        std::memcpy(units_.data(), bytes_.data(), units_.size() * sizeof(char16_t));
        return true;
    }

    // Reads a value of any length in parts; a text has a terminator in each of them.
    bool getLong(SQLUSMALLINT column, SQLSMALLINT type, std::size_t terminator) {
        bytes_.clear();
        for (;;) {
            SQLLEN length = 0;
            const SQLRETURN result = odbc_.SQLGetData(statement_.get(), column, type, part_.data(),
                                                      static_cast<SQLLEN>(part_.size()), &length);
            if (result == SQL_NO_DATA) return true;
            check(result);
            if (length == SQL_NULL_DATA) return false;
            const std::size_t room = part_.size() - terminator;
            const bool isPart = length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > room;
            bytes_.append(part_.data(), isPart ? room : static_cast<std::size_t>(length));
            if (bytes_.size() > std::size_t{limits::kDatabaseValueBytes}) {
                throw EngineError(
                    ErrorCode::LimitExceeded,
                    "a value is longer than " + std::to_string(limits::kDatabaseValueBytes >> 20) + " MiB");
            }
            if (!isPart) return true;
        }
    }

    std::shared_ptr<Connection> connection_;
    const Odbc& odbc_;
    SqlStatement text_;
    Handle statement_;
    QueryClock clock_;
    bool hasRun_ = false;
    std::vector<Column> columns_;
    std::vector<Bound> bound_;
    std::string bytes_;
    std::u16string units_;
    std::array<char, 16 * 1024> part_;
};

std::unique_ptr<SqlQuery> Connection::prepare(std::u16string_view statement) {
    return std::make_unique<Query>(shared_from_this(), statement);
}

}  // namespace

std::shared_ptr<SqlConnection> openOdbc(std::u16string_view connection) {
    return std::make_shared<Connection>(connection);
}

std::string shownOdbc(std::u16string_view connection) {
    std::u16string shown;
    while (!connection.empty()) {
        const std::size_t equals = std::min(connection.find(u'='), connection.size());
        // A value in braces may hold semicolons.
        const bool isBraced = connection.substr(equals).starts_with(u"={");
        const std::size_t from = isBraced ? std::min(connection.find(u'}', equals), connection.size()) : 0;
        const std::size_t end = std::min(connection.find(u';', from), connection.size());
        const std::u16string_view name = trimmed(connection.substr(0, std::min(equals, end)));
        const bool isSecret = equalsIgnoringCase(name, u"PWD") || equalsIgnoringCase(name, u"PASSWORD") ||
                              equalsIgnoringCase(name, u"PASS");
        if (!shown.empty()) shown += u';';
        shown += isSecret ? std::u16string(name) + u"=..." : std::u16string(connection.substr(0, end));
        connection.remove_prefix(std::min(end + 1, connection.size()));
    }
    return toUtf8(shown);
}

}  // namespace qbsvrl6
