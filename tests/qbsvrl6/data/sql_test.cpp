// Databases: SQLite, and the same through ODBC.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "qbsvrl6/data/sql.h"
#include "qbsvrl6/data/sql_statement.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"
#include "tests/qbsvrl6/data/described.h"
#include "tests/scratch_directory.h"

namespace qbsvrl6 {
namespace {

constexpr const char* kShop = R"(
CREATE TABLE Orders (Id INTEGER PRIMARY KEY, Region TEXT, Price DECIMAL(10,2), OrderedOn DATE, At TIMESTAMP,
                     Paid BOOLEAN, Photo BLOB, Rate REAL);
INSERT INTO Orders VALUES
  (1, '华东', 12.9, '2024-03-05', '2024-03-05 10:30:00.25', 1, x'00FF10', 0.1),
  (9007199254740993, 'O''Hara', 1250, '5 March', '2024-03-05T10:30', 0, NULL, 1e300),
  (-3, '', NULL, '2024-02-30', NULL, NULL, x'', NULL);)";

void execute(sqlite3* database, const char* sql) {
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
}

class SqlTest : public testing::Test {
protected:
    SqlTest() {
        sqlite3_open((directory_ + "shop.db").c_str(), &writer_);
        execute(writer_, kShop);
    }
    ~SqlTest() override { sqlite3_close(writer_); }

    std::string named(std::string message) const {
        for (std::size_t at; (at = message.find(directory_)) != std::string::npos;)
            message.erase(at, directory_.size());
        return message;
    }

    template <class Open>
    std::string run(Open open, const std::string& sql, const std::vector<Value>& values = {}) const {
        try {
            const std::unique_ptr<SqlQuery> query = open()->prepare(toUtf16(sql));
            EXPECT_EQ(query->parameters().size(), values.size()) << sql;
            return describe(query->run(values));
        } catch (const EngineError& error) {
            return named(std::string("! ") + error.what());
        }
    }
    std::string sqlite(const std::string& sql, const std::vector<Value>& values = {},
                       const std::string& file = "shop.db") const {
        return run([&] { return openSqlite({toUtf16(file), directory_}); }, sql, values);
    }

    ScratchDirectory scratch_;
    std::string directory_ = scratch_.path.string() + "/";
    sqlite3* writer_ = nullptr;
};

TEST_F(SqlTest, ValuesHaveTheTypesOfTheDatabase) {
    EXPECT_EQ(sqlite("SELECT Id, Region, Price, OrderedOn FROM Orders ORDER BY rowid"),
              "(Id,Region,Price,OrderedOn):#-3,,-,2024-02-30;#1,华东,#12.9,@2024-03-05;"
              "#9007199254740993,O'Hara,#1250,5 March ");
    EXPECT_EQ(sqlite("SELECT At, Paid, Photo, Rate FROM Orders WHERE Id > 0 ORDER BY rowid"),
              "(At,Paid,Photo,Rate):@2024-03-05 10:30:00.25,yes,AP8Q,#0.1;@2024-03-05T10:30,no,-,#1e+300 ");
    EXPECT_EQ(sqlite("SELECT 1 AS a, 2 AS a, CAST(x'FF' AS TEXT) AS t, x'' AS b; -- the end"),
              "(a,a_2,t,b):#1,#2,\xEF\xBF\xBD, ");
    EXPECT_EQ(sqlite("SELECT * FROM Orders WHERE 0").substr(0, 20), "(Id,Region,Price,Ord");
}

TEST_F(SqlTest, ParametersAreValuesAndNeverText) {
    const auto text = [](std::u16string_view value) { return Value{ValueType::Text, false, {}, 0, value}; };
    const Value none;
    const Value whole{ValueType::Number, false, Number(9007199254740993), 0, u""};
    const Value day{ValueType::Date, false, {}, 1'709'596'800, u""};
    const Value yes{ValueType::Boolean, true, {}, 0, u""};
    const struct {
        std::string condition;
        std::vector<Value> values;
        std::string expected;
    } cases[] = {
        {"Region = :Region", {text(u"O'Hara")}, "#9007199254740993"},
        {"Region = :区域", {text(u"' OR ''='")}, ""},
        {"Id = :Id OR Id = :Id", {whole}, "#9007199254740993"},
        {"OrderedOn = :Day AND Paid = :Paid", {day, yes}, "#1"},
        {"At IS :None", {none}, "#-3"},
        {"':No' = Region OR Id = :A + :B", {whole, text(u"0")}, "#9007199254740993"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(sqlite("SELECT Id FROM Orders WHERE " + one.condition, one.values),
                  "(Id):" + one.expected + " ")
            << one.condition;
    }
    const auto query =
        openSqlite({u"shop.db", directory_})->prepare(u"SELECT count(*) AS n FROM Orders WHERE Id < :Id");
    for (const char* expected : {"(n):#2 ", "(n):#2 "})
        EXPECT_EQ(describe(query->run({&whole, 1})), expected);
}

TEST_F(SqlTest, QueriesOnlyReadThisDatabase) {
    WriteFile(directory_ + "text.db",
              "not a database, but long enough to be taken for one" + std::string(1000, '.'));
    std::string wide;
    for (int i = 0; i < 100'000; ++i) wide += ",1";
    const struct {
        std::string sql, expected, file = "shop.db";
    } cases[] = {
        {"SELEC 1", "! shop.db: near \"SELEC\": syntax error"},
        {"SELECT * FROM Absent", "! shop.db: no such table: Absent"},
        {" ", "! shop.db: the query is empty"},
        {"SELECT 1; SELECT 2", "! shop.db: the query has more than one statement"},
        {"SELECT 1 WHERE 1 = ?", "! shop.db: a parameter without a name; write it as \":Name\""},
        {"DELETE FROM Orders",
         "! shop.db: not authorized: a query only reads, and reads this database alone"},
        {"ATTACH '/etc/passwd' AS p",
         "! shop.db: not authorized: a query only reads, and reads this database alone"},
        {"PRAGMA query_only=0",
         "! shop.db: not authorized: a query only reads, and reads this database alone"},
        {"SELECT load_extension('x')", "! shop.db: not authorized"},
        {"SELECT 1", "! text.db: file is not a database", "text.db"},
        {"SELECT 1", "! absent.db: No such file or directory", "absent.db"},
        {"SELECT 1", "! http://h/x: a database is a file", "http://h/x"},
        {"SELECT zeroblob(300000000)", "! shop.db: string or blob too big"},
        {"SELECT 1" + wide, "! shop.db: too many columns in result set"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(sqlite(one.sql, {}, one.file).substr(0, one.expected.size()), one.expected) << one.sql;
    }
}

TEST_F(SqlTest, QueriesEndWithTheirExport) {
    constexpr const char* kEndless =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT max(i) FROM n";
    Budget budget;
    budget.wallMilliseconds = 100;
    {
        const Spending spending(budget);
        EXPECT_NE(sqlite(kEndless).find("wall-time"), std::string::npos);
    }
    execute(writer_, "BEGIN EXCLUSIVE");
    std::atomic<bool> cancelled = false;
    const Spending spending(Budget{}, &cancelled);
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        cancelled = true;
    });
    EXPECT_EQ(sqlite("SELECT 1"), "! the export was cancelled") << "a locked database";
    canceller.join();
}

// A transaction that begins during an export changes nothing in it.
TEST_F(SqlTest, AllQueriesOfAConnectionSeeTheSameData) {
    execute(writer_, "PRAGMA journal_mode=WAL");
    const std::shared_ptr<SqlConnection> connection = openSqlite({u"shop.db", directory_});
    execute(writer_, "INSERT INTO Orders (Id) VALUES (77)");
    const auto count = [&] {
        return describe(connection->prepare(u"SELECT count(*) AS n FROM Orders")->run({}));
    };
    EXPECT_EQ(count(), "(n):#3 ");
    std::thread([&] { EXPECT_EQ(sqlite("SELECT count(*) AS n FROM Orders"), "(n):#4 "); }).join();
}

TEST_F(SqlTest, OdbcReadsTheSame) {
    const auto odbc = [&](const std::string& sql, const std::vector<Value>& values = {},
                          const std::string& connection = "Driver=SQLite3;PWD=secret;Database=") {
        return run([&] { return openOdbc(toUtf16(connection + directory_ + "shop.db")); }, sql, values);
    };
    const std::string first = odbc("SELECT 1 AS n");
    if (first.find("Can't open lib") != std::string::npos) GTEST_SKIP() << "libsqliteodbc is not installed";
    EXPECT_EQ(first, "(n):#1 ");
    EXPECT_EQ(odbc("SELECT Id, Region, OrderedOn, Rate, Photo FROM Orders WHERE Region = :R OR Region = :R",
                   {{ValueType::Text, false, {}, 0, u"华东"}}),
              "(Id,Region,OrderedOn,Rate,Photo):#1,华东,@2024-03-05,#0.1,AP8Q ");
    EXPECT_EQ(odbc("SELECT count(*) AS n FROM Orders WHERE Id >= :N AND OrderedOn < :D",
                   {{ValueType::Number, false, Number(1), 0, u""},
                    {ValueType::Date, false, {}, 1'709'683'200, u""}}),
              "(n):#1 ");
    EXPECT_EQ(
        odbc("SELECT :T || '' AS t", {{ValueType::Text, false, {}, 0, std::u16string(40'000, u'长')}}).size(),
        std::string("(t): ").size() + 120'000);
    EXPECT_NE(odbc("SELECT * FROM Absent").find("odbc:Driver=SQLite3;PWD=...;Database=shop.db: "),
              std::string::npos);
    EXPECT_NE(odbc("SELECT 1", {}, "Driver=Absent;X=").find("drivers are in the packages"),
              std::string::npos);
}

TEST(SqlStatement, NamesBecomePlaceholders) {
    const struct {
        std::u16string_view sql, expected, names;
    } cases[] = {
        {u"a = :A and b=:b_2+:A", u"a = ? and b=?+?", u"A b_2 "},
        {u"x::date = :区域::text", u"x::date = ?::text", u"区域 "},
        {u"':no' \":no\" `:no` -- :no\n/* :no */ :yes 'it''s :no'",
         u"':no' \":no\" `:no` -- :no\n/* :no */ ? 'it''s :no'", u"yes "},
        {u"a := 1; ':open", u"a := 1; ':open", u""},
        {u":", u":", u""},
    };
    for (const auto& one : cases) {
        const SqlStatement statement = placeholdersFor(one.sql);
        std::u16string names;
        for (const std::u16string& name : statement.names) names += name + u" ";
        EXPECT_EQ(toUtf8(statement.text), toUtf8(one.expected));
        EXPECT_EQ(toUtf8(names), toUtf8(one.names));
    }
    EXPECT_EQ(shownOdbc(u"DSN=a; pwd = x;Password={a;b};UID=u"), "DSN=a;pwd=...;Password=...;UID=u");
}

}  // namespace
}  // namespace qbsvrl6
