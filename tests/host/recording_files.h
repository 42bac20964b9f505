// Records what the storage engine writes and syncs, and makes the files that a power failure at any
// moment of the record could have left.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace kel::test {

// What becomes of the writes that no sync followed. Those before a sync of their file are there.
enum class Loss {
    kNone,  // they are there, too: the process was killed
    kAll,
    kSome,  // each is there or not, whatever their order was
    kTorn,  // of each any sectors are there
};

// While it lives, files opened by the storage engine in this process go through it. The database of
// the given name (without a folder), its log and its journal are recorded.
class RecordingFiles {
public:
    explicit RecordingFiles(std::string name);
    RecordingFiles(const RecordingFiles&) = delete;
    RecordingFiles& operator=(const RecordingFiles&) = delete;
    ~RecordingFiles();

    // Steps recorded so far: writes, truncations, deletions, syncs.
    std::size_t Steps() const { return steps_.size(); }
    // The first step after the last sync before `cut` of the file with that behind its name
    // ("-wal"); 0 when there was none.
    std::size_t AfterLastSync(const std::string& suffix, std::size_t cut) const;
    // Writes the files as they are when the power fails before step `cut`; `target` stands for the
    // database. Nothing of an earlier image stays. `before` is what the database held at first.
    void WriteImage(const std::string& target,
                    std::size_t cut,
                    Loss loss,
                    std::mt19937& random,
                    const std::string& before = {}) const;

    // From that step on every write fails for want of room.
    void FillDiskAt(std::size_t step) { fullAt_ = step; }
    bool IsDiskFull() const { return steps_.size() >= fullAt_; }

    // For the engine's calls.
    struct Step {
        enum class Kind : std::uint8_t { kWrite, kTruncate, kDelete, kSync };
        Kind kind;
        std::string suffix;
        std::int64_t offset = 0;  // of kTruncate: the new size
        std::string bytes;
    };
    // What stands behind the database's name in a path; empty when the file is not recorded.
    std::optional<std::string> SuffixOf(const char* path) const;
    void Record(Step step) { steps_.push_back(std::move(step)); }

private:
    std::string name_;
    std::size_t fullAt_ = SIZE_MAX;
    std::vector<Step> steps_;
};

}  // namespace kel::test
