// The embedded database that someone would take instead: a table of section, key and line in a file of its
// own, as it comes, but without flushing where nobody flushes. Loading takes the route in; saving is the
// commit of what changed, not a text that an office could read. Edits are one transaction, which is not
// committed while it is measured.
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "bench/Contestants.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kName = "SQLite";

class Database {
public:
    explicit Database(const std::string& path) {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        sqlite3_open(path.c_str(), &m_database);
    }
    ~Database() { sqlite3_close(m_database); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    sqlite3* Handle() const { return m_database; }
    bool Do(const char* sql) { return sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

private:
    sqlite3* m_database = nullptr;
};

// A prepared statement. Texts are bound as they lie.
class Statement {
public:
    Statement(const Database& database, const char* sql) {
        sqlite3_prepare_v2(database.Handle(), sql, -1, &m_statement, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void Bind(int column, std::string_view text) {
        sqlite3_bind_text(m_statement, column, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    }
    void Bind(int column, int number) { sqlite3_bind_int(m_statement, column, number); }

    bool Step() { return sqlite3_step(m_statement) == SQLITE_ROW; }
    const char* Column(int column) {
        return reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    }
    void Reset() { sqlite3_reset(m_statement); }

private:
    sqlite3_stmt* m_statement = nullptr;
};

class SqliteStore {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = 50000;

    explicit SqliteStore(const std::string& path)
        : SqliteStore(path, NewPath(path), "PRAGMA synchronous=OFF") {}

    SqliteStore(const std::string& path, const std::string& databasePath, const char* pragma)
        : m_path(databasePath), m_database(databasePath) {
        m_database.Do(pragma);
        m_database.Do("PRAGMA locking_mode=EXCLUSIVE");  // nobody else reads or writes it
        m_database.Do("CREATE TABLE entry(section TEXT COLLATE NOCASE, key TEXT COLLATE NOCASE, line TEXT)");
        m_database.Do("CREATE INDEX names ON entry(section, key)");
        Prepare();
        Import(path);
    }
    ~SqliteStore() {
        Commit();
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;

    bool Find(const Query& query, char* dst, std::size_t size) {
        m_select->Bind(1, query.section);
        m_select->Bind(2, query.key);
        const bool found = m_select->Step();
        if (found)
            CopyValue(dst, size, m_select->Column(0));
        m_select->Reset();
        return found;
    }
    bool EntryAt(const char* section, int index, char* key, char* value, std::size_t size) {
        m_selectNumber->Bind(1, section);
        m_selectNumber->Bind(2, index - 1);
        const bool found = m_selectNumber->Step();
        if (found) {
            CopyValue(key, size, m_selectNumber->Column(0));
            CopyValue(value, size, m_selectNumber->Column(1));
        }
        m_selectNumber->Reset();
        return found;
    }
    bool Set(const Query& query, const std::string& value) {
        Begin();
        m_update->Bind(1, value);
        m_update->Bind(2, query.section);
        m_update->Bind(3, query.key);
        m_update->Step();
        m_update->Reset();
        return sqlite3_changes(m_database.Handle()) != 0 || Insert(query.section, query.key, value);
    }
    bool DeleteSection(const char* section) {
        Begin();
        m_delete->Bind(1, section);
        m_delete->Step();
        m_delete->Reset();
        return sqlite3_changes(m_database.Handle()) != 0;
    }
    bool Commit() {
        if (!m_isChanging)
            return true;
        m_isChanging = false;
        return m_database.Do("COMMIT");
    }

private:
    // Another for every database of every process.
    static std::string NewPath(const std::string& path) {
        static int number = 0;
        return path + "." + std::to_string(getpid()) + "." + std::to_string(++number) + ".db";
    }

    void Prepare() {
        m_select =
            std::make_unique<Statement>(m_database, "SELECT line FROM entry WHERE section=? AND key=?");
        m_selectNumber = std::make_unique<Statement>(
            m_database, "SELECT key, line FROM entry WHERE section=? ORDER BY rowid LIMIT 1 OFFSET ?");
        m_update =
            std::make_unique<Statement>(m_database, "UPDATE entry SET line=? WHERE section=? AND key=?");
        m_insert = std::make_unique<Statement>(m_database, "INSERT INTO entry VALUES(?, ?, ?)");
        m_delete = std::make_unique<Statement>(m_database, "DELETE FROM entry WHERE section=?");
    }

    void Begin() {
        if (!m_isChanging)
            m_isChanging = m_database.Do("BEGIN");
    }

    bool Insert(std::string_view section, std::string_view key, std::string_view value) {
        m_insert->Bind(1, section);
        m_insert->Bind(2, key);
        m_insert->Bind(3, value);
        m_insert->Step();
        m_insert->Reset();
        return sqlite3_changes(m_database.Handle()) == 1;
    }

    void Import(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::string section;
        Begin();
        for (std::string line; std::getline(file, line);) {
            line.pop_back();  // the CR
            const std::size_t equals = line.find('=');
            if (!line.empty() && line.front() == '[')
                section = line.substr(1, line.size() - 2);
            else if (equals != std::string::npos)
                Insert(section, std::string_view(line).substr(0, equals),
                       std::string_view(line).substr(equals + 1));
        }
        Commit();
    }

    std::string m_path;
    Database m_database;
    std::unique_ptr<Statement> m_select;
    std::unique_ptr<Statement> m_selectNumber;
    std::unique_ptr<Statement> m_update;
    std::unique_ptr<Statement> m_insert;
    std::unique_ptr<Statement> m_delete;
    bool m_isChanging = false;
};

// On a medium, where commits are flushed.
class FlushedSqliteStore : public SqliteStore {
public:
    explicit FlushedSqliteStore(const std::string& path)
        : SqliteStore(path, Directory() + "/flushed.db", "PRAGMA synchronous=FULL") {}

    static std::string& Directory() {
        static std::string directory;
        return directory;
    }
};

// The commits before and after keep the transactions of other measurements out of it.
template <typename Edits>
Measured Edited(Route& route, Edits edits) {
    Loaded<SqliteStore> store(route);
    store->Commit();
    const Measured measured = edits(route);
    store->Commit();
    return measured;
}

template <typename Clock>
Measured ChangeAndCommit(SqliteStore& store, Route& route) {
    store.Commit();
    static std::size_t round = 0;
    const Query query = route.Random().front();
    const std::string& value = route.NewValue(++round);  // the value that it has already would not be written
    const Stopwatch<Clock> watch;
    const bool saved = store.Set(query, value) && store.Commit();
    return {watch.Seconds(), saved ? 1U : 0U, 0};
}

}  // namespace

void AddSqlite(const std::string& diskDirectory) {
    Add("load", kName, 3, Load<SqliteStore>);
    Add("random", kName, 3, RandomLookup<SqliteStore>);
    Add("local", kName, 3, LocalLookup<SqliteStore>);
    Add("entry", kName, 3, EntriesByIndex<SqliteStore>);
    Add("update", kName, 3, [](Route& route) { return Edited(route, Update<SqliteStore>); });
    Add("insert", kName, 3, [](Route& route) { return Edited(route, Insert<SqliteStore>); });
    Add("append-keys", kName, 3, [](Route& route) { return Edited(route, AppendByEntry<SqliteStore>); });
    Add("delete", kName, 3, [](Route& route) { return Edited(route, DeleteRecords<SqliteStore>); });
    Add("save-one", kName, 3, [](Route& route) {
        Loaded<SqliteStore> store(route);
        return ChangeAndCommit<WorkClock>(*store.operator->(), route);
    });
    Add("save-flushed", kName, 3, [diskDirectory](Route& route) {
        FlushedSqliteStore::Directory() = diskDirectory;
        Loaded<FlushedSqliteStore> store(route);
        return ChangeAndCommit<WallClock>(*store.operator->(), route);
    });
    AddPeakMemory(kName, [](const std::string& path) { KeepLoaded(SqliteStore(path)); });
}

}  // namespace Bench
