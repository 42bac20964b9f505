// Reads in a row share a transaction. That must not show: neither in what they see nor in what
// others can do meanwhile.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "hosts/embedded/store/database.h"
#include "tests/host/account_folder.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::FileNumber;
using store::Store;
using test::AccountFolder;
using test::Quick;
using text::Text;
using text::TextView;

struct TwoSessions {
    TwoSessions() {
        Put(u"1", u"one");
        ReadInARow();
    }

    void Put(TextView id, TextView record) const {
        writer->Write(file, id, record, AfterWrite::kRelease);
    }
    void ReadInARow() const {
        Text record;
        for (int i = 0; i < 3; ++i) {
            reader->Read(file, u"1", record);
        }
    }

    AccountFolder folder;
    std::unique_ptr<Store> writer = OpenStore(folder.Path(), Quick());
    std::unique_ptr<Store> reader = OpenStore(folder.Path(), Quick());
    FileNumber file = writer->CreateFile(u"F");
};

TEST(ReadsInARow, SeeEveryKindOfChange) {
    struct Case {
        const char* name;
        std::function<void(TwoSessions&)> change;
        TextView expected;  // of record 1; "" when it is gone
    };
    const Case cases[] = {
        {"write", [](auto& two) { two.Put(u"1", u"two"); }, u"two"},
        {"delete", [](auto& two) { two.writer->Delete(two.file, u"1"); }, u""},
        {"clear", [](auto& two) { two.writer->ClearFile(two.file); }, u""},
        {"batch",
         [](auto& two) {
             store::Batch batch(*two.writer);
             two.Put(u"1", u"two");
             two.ReadInARow();
             batch.Commit();
         },
         u"two"},
        {"another table", [](auto& two) { two.writer->CreateFile(u"G"); }, u"one"},
        {"a log that starts over",
         [](auto& two) {
             Database(two.folder.Path(), Database::Mode::kReadWrite, 5000)
                 .Execute("PRAGMA wal_checkpoint(RESTART)");
             two.Put(u"1", u"two");
         },
         u"two"},
        {"its own write",
         [](auto& two) { two.reader->Write(two.file, u"1", u"own", AfterWrite::kRelease); },
         u"own"},
    };
    for (const Case& c : cases) {
        TwoSessions two;
        c.change(two);
        for (int i = 0; i < 3; ++i) {
            Text record;
            two.reader->Read(two.file, u"1", record);
            EXPECT_EQ(record, c.expected) << c.name << ", read " << i;
            EXPECT_EQ(two.reader->Exists(two.file, u"1"), !c.expected.empty()) << c.name;
        }
    }
    TwoSessions two;
    two.writer->DeleteFile(two.file);
    EXPECT_TRUE(test::Throws(text::ErrorKind::kNoSuchFile, u"", [&] { two.ReadInARow(); }));
}

// Nobody waits here: a busy account fails at once.
TEST(ReadsInARow, KeepNobodyFromAnything) {
    TwoSessions two;
    StoreOptions options = Quick();
    options.busyWaitMs = 0;
    const auto other = OpenStore(two.folder.Path(), options);
    for (int i = 0; i < 20; ++i) {
        two.ReadInARow();
        other->Write(two.file, u"1", u"x", AfterWrite::kRelease);
        other->CreateFile(Text(1, static_cast<char16_t>(u'A' + i)) + u"2");
        two.ReadInARow();
        two.reader->Write(two.file, u"2", u"y", AfterWrite::kRelease);
    }
}

TEST(ReadsInARow, EndWhenNobodyReadsOn) {
    TwoSessions two;
    two.Put(u"1", u"two");
    two.ReadInARow();
    // Starting the log over needs all readers to have ended; it waits for none.
    Database database(two.folder.Path(), Database::Mode::kReadWrite, 0);
    bool ended = false;
    for (int i = 0; i < 200 && !ended; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ended = database.QueryInteger("PRAGMA wal_checkpoint(TRUNCATE)") == 0;
    }
    EXPECT_TRUE(ended);
    EXPECT_EQ(std::filesystem::file_size(two.folder / "account-wal"), 0U);
    two.ReadInARow();
}

TEST(ReadsInARow, AgreeWithAModelUnderTwoWriters) {
    TwoSessions two;
    std::map<char16_t, Text> model;
    std::mt19937 random(11);  // NOLINT(bugprone-random-generator-seed): the same run every time
    Store* const sessions[] = {two.writer.get(), two.reader.get()};
    two.writer->ClearFile(two.file);
    for (int i = 0; i < 4000; ++i) {
        Store& session = *sessions[random() % 2];
        const auto id = static_cast<char16_t>(u'a' + random() % 8);
        if (random() % 4 == 0) {
            model[id] = Text(1 + random() % 3000, static_cast<char16_t>(u'a' + random() % 26));
            session.Write(two.file, Text(1, id), model[id], AfterWrite::kRelease);
        } else {
            Text record;
            session.Read(two.file, Text(1, id), record);
            ASSERT_EQ(record, model[id]) << "step " << i;
        }
    }
}

}  // namespace
}  // namespace kel::embedded
