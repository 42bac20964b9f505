// What is left of locks and writes when processes are killed without warning.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include "hosts/embedded/store/maintenance.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "tests/host/account_folder.h"
#include "tests/host/child_process.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::FileNumber;
using store::LockAnswer;
using store::Store;
using test::AccountFolder;
using test::ChildArgument;
using test::ChildProcess;
using test::Quick;
using text::Text;
using namespace std::chrono_literals;

TEST(RecordLocksAfterPowerFailure, StartFromNothing) {
    const AccountFolder folder;
    folder.Put("account-locks", std::string(5000, 'x'));
    folder.Put("account-locks-wal", "torn");
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    EXPECT_FALSE(store->Lock(file, u"1", 0));
}

// ---- Other processes ----

FileNumber OpenOrMake(Store& store) {
    const auto file = store.FindFile(u"F");
    return file ? *file : store.CreateFile(u"F");
}

Text PathFromParent() {
    return std::filesystem::path(ChildArgument()).u16string();
}

// The writer numbers its writes from 0 on; the number tells the record. It is repeated all over the
// record, so that a torn one would show, and is the key of an index.
constexpr std::uint64_t kIds = 200;

Text NumberText(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return Text(digits.begin(), digits.end());
}

Text Pattern(std::uint64_t write) {
    Text record;
    for (std::uint64_t i = 0; i < 20 + 5 * (write % kIds); ++i) {
        record += NumberText(write) + u" ";
    }
    return record;
}

class FirstWordAsKey final : public store::IndexKeys {
public:
    void KeysOf(FileNumber,
                text::TextView,
                text::TextView,
                text::TextView record,
                std::vector<Text>& keys) override {
        keys.emplace_back(record.substr(0, record.find(u' ')));
    }
};

// How many writes were acknowledged: a number in a file, which outlives a killed process.
class Acknowledged {
public:
    explicit Acknowledged(const std::filesystem::path& path)
        : file_(path, std::ios::in | std::ios::out | std::ios::binary) {}

    std::uint64_t Read() {
        std::uint64_t count = 0;
        file_.seekg(0);
        file_.read(reinterpret_cast<char*>(&count), sizeof(count));
        return count;
    }
    void Write(std::uint64_t count) {
        file_.seekp(0);
        file_.write(reinterpret_cast<const char*>(&count), sizeof(count));
        file_.flush();
    }

private:
    std::fstream file_;
};

// Every third round of all ids is one batch.
TEST(ChildProcessOf, DISABLED_WritesForEver) {
    const auto store = OpenStore(PathFromParent(), Quick());
    FirstWordAsKey keys;
    store->UseIndexKeys(&keys);
    const FileNumber file = store->FindFile(u"F").value();
    Acknowledged acknowledged(PathFromParent() + u".acknowledged");
    std::uint64_t write = (acknowledged.Read() / kIds + 1) * kIds;
    for (std::uint64_t round = 0;; ++round) {
        std::optional<store::Batch> batch;
        if (round % 3 == 2) {
            batch.emplace(*store);
        }
        for (std::uint64_t id = 0; id < kIds; ++id) {
            store->Lock(file, NumberText(id), 0);
            store->Write(file, NumberText(id), Pattern(write++), AfterWrite::kKeep);
            if (!batch) {
                acknowledged.Write(write);
            }
        }
        if (batch) {
            batch->Commit();
            acknowledged.Write(write);
        }
    }
}

TEST(ChildProcessOf, DISABLED_LocksAndSleeps) {
    StoreOptions options = Quick();
    options.user = u"child";
    const auto store = OpenStore(PathFromParent(), options);
    // Waiting: the parent, which looks whether it is held, holds it for moments itself.
    store->Lock(OpenOrMake(*store), u"held", 5000);
    std::this_thread::sleep_for(60s);
}

template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 1500; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

TEST(KilledProcesses, LeaveTheirLocksToOthers) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    for (int i = 0; i < 3; ++i) {
        ChildProcess child("ChildProcessOf.DISABLED_LocksAndSleeps", (folder / "account").string());
        LockAnswer holder;
        ASSERT_TRUE(Eventually([&] {
            holder = store->Lock(file, u"held", 0);
            if (!holder) {
                store->Unlock(file, u"held");
            }
            return holder.has_value();
        }));
        EXPECT_EQ(holder->user, u"child");
        EXPECT_NE(holder->processId, CurrentProcessId());
        child.Kill();
        EXPECT_FALSE(store->Lock(file, u"held", 5000));
        store->Unlock(file, u"held");
    }
}

// KEL_KILL_ROUNDS in the environment makes it more than a quick look.
int KillRounds() {
    const char* rounds = std::getenv("KEL_KILL_ROUNDS");
    return rounds == nullptr ? 5 : std::atoi(rounds);
}

// A reader that reads all the time sees each write that was acknowledged before, and does not keep
// the log from starting over.
TEST(ProcessesThatWrite, AreSeenByEveryReadOfAnother) {
    const AccountFolder folder;
    folder.Put("account.acknowledged", std::string(sizeof(std::uint64_t), '\0'));
    Acknowledged acknowledged(folder / "account.acknowledged");
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    const ChildProcess writer("ChildProcessOf.DISABLED_WritesForEver",
                              (folder / "account").string());
    ASSERT_TRUE(Eventually([&] { return acknowledged.Read() > 3 * kIds; }));
    std::uintmax_t longestLog = 0;
    // Long enough for the log to start over, however slow the machine is.
    const auto start = std::chrono::steady_clock::now();
    const auto elapsed = [&] { return std::chrono::steady_clock::now() - start; };
    while (elapsed() < 2s || (acknowledged.Read() <= 10 * kIds && elapsed() < 60s)) {
        for (int i = 0; i < 100; ++i) {
            const std::uint64_t last = acknowledged.Read() - 1;
            Text record;
            ASSERT_TRUE(store->Read(file, NumberText(last % kIds), record));
            const Text digits = record.substr(0, record.find(u' '));
            ASSERT_GE(std::stoull(std::string(digits.begin(), digits.end())), last);
        }
        longestLog = std::max(longestLog, std::filesystem::file_size(folder / "account-wal"));
    }
    EXPECT_LT(longestLog, 32U << 20);
    EXPECT_GT(acknowledged.Read(), 10 * kIds);
    std::printf("%llu writes, log up to %llu bytes\n",
                static_cast<unsigned long long>(acknowledged.Read()),
                static_cast<unsigned long long>(longestLog));
}

TEST(KilledProcesses, LeaveEveryAcknowledgedWriteAndASoundAccount) {
    const AccountFolder folder;
    const std::string path = (folder / "account").string();
    folder.Put("account.acknowledged", std::string(sizeof(std::uint64_t), '\0'));
    Acknowledged acknowledged(folder / "account.acknowledged");
    const auto makeKeys = [](Store&) { return std::make_unique<FirstWordAsKey>(); };
    {
        const auto store = OpenStore(folder.Path(), Quick());
        FirstWordAsKey keys;
        store->UseIndexKeys(&keys);
        store->CreateIndex(store->CreateFile(u"F"), u"NUMBER", u"");
    }
    const int rounds = KillRounds();
    for (int i = 0; i < rounds; ++i) {
        {
            const std::uint64_t before = acknowledged.Read();
            ChildProcess writer("ChildProcessOf.DISABLED_WritesForEver", path);
            const auto watcher = OpenStore(folder.Path(), Quick());
            ASSERT_TRUE(Eventually([&] { return acknowledged.Read() > before + 2 * kIds; }));
            std::this_thread::sleep_for(std::chrono::milliseconds(61 * i % 250));
            ASSERT_TRUE(writer.IsRunning());
            writer.Kill();
            EXPECT_FALSE(watcher->Lock(watcher->FindFile(u"F").value(), u"0", 5000));
        }
        const std::uint64_t count = acknowledged.Read();
        const auto store = OpenStore(folder.Path(), Quick());
        const FileNumber file = store->FindFile(u"F").value();
        for (std::uint64_t id = 0; id < kIds; ++id) {
            Text record;
            ASSERT_TRUE(store->Read(file, NumberText(id), record));
            const Text digits = record.substr(0, record.find(u' '));
            const auto write = std::stoull(std::string(digits.begin(), digits.end()));
            // The last acknowledged write of the record, or one that was under way.
            const std::uint64_t last = (count - 1 - id) / kIds * kIds + id;
            EXPECT_TRUE(write == last || write == last + kIds) << write << " after " << last;
            EXPECT_TRUE(record == Pattern(write)) << "torn: " << id;
            EXPECT_FALSE(store->Lock(file, NumberText(id), 0)) << id;
        }
        EXPECT_EQ(CheckAccount(folder.Path(), makeKeys).faults, std::vector<Text>());
    }
    std::printf("%d kills, %llu writes acknowledged\n",
                rounds,
                static_cast<unsigned long long>(acknowledged.Read()));
}

}  // namespace
}  // namespace kel::embedded
