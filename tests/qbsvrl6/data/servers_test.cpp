// PostgreSQL and MariaDB through their ODBC drivers: with QBSVR_FULL_TESTS=1, against servers on a temporary
// directory and a Unix socket.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "qbsvrl6/data/sql.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"
#include "tests/qbsvrl6/data/described.h"
#include "tests/scratch_directory.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

struct Product {
    std::string name;
    std::string setup, use;  // SQL of the server's owner
    std::string connection;  // that the directory and the password follow
    std::string types;       // the columns of a table
    std::string values;      // of its one row
    std::string described;
    std::string sleep;
    std::string wrongPassword, noTable, twoRows, noWriting;  // parts of messages
};

void PrintTo(const Product& product, std::ostream* out) { *out << product.name; }

const Product kProducts[] = {
    {
        .name = "postgresql",
        .setup = "CREATE USER reader PASSWORD 'open-sesame'; CREATE SCHEMA AUTHORIZATION reader;",
        .use = "SET ROLE reader; SET SEARCH_PATH = reader;",
        .connection = "Driver=PostgreSQL Unicode;Database=postgres;UID=reader;Server=",
        .types = "b bigint, u numeric, r real, o boolean, s timestamp, p bytea, m money, n numeric(20,6),",
        .values = "9223372036854775807, 0.1000, 0.1, true, '2024-03-05 10:30:00.25', '\\x00ff10', 12.5,",
        .described = "#9223372036854775807,#0.1000,#0.1,yes,@2024-03-05 10:30:00.25,AP8Q,$12.50,",
        .sleep = "SELECT pg_sleep(30)",
        .wrongPassword = "password authentication failed for user \"reader\"",
        .noTable = "relation \"absent\" does not exist",
        .twoRows = "more than one row returned by a subquery",
        .noWriting = "cannot execute INSERT in a read-only transaction",
    },
    {
        .name = "mariadb",
        .setup = "CREATE DATABASE shop CHARACTER SET utf8mb4; CREATE USER reader IDENTIFIED BY 'open-sesame';"
                 "GRANT ALL ON shop.* TO reader;",
        .use = "USE shop;",
        .connection = "Driver=MariaDB Unicode;Database=shop;UID=reader;Socket=",
        .types = "b bigint unsigned, u decimal(65,30), r float, o bit(1), s datetime(2), p blob, m year, n "
                 "decimal(20,6),",
        .values = "18446744073709551615, 0.1, 0.1, 1, '2024-03-05 10:30:00.25', x'00ff10', 2024,",
        .described = "#18446744073709551615,#0.100000000000000000000000000000,#0.1,yes,@2024-03-05 "
                     "10:30:00.25,AP8Q,#2024,",
        .sleep = "SELECT sleep(30)",
        .wrongPassword = "Access denied for user 'reader'@'localhost'",
        .noTable = "Table 'shop.absent' doesn't exist",
        .twoRows = "Subquery returns more than 1 row",
        .noWriting = "Cannot execute statement in a READ ONLY transaction",
    },
};

const std::string kOrders = R"(
CREATE TABLE Orders (Id bigint, Region varchar(40), Price decimal(12,2), OrderedOn date, At timestamp, Paid boolean);
INSERT INTO Orders VALUES (1, '华东', 12.90, '2024-03-05', '2024-03-05 10:30:00', true),
  (2, 'O''Hara', 0.10, '2024-03-06', '2024-03-06 00:00:00', false), (3, NULL, NULL, NULL, NULL, NULL),
  (9007199254740993, '', 1250, '2024-03-05', '2024-03-05 23:59:59', true);
)";

class Server {
public:
    explicit Server(const Product& product) : product_(product) {
        std::filesystem::permissions(directory_.path, std::filesystem::perms::all);
        run("create");
        run("start");
        sql(product.setup + product.use + kOrders + "CREATE TABLE Types (" + product.types +
            "i int, f double precision, d date, z time, t text, c varchar(20), x int);"
            "INSERT INTO Types VALUES (" +
            product.values +
            "12345678901234.123456, -1, 0.30000000000000004, '2024-02-29', '10:30', '蓝海𠮷', 'O''Hara', "
            "NULL);");
    }
    ~Server() { run("kill"); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void run(const std::string& action, const std::string& input = "/dev/null") const {
        const std::string command = "cd " + directory_.path.string() +
                                    " && " QBSVR_SOURCE_DIR "/tests/qbsvrl6/data/database_server " +
                                    product_.name + " " + action + " <" + input + " >>actions 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << ReadFile(directory_.path / "actions");
    }
    void sql(const std::string& statements) const {
        WriteFile(directory_.path / "statements", statements);
        run("sql", "statements");
    }
    std::string connection(const std::string& password) const {
        return product_.connection + directory_.path.string() +
               (product_.name == "mariadb" ? "/socket" : "") + ";PWD=" + password;
    }

private:
    const Product& product_;
    ScratchDirectory directory_;
};

class ServersTest : public testing::TestWithParam<Product> {
protected:
    void SetUp() override {
        const char* const full = std::getenv("QBSVR_FULL_TESTS");
        if (full == nullptr || std::string(full) != "1") GTEST_SKIP() << "only with QBSVR_FULL_TESTS=1";
    }
    // Each server is started once.
    const Server& server() const {
        static std::map<std::string, std::unique_ptr<Server>> servers;
        std::unique_ptr<Server>& known = servers[GetParam().name];
        if (known == nullptr) known = std::make_unique<Server>(GetParam());
        return *known;
    }
    std::shared_ptr<SqlConnection> open(const std::string& password = "open-sesame") const {
        return openOdbc(toUtf16(server().connection(password)));
    }
    static std::string run(SqlQuery& query, const std::vector<Value>& values) {
        return describe(query.run(values));
    }
    static std::string run(SqlConnection& connection, const std::string& sql,
                           const std::vector<Value>& values = {}) {
        return run(*connection.prepare(toUtf16(sql)), values);
    }
    // The message of what goes wrong.
    template <class Action>
    static std::string causeOf(Action action) {
        try {
            return "no error: " + action();
        } catch (const EngineError& error) {
            return error.what();
        }
    }
};

TEST_P(ServersTest, ValuesHaveTheTypesOfTheDatabase) {
    EXPECT_EQ(run(*open(), "SELECT * FROM Types"),
              "(b,u,r,o,s,p,m,n,i,f,d,z,t,c,x):" + GetParam().described +
                  "#12345678901234.123456,#-1,#0.30000000000000004,@2024-02-29,10:30:00,蓝海𠮷,O'Hara,- ");
}

TEST_P(ServersTest, ParametersAreValuesAndNeverText) {
    const auto text = [](std::u16string_view value) { return Value{ValueType::Text, false, {}, 0, value}; };
    const auto number = [](std::int64_t value) {
        return Value{ValueType::Number, false, Number(value), 0, u""};
    };
    const auto date = [](std::int64_t seconds) { return Value{ValueType::Date, false, {}, seconds, u""}; };
    const Value yes{ValueType::Boolean, true, {}, 0, u""};
    Number tenth;
    Number::parse("0.10", tenth);
    const std::u16string longText(100'000, u'长');
    const struct {
        std::string condition;
        std::vector<Value> values;
        std::string expected;
    } cases[] = {
        {"Region = :Region", {text(u"华东")}, "#1"},
        {"Region = :Region", {text(u"O'Hara")}, "#2"},
        {"Region = :区域 OR Region = :区域", {text(u"' OR ''='")}, ""},
        {"Region = :Empty", {text(u"")}, "#9007199254740993"},
        {"Id = :Id OR Id = :Id", {number(9007199254740993)}, "#9007199254740993"},
        {"Price = :Price", {Value{ValueType::Number, false, tenth, 0, u""}}, "#2"},
        {"Price > :Price AND Id < :Max", {number(1), number(5)}, "#1"},
        {"OrderedOn = :Day AND Paid = :Paid", {date(1'709'596'800), yes}, "#1;#9007199254740993"},
        {"At = :At", {date(1'709'634'600)}, "#1"},
        {"At >= :From AND At < :To", {date(1'709'634'601), date(1'709'683'200)}, "#9007199254740993"},
        {"Region = :None OR Id = :Id", {Value(), number(3)}, "#3"},
        {"char_length(:Long) = 100000 AND Id = 1", {text(longText)}, "#1"},
    };
    const std::shared_ptr<SqlConnection> connection = open();
    for (const auto& one : cases) {
        const std::string sql = "SELECT id FROM Orders WHERE " + one.condition + " ORDER BY Id";
        EXPECT_EQ(causeOf([&] { return run(*connection, sql, one.values); }),
                  "no error: (id):" + one.expected + " ")
            << one.condition;
    }
    // As a sub-report does.
    const std::unique_ptr<SqlQuery> query =
        connection->prepare(u"SELECT region, price FROM Orders WHERE Id = :Id");
    for (const auto& [id, expected] :
         {std::pair(2, "O'Hara,#0.10"), {1, "华东,#12.90"}, {4, ""}, {2, "O'Hara,#0.10"}}) {
        EXPECT_EQ(run(*query, {number(id)}), std::string("(region,price):") + expected + " ");
    }
}

TEST_P(ServersTest, ErrorsHaveTheMessageOfTheDatabase) {
    const Product& product = GetParam();
    const struct {
        std::string sql, expected;
    } cases[] = {
        {"SELECT * FROM absent", product.noTable},
        {"SELEC 1", "syntax"},
        {"SELECT (SELECT Id FROM Orders) AS n", product.twoRows},
        {"INSERT INTO Orders (Id) VALUES (77)", product.noWriting},
    };
    for (const auto& one : cases) {
        const std::string cause = causeOf([&] { return run(*open(), one.sql); });
        EXPECT_NE(cause.find(one.expected), std::string::npos) << one.sql << ": " << cause;
        EXPECT_EQ(cause.find("open-sesame"), std::string::npos) << cause;
    }
    const std::string refused = causeOf([&] { return run(*open("open-sesam"), "SELECT 1"); });
    EXPECT_NE(refused.find(product.wrongPassword), std::string::npos) << refused;
    EXPECT_EQ(refused.find("open-sesam"), std::string::npos) << refused;
}

TEST_P(ServersTest, QueriesEndWithTheirExport) {
    const std::shared_ptr<SqlConnection> connection = open();
    const std::unique_ptr<SqlQuery> query = connection->prepare(toUtf16(GetParam().sleep));
    {
        Budget budget;
        budget.wallMilliseconds = 100;
        const Spending spending(budget);
        EXPECT_NE(causeOf([&] { return run(*query, {}); }).find("wall-time"), std::string::npos);
    }
    std::atomic<bool> cancelled = false;
    const Spending spending(Budget{}, &cancelled);
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        cancelled = true;
    });
    EXPECT_EQ(causeOf([&] { return run(*open(), GetParam().sleep); }), "the export was cancelled");
    canceller.join();
}

TEST_P(ServersTest, AllQueriesOfAConnectionSeeTheSameData) {
    const std::string count = "SELECT count(*) AS n FROM Types";
    const std::shared_ptr<SqlConnection> connection = open();
    EXPECT_EQ(run(*connection, count), "(n):#1 ");
    server().sql(GetParam().use + "INSERT INTO Types (i) VALUES (7)");
    EXPECT_EQ(run(*connection, count), "(n):#1 ");
    EXPECT_EQ(run(*open(), count), "(n):#2 ");
}

TEST_P(ServersTest, AServerThatDiesIsAnError) {
    const std::shared_ptr<SqlConnection> connection = open();
    const std::unique_ptr<SqlQuery> query = connection->prepare(toUtf16(GetParam().sleep));
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        server().run("kill");
    });
    const std::string cause = causeOf([&] { return run(*query, {}); });
    killer.join();
    EXPECT_NE(cause.find("server"), std::string::npos) << cause;
    const std::string refused = causeOf([&] { return run(*open(), "SELECT 1"); });
    EXPECT_NE(refused.find("server"), std::string::npos) << refused;
    server().run("start");
}

INSTANTIATE_TEST_SUITE_P(Odbc, ServersTest, testing::ValuesIn(kProducts),
                         [](const auto& product) { return product.param.name; });

}  // namespace
}  // namespace qbsvrl6
