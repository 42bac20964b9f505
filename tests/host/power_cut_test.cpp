// What is there after a power failure, at any moment and whatever became of writes that were under
// way: what the session's durability promises, in an account that is sound.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>

#include "hosts/embedded/store/maintenance.h"
#include "tests/host/account_folder.h"
#include "tests/host/recording_files.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::FileNumber;
using store::Store;
using test::AccountFolder;
using test::Loss;
using test::RecordingFiles;
using text::Text;
using text::TextView;

constexpr std::uint64_t kIds = 40;
constexpr std::uint64_t kChanges = 600;
constexpr std::uint64_t kBatchEvery = 7;  // each such change writes all ids

Text NumberText(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

// Tells by which change it was written, all over itself.
Text Pattern(std::uint64_t change, std::uint64_t id) {
    Text record;
    for (std::uint64_t i = 0; i < 10 + 40 * ((change * 31 + id) % 50); ++i) {
        record += NumberText(change) + u" ";
    }
    return record;
}

class FirstWordAsKey final : public store::IndexKeys {
public:
    void KeysOf(FileNumber, TextView, TextView, TextView record, std::vector<Text>& keys) override {
        keys.emplace_back(record.substr(0, record.find(u' ')));
    }
};

bool IsBatch(std::uint64_t change) {
    return change % kBatchEvery == 0;
}

// The change that wrote a record last, of those up to `change`; 0: none.
std::uint64_t LastWriter(std::uint64_t id, std::uint64_t change) {
    while (change > 0 && !IsBatch(change) && change % kIds != id) {
        --change;
    }
    return change;
}

void DoChange(Store& store, FileNumber file, std::uint64_t change) {
    const auto write = [&](std::uint64_t id) {
        store.Write(file, NumberText(id), Pattern(change, id), AfterWrite::kRelease);
    };
    if (!IsBatch(change)) {
        write(change % kIds);
        return;
    }
    store::Batch batch(store);
    for (std::uint64_t id = 0; id < kIds; ++id) {
        write(id);
    }
    batch.Commit();
}

// The number of changes that the account shows, each of them whole and none after one that is
// missing; empty when it shows anything else. 0: not even the file is there, or it is empty.
std::optional<std::uint64_t> ChangesIn(Store& store) {
    const std::optional<FileNumber> file = store.FindFile(u"F");
    std::uint64_t latest = 0;
    std::map<std::uint64_t, Text> records;
    for (std::uint64_t id = 0; file && id < kIds; ++id) {
        if (store.Read(*file, NumberText(id), records[id])) {
            const Text digits = records[id].substr(0, records[id].find(u' '));
            latest = std::max<std::uint64_t>(
                latest, std::stoull(std::string(digits.begin(), digits.end())));
        }
    }
    for (std::uint64_t id = 0; id < kIds; ++id) {
        const std::uint64_t writer = LastWriter(id, latest);
        if (records[id] != (writer == 0 ? Text() : Pattern(writer, id))) {
            return std::nullopt;
        }
    }
    return latest;
}

// KEL_POWER_CUTS in the environment makes it more than a quick look.
std::size_t CutsOfAKind() {
    const char* cuts = std::getenv("KEL_POWER_CUTS");
    return cuts == nullptr ? 12 : static_cast<std::size_t>(std::atoi(cuts));
}

class PowerCut : public testing::TestWithParam<Durability> {};

TEST_P(PowerCut, LeavesWhatWasPromised) {
    const AccountFolder folder;
    const std::string image = (folder / "image").string();
    const auto makeKeys = [](Store&) { return std::make_unique<FirstWordAsKey>(); };
    StoreOptions options;
    options.durability = GetParam();
    std::vector<std::size_t> doneAt;  // by change: the steps recorded when it was acknowledged
    {
        const RecordingFiles files("account");
        const auto store = OpenStore(folder.Path(), options);
        FirstWordAsKey keys;
        store->UseIndexKeys(&keys);
        const FileNumber file = store->CreateFile(u"F");
        store->CreateIndex(file, u"NUMBER", u"");
        doneAt.push_back(files.Steps());
        for (std::uint64_t change = 1; change <= kChanges; ++change) {
            DoChange(*store, file, change);
            doneAt.push_back(files.Steps());
        }
        const auto doneBefore = [&](std::size_t step) {
            const auto after = std::upper_bound(doneAt.begin(), doneAt.end(), step);
            return static_cast<std::uint64_t>(
                std::max<std::ptrdiff_t>(after - doneAt.begin() - 1, 0));
        };
        const struct {
            Loss loss;
            unsigned seed;
        } kinds[] = {{Loss::kNone, 1}, {Loss::kAll, 2}, {Loss::kSome, 3}, {Loss::kTorn, 4}};
        std::uint64_t images = 0;
        for (const auto& kind : kinds) {
            std::mt19937 random(kind.seed);  // the same images every time
            for (std::size_t i = 0; i < CutsOfAKind(); ++i) {
                const std::size_t cut = random() % (files.Steps() + 1);
                files.WriteImage(image, cut, kind.loss, random);
                const std::size_t lasting = kind.loss == Loss::kNone ? cut
                                            : GetParam() == Durability::kFull
                                                ? cut
                                                : files.AfterLastSync("-wal", cut);
                SCOPED_TRACE("cut before step " + std::to_string(cut) + " of " +
                             std::to_string(files.Steps()) + ", loss " +
                             std::to_string(static_cast<int>(kind.loss)));
                const auto restarted = OpenStore(folder.Path("image"), test::Quick());
                const std::optional<std::uint64_t> changes = ChangesIn(*restarted);
                ASSERT_TRUE(changes.has_value());
                EXPECT_GE(*changes, doneBefore(lasting));
                EXPECT_LE(*changes, doneBefore(cut) + 1);
                EXPECT_EQ(CheckAccount(folder.Path("image"), makeKeys).faults, std::vector<Text>());
                ++images;
            }
        }
        std::printf("%llu images out of %zu steps\n",
                    static_cast<unsigned long long>(images),
                    files.Steps());
    }
}

// Again and again the disk is full, at whatever write it is, and then there is room again.
TEST(FullDisk, KeepsWhatWasAcknowledged) {
    const AccountFolder folder;
    RecordingFiles files("account");
    std::mt19937 random(9);  // NOLINT(bugprone-random-generator-seed): the same every time
    std::uint64_t failures = 0;
    {
        const auto store = OpenStore(folder.Path(), test::Quick());
        FirstWordAsKey keys;
        store->UseIndexKeys(&keys);
        const FileNumber file = store->CreateFile(u"F");
        store->CreateIndex(file, u"NUMBER", u"");
        for (std::uint64_t change = 1; change <= kChanges; ++change) {
            if (random() % 8 == 0) {
                files.FillDiskAt(files.Steps() + random() % 60);
            }
            try {
                DoChange(*store, file, change);
                continue;
            } catch (const text::Error& error) {
                ASSERT_EQ(error.kind(), text::ErrorKind::kFull) << error.what();
            }
            ++failures;
            EXPECT_EQ(ChangesIn(*store), change - 1);
            files.FillDiskAt(SIZE_MAX);
            ASSERT_EQ(ChangesIn(*store), change - 1);
            DoChange(*store, file, change);
        }
        EXPECT_EQ(ChangesIn(*store), kChanges);
    }
    EXPECT_GT(failures, 20U);
    const auto makeKeys = [](Store&) { return std::make_unique<FirstWordAsKey>(); };
    EXPECT_EQ(CheckAccount(folder.Path(), makeKeys).faults, std::vector<Text>());
}

INSTANTIATE_TEST_SUITE_P(At, PowerCut, testing::Values(Durability::kFull, Durability::kNormal));

}  // namespace
}  // namespace kel::embedded
