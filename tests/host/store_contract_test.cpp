// The store in memory and the one in a file keep the contract of stores.
#include "tests/store/store_contract.h"

#include "tests/host/account_folder.h"
#include "tests/support/memory_store.h"

namespace kel::store {
namespace {

class InMemory : public StoreAccount {
public:
    std::unique_ptr<Store> Open(TextView user, std::uint32_t busyWaitMs) override {
        return OpenMemoryStore(memory_, {Text(user), busyWaitMs});
    }
    std::uint32_t HolderProcess() const override { return 0; }

private:
    const std::shared_ptr<MemoryAccount> memory_ = MakeMemoryAccount();
};

class InFile : public StoreAccount {
public:
    std::unique_ptr<Store> Open(TextView user, std::uint32_t busyWaitMs) override {
        embedded::StoreOptions options = test::Quick();
        options.user = user;
        options.busyWaitMs = busyWaitMs;
        return embedded::OpenStore(folder_.Path(), options);
    }
    std::uint32_t HolderProcess() const override { return embedded::CurrentProcessId(); }

private:
    const test::AccountFolder folder_;
};

template <typename Account>
std::unique_ptr<StoreAccount> Make() {
    return std::make_unique<Account>();
}

INSTANTIATE_TEST_SUITE_P(Memory, StoreContract, testing::Values(&Make<InMemory>));
INSTANTIATE_TEST_SUITE_P(Memory, RecordLocks, testing::Values(&Make<InMemory>));
INSTANTIATE_TEST_SUITE_P(File, StoreContract, testing::Values(&Make<InFile>));
INSTANTIATE_TEST_SUITE_P(File, RecordLocks, testing::Values(&Make<InFile>));

}  // namespace
}  // namespace kel::store
