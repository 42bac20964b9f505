// What every store does, as a suite of tests: what goes in comes out, scans, batches, indexes,
// record locks. Whoever has a store links kel_store_contract and says, in its own test program,
//
//     std::unique_ptr<StoreAccount> MakeMine() { ... }
//     INSTANTIATE_TEST_SUITE_P(Mine, StoreContract, testing::Values(&MakeMine));
//     INSTANTIATE_TEST_SUITE_P(Mine, RecordLocks, testing::Values(&MakeMine));
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "hosts/multivalue/store/store.h"

namespace kel::store {

// One account, empty at first. Open gives any number of sessions with it, all at a time; what they
// write is there for as long as this object lives.
class StoreAccount {
public:
    virtual ~StoreAccount() = default;

    virtual std::unique_ptr<Store> Open(TextView user, std::uint32_t busyWaitMs) = 0;

    // What a lock of this process tells of its holder.
    virtual std::uint32_t HolderProcess() const = 0;
};

class StoreContract : public testing::TestWithParam<std::unique_ptr<StoreAccount> (*)()> {
protected:
    std::unique_ptr<Store> Open(TextView user = {}, std::uint32_t busyWaitMs = 5000) {
        return account_->Open(user, busyWaitMs);
    }

    static void Put(Store& store, FileNumber file, TextView id, TextView record) {
        store.Write(file, id, record, AfterWrite::kRelease);
    }

    const std::unique_ptr<StoreAccount> account_ = GetParam()();
};

// Two sessions, a file of the first, and whether a record of it can be had by the second.
class RecordLocks : public StoreContract {
protected:
    RecordLocks() : first_(Open(u"first user")), second_(Open()), file_(first_->CreateFile(u"F")) {}

    // Whether the second session can have the lock; it does not keep it.
    bool IsFree(TextView id) {
        const bool granted = !second_->Lock(file_, id, 0);
        second_->Unlock(file_, id);
        return granted;
    }

    std::unique_ptr<Store> first_;
    std::unique_ptr<Store> second_;
    FileNumber file_{};
};

}  // namespace kel::store
