#include "master/store/sqlstore.h"

#include <corekit/process.h>
#include <corekit/sformat.h>
#include <corekit/uid.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <pwd.h>
#include <unistd.h>

using namespace corekit;
using namespace farm;

namespace {

std::filesystem::path ServerPrograms() {
    std::error_code ignored;
    for (auto const& version : std::filesystem::directory_iterator("/usr/lib/postgresql", ignored)) {
        if (std::filesystem::exists(version.path() / "bin" / "initdb")) {
            return version.path() / "bin";
        }
    }
    return {};
}

/// A PostgreSQL server of the test's own, reached by a socket in its own folder. The
/// server refuses root, so that a plain user runs it.
class Server {
public:
    explicit Server(std::filesystem::path programs)
        : m_programs(std::move(programs)),
          m_folder(std::filesystem::temp_directory_path() / ("vorlan-pg-" + UID(true).ToString().Mid(0, 8).Str())) {
        std::filesystem::create_directories(m_folder);
        if (geteuid() == 0) {
            passwd const* const user = getpwnam("postgres");
            m_asUser = user != nullptr && chown(m_folder.c_str(), user->pw_uid, user->pw_gid) == 0;
        }
    }

    ~Server() {
        Run("pg_ctl", {"-D", Data(), "-m", "immediate", "-w", "stop"});
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    bool Start() {
        return Run("initdb", {"-D", Data(), "-A", "trust", "-U", "vorlan", "--no-sync"}) &&
               Run("pg_ctl", {"-D", Data(), "-w", "-l", String((m_folder / "log").string()), "-o",
                              SFormat("-c listen_addresses='' -k %s", m_folder.c_str()), "start"});
    }

    String Connection() const { return SFormat("postgresql://host=%s user=vorlan dbname=postgres", m_folder.c_str()); }

private:
    String Data() const { return String((m_folder / "data").string()); }

    bool Run(char const* program, corekit::vector<String> const& arguments) const {
        ProcessOptions options;
        options.folder = Path(String(m_folder.string()));
        options.stdoutFd = ProcessOptions::k_Null;
        options.stderrFd = ProcessOptions::k_Null;
        String start = String((m_programs / program).string());
        if (m_asUser) {
            options.args = {"-u", "postgres", "--", start};
            start = "/usr/sbin/runuser";
        }
        options.args.insert(options.args.end(), arguments.begin(), arguments.end());
        auto const process = Process::Start(Path(start), options);
        bool const good = process && process->Wait(60000) == 0;
        if (process) {
            process->Detach(); // pg_ctl's server is of its group, and stays
        }
        return good;
    }

    std::filesystem::path const m_programs;
    std::filesystem::path const m_folder;
    bool m_asUser = false;
};

Record Row(RecordKind kind, uint64_t number, uint64_t job, std::string body) {
    Record record;
    record.kind = kind;
    record.number = number;
    record.job = job;
    record.body = String(std::move(body));
    return record;
}

} // namespace

TEST(PostgresStore, KeepsRecordsLikeTheStoreInMemory) {
    std::filesystem::path const programs = ServerPrograms();
    if (programs.empty()) {
        GTEST_SKIP() << "no PostgreSQL server is installed";
    }
    Server server(programs);
    ASSERT_TRUE(server.Start());
    Record gone = Row(RecordKind::History, 0, 2, "");
    gone.op = Record::Op::EraseJob;
    std::vector<Record> const records = {Row(RecordKind::Job, 1, 1, std::string("any \0 byte \xff", 12)),
                                         Row(RecordKind::History, 5, 1, "kept"), Row(RecordKind::History, 6, 2, "gone"),
                                         Row(RecordKind::Job, 1, 1, "changed"), gone};
    MemoryStore memory;
    memory.Commit(records);
    {
        SqlStore store(server.Connection());
        store.Commit(records);
    }
    SqlStore again(server.Connection());
    std::vector<std::string> wanted;
    std::vector<std::string> found;
    memory.LoadAll([&](Record const& record) { wanted.push_back(record.body.Str()); });
    again.LoadAll([&](Record const& record) { found.push_back(record.body.Str()); });
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(found.size(), 2U);
}

TEST(PostgresStore, AServerThatIsNotThereSaysSo) {
    try {
        SqlStore store("postgresql://host=/no/such/folder dbname=farm");
        FAIL();
    } catch (StoreException const& error) {
        EXPECT_TRUE(error.Message().Contains("cannot be opened"));
    }
}
