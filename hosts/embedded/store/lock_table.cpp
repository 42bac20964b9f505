#include "hosts/embedded/store/lock_table.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace kel::embedded {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using store::FileNumber;
using store::HeldLock;
using store::LockAnswer;
using store::LockHolder;
using text::Error;
using text::ErrorKind;
using text::Text;

namespace {

// Bytes of the session file: the gate, held for a moment while a session joins, then one per
// session.
constexpr std::uint32_t kGate = 0;
constexpr std::uint32_t kFirstSlot = 1;
constexpr std::uint32_t kSlots = 65535;

constexpr milliseconds kPoll{20};
constexpr milliseconds kGatePoll{5};

std::string KeyOf(std::int64_t file, Bytes id) {
    std::string key(sizeof(file) + id.size(), '\0');
    std::memcpy(key.data(), &file, sizeof(file));
    std::memcpy(key.data() + sizeof(file), id.data(), id.size());
    return key;
}

std::int64_t NowMs() {
    return std::chrono::duration_cast<milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Holds the gate while one session joins.
class Gate {
public:
    Gate(ByteLockFile& file, const Text& accountPath, std::uint32_t waitMs) : file_(file) {
        const auto deadline = steady_clock::now() + milliseconds(waitMs);
        while (!file_.TryLock(kGate, 1)) {
            if (steady_clock::now() >= deadline) {
                throw Error(ErrorKind::kBusy,
                            u"Another program keeps the locks of the account busy: \"" +
                                accountPath + u"\".");
            }
            std::this_thread::sleep_for(kGatePoll);
        }
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    ~Gate() { file_.Unlock(kGate, 1); }

private:
    ByteLockFile& file_;
};

// Joins under the gate: takes a slot and returns the opened lock database.
Database OpenTable(ByteLockFile& sessions,
                   std::uint32_t& slot,
                   const Text& accountPath,
                   std::uint32_t waitMs) {
    const Gate gate(sessions, accountPath, waitMs);
    const Text path = accountPath + u"-locks";
    const bool alone = sessions.TryLock(kFirstSlot, kSlots);
    if (alone) {
        sessions.Unlock(kFirstSlot, kSlots);
        // Whatever is there is of sessions long gone; a power failure may have left it unreadable.
        for (const char16_t* ending : {u"", u"-wal", u"-shm"}) {
            std::error_code ignored;
            std::filesystem::remove(std::filesystem::path(path + ending), ignored);
        }
    }
    slot = kFirstSlot;
    while (!sessions.TryLock(slot, 1)) {
        if (++slot == kFirstSlot + kSlots) {
            throw Error(ErrorKind::kBusy,
                        u"The account has too many sessions: \"" + accountPath + u"\".");
        }
    }
    Database database(path, Database::Mode::kCreate, static_cast<int>(waitMs));
    database.Execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF");
    database.Execute(
        "CREATE TABLE IF NOT EXISTS locks("
        " file INTEGER NOT NULL, id BLOB NOT NULL,"
        " slot INTEGER NOT NULL, process INTEGER NOT NULL, user BLOB NOT NULL,"
        " since INTEGER NOT NULL, PRIMARY KEY(file, id)) WITHOUT ROWID;"
        "CREATE TABLE IF NOT EXISTS waits("
        " slot INTEGER PRIMARY KEY, file INTEGER NOT NULL, id BLOB NOT NULL)");
    if (alone) {
        database.Execute("DELETE FROM locks; DELETE FROM waits");
    }
    return database;
}

}  // namespace

LockTable::LockTable(const Text& accountPath, const Text& user, std::uint32_t busyWaitMs)
    : sessions_(accountPath + u"-sessions"),
      database_(OpenTable(sessions_, slot_, accountPath, busyWaitMs)),
      user_(EncodeKey(user)),
      insert_(database_, "INSERT INTO locks VALUES(?1, ?2, ?3, ?4, ?5, ?6) ON CONFLICT DO NOTHING"),
      find_(database_, "SELECT slot, process, user, since FROM locks WHERE file = ?1 AND id = ?2"),
      remove_(database_, "DELETE FROM locks WHERE file = ?1 AND id = ?2 AND slot = ?3"),
      removeSlot_(database_, "DELETE FROM locks WHERE slot = ?1"),
      wait_(database_, "INSERT OR REPLACE INTO waits VALUES(?1, ?2, ?3)"),
      stopWaiting_(database_, "DELETE FROM waits WHERE slot = ?1"),
      waitsFor_(database_,
                "SELECT l.slot FROM waits w JOIN locks l ON l.file = w.file AND l.id = w.id"
                " WHERE w.slot = ?1") {
    UnlockAll();  // rows of a dead session that had this slot before
    StopWaiting();
}

LockTable::~LockTable() {
    try {
        if (!held_.empty()) {
            UnlockAll();
        }
    } catch (const std::exception&) {
        // Our byte goes free in a moment; whoever meets the rows then takes them out.
    }
}

bool LockTable::Holds(FileNumber file, Bytes id) const {
    return !held_.empty() && held_.contains(KeyOf(static_cast<std::int64_t>(file), id));
}

LockAnswer LockTable::Lock(FileNumber file, Bytes id, std::uint32_t waitMs) {
    const auto number = static_cast<std::int64_t>(file);
    const auto [mine, isNew] = held_.insert(KeyOf(number, id));
    if (!isNew) {
        return std::nullopt;
    }
    const std::string key = *mine;
    try {
        LockAnswer holder = TryOnce(number, id);
        if (holder && waitMs != 0 && StartWaiting(number, id)) {
            holder = WaitFor(number, id, steady_clock::now() + milliseconds(waitMs));
            StopWaiting();
        }
        if (holder) {
            held_.erase(key);
        }
        return holder;
    } catch (...) {
        StopWaiting();
        held_.erase(key);
        throw;
    }
}

LockAnswer LockTable::WaitFor(std::int64_t file, Bytes id, steady_clock::time_point deadline) {
    for (;;) {
        LockAnswer holder = TryOnce(file, id);
        const steady_clock::duration left = deadline - steady_clock::now();
        if (!holder || left <= steady_clock::duration::zero()) {
            return holder;
        }
        std::this_thread::sleep_for(std::min<steady_clock::duration>(kPoll, left));
    }
}

// Enters that this session waits for the lock; false, with nothing entered, when that would close a
// circle. Only a new wait can close one, and both steps are one transaction: of several sessions
// that would close it together, the last finds it.
bool LockTable::StartWaiting(std::int64_t file, Bytes id) {
    database_.Execute("BEGIN IMMEDIATE");
    try {
        {
            const Run wait(wait_);
            wait->Bind(1, std::int64_t{slot_});
            wait->Bind(2, file);
            wait->Bind(3, id);
            wait->Step();
        }
        const bool circle = ClosesCircle();
        database_.Execute(circle ? "ROLLBACK" : "COMMIT");
        return !circle;
    } catch (...) {
        if (database_.InTransaction()) {
            database_.Execute("ROLLBACK");
        }
        throw;
    }
}

// Follows who waits for whom from this session on. What a dead session waited for binds nobody: its
// locks are taken by whoever waits for them.
bool LockTable::ClosesCircle() {
    std::int64_t slot = slot_;
    for (std::uint32_t steps = 0; steps < kSlots; ++steps) {
        {
            const Run next(waitsFor_);
            next->Bind(1, slot);
            if (!next->Step()) {
                return false;
            }
            slot = next->ColumnInteger(0);
        }
        if (slot == slot_) {
            return true;
        }
        const auto byte = static_cast<std::uint32_t>(slot);
        if (sessions_.TryLock(byte, 1)) {
            sessions_.Unlock(byte, 1);
            return false;
        }
    }
    return false;
}

// A row that stays does no harm: the next wait of the session, or of its slot, replaces it.
void LockTable::StopWaiting() noexcept {
    try {
        const Run stop(stopWaiting_);
        stop->Bind(1, std::int64_t{slot_});
        stop->Step();
    } catch (const std::exception&) {
    }
}

LockAnswer LockTable::TryOnce(std::int64_t file, Bytes id) {
    for (;;) {
        {
            const Run insert(insert_);
            insert->Bind(1, file);
            insert->Bind(2, id);
            insert->Bind(3, std::int64_t{slot_});
            insert->Bind(4, std::int64_t{CurrentProcessId()});
            insert->Bind(5, BytesOf(user_));
            insert->Bind(6, NowMs());
            insert->Step();
            if (database_.ChangedRows() == 1) {
                return std::nullopt;
            }
        }
        LockHolder holder;
        std::int64_t slot = 0;
        {
            const Run find(find_);
            find->Bind(1, file);
            find->Bind(2, id);
            if (!find->Step()) {
                continue;  // given up a moment ago
            }
            slot = find->ColumnInteger(0);
            holder.processId = static_cast<std::uint32_t>(find->ColumnInteger(1));
            DecodeKey(find->ColumnBytes(2), holder.user);
            holder.sinceMs = find->ColumnInteger(3);
        }
        if (slot == slot_) {
            return std::nullopt;  // ours, from a release that failed
        }
        if (!SweepIfDead(slot)) {
            return holder;
        }
    }
}

// Takes out all rows of the session with `slot` if it is dead. The test takes the session's byte
// for a moment; it runs within a write transaction, so that two testers do not take each other for
// it.
bool LockTable::SweepIfDead(std::int64_t slot) {
    const auto byte = static_cast<std::uint32_t>(slot);
    database_.Execute("BEGIN IMMEDIATE");
    const bool dead = sessions_.TryLock(byte, 1);
    try {
        if (dead) {
            const Run remove(removeSlot_);
            remove->Bind(1, slot);
            remove->Step();
        }
        database_.Execute("COMMIT");
    } catch (...) {
        if (dead) {
            sessions_.Unlock(byte, 1);
        }
        if (database_.InTransaction()) {
            database_.Execute("ROLLBACK");
        }
        throw;
    }
    if (dead) {
        sessions_.Unlock(byte, 1);
    }
    return dead;
}

void LockTable::Unlock(FileNumber file, Bytes id) {
    const auto number = static_cast<std::int64_t>(file);
    const auto mine = held_.find(KeyOf(number, id));
    if (mine == held_.end()) {
        return;
    }
    const Run remove(remove_);
    remove->Bind(1, number);
    remove->Bind(2, id);
    remove->Bind(3, std::int64_t{slot_});
    remove->Step();
    held_.erase(mine);
}

void LockTable::UnlockAll() {
    const Run remove(removeSlot_);
    remove->Bind(1, std::int64_t{slot_});
    remove->Step();
    held_.clear();
}

std::vector<HeldLock> LockTable::All() {
    SweepDead();
    return List(true);
}

std::vector<HeldLock> LockTable::HoldOthers() {
    SweepDead();
    database_.Execute("BEGIN IMMEDIATE");
    try {
        return List(false);
    } catch (...) {
        EndHold();
        throw;
    }
}

// A commit that fails would leave the locks of others held up; rolling back at least lets them go.
void LockTable::EndHold() noexcept {
    for (const char* const end : {"COMMIT", "ROLLBACK"}) {
        try {
            if (database_.InTransaction()) {
                database_.Execute(end);
            }
        } catch (const std::exception&) {
        }
    }
}

void LockTable::SweepDead() {
    std::set<std::int64_t> slots;
    {
        Statement find(database_, "SELECT DISTINCT slot FROM locks");
        while (find.Step()) {
            slots.insert(find.ColumnInteger(0));
        }
    }
    for (const std::int64_t slot : slots) {
        if (slot != slot_) {
            SweepIfDead(slot);
        }
    }
}

std::vector<HeldLock> LockTable::List(bool ownToo) {
    std::vector<HeldLock> list;
    Statement find(database_,
                   "SELECT file, id, process, user, since, slot FROM locks ORDER BY file, id");
    while (find.Step()) {
        if (!ownToo && find.ColumnInteger(5) == std::int64_t{slot_}) {
            continue;
        }
        HeldLock& lock = list.emplace_back();
        lock.file = FileNumber{find.ColumnInteger(0)};
        DecodeKey(find.ColumnBytes(1), lock.id);
        lock.holder.processId = static_cast<std::uint32_t>(find.ColumnInteger(2));
        DecodeKey(find.ColumnBytes(3), lock.holder.user);
        lock.holder.sinceMs = find.ColumnInteger(4);
    }
    return list;
}

}  // namespace kel::embedded
