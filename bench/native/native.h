// What the parts of the native measurements share: an account with records to measure on, and the
// same records in a plain database with the same settings.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/store/store.h"

namespace kel::bench {

inline constexpr std::size_t kRecords = 100000;
inline constexpr long kCities = 20;  // each stands in as many records as the others

text::Text NumberText(long number);
// Six attributes, some fifty units; the second is one of kCities.
text::Text SampleRecord(long number);

// The file STOCK with kRecords records "Item 0" ... and a dictionary, in a new account.
class SampleAccount {
public:
    SampleAccount(const std::filesystem::path& folder, embedded::Durability durability);
    SampleAccount(const SampleAccount&) = delete;
    SampleAccount& operator=(const SampleAccount&) = delete;
    ~SampleAccount();

    std::unique_ptr<store::Store> store;
    store::FileNumber file{};
    std::vector<text::Text> ids;
    embedded::Database plain;
    std::vector<std::string> plainIds;

private:
    std::filesystem::path folder_;
};

// A place out of `count`, in an order without neighbours: each comes once in `count` calls when
// `count` is no multiple of 7919.
class Scattered {
public:
    explicit Scattered(std::size_t count) : count_(count) {}
    std::size_t operator()() { return at_ = (at_ + 7919) % count_; }

private:
    std::size_t count_;
    std::size_t at_ = 0;
};

void MeasureRecords(const std::filesystem::path& folder);
void MeasureSelections(const std::filesystem::path& folder);
void MeasureArrays();
void MeasureConversions();
// Peak of resident memory while a million ids are selected; `program` is this program, started
// again so that nothing was allocated before.
void MeasureMemory(const std::filesystem::path& folder, const std::filesystem::path& program);
void SelectForMemory(const std::filesystem::path& account);

}  // namespace kel::bench
