// Two sessions with one account, in memory or in a file, and what sentences answer them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "hosts/multivalue/store/files.h"
#include "tests/host/account_folder.h"
#include "tests/support/memory_store.h"
#include "tests/support/text_support.h"

namespace kel::command {

// Programs, whatever their name, do what the test says and answer their first argument.
struct ProgramEnvironment : StoreEnvironment {
    using StoreEnvironment::StoreEnvironment;
    void CallProgram(TextView /*name*/, std::vector<Text>& arguments) override {
        if (program) {
            program();
        }
        arguments.at(0) = arguments.at(1);
    }
    DateOrder OwnDateOrder() const override { return dateOrder; }

    std::function<void()> program;
    DateOrder dateOrder = DateOrder::kMonthFirst;
};

class OneSession {
public:
    explicit OneSession(std::unique_ptr<Store> made) : store(std::move(made)) {}

    // Lines parted by "^".
    std::string Run(const std::string& sentence) {
        Answer answer = session.Execute(Marked(sentence));
        failure = answer.failure;
        return Drawn(answer.output);
    }
    FileNumber File(const char* name) const { return RequireFile(*store, Marked(name)).number; }
    void Put(const char* file, const char* id, const char* record = "x") const {
        store->Write(File(file), Marked(id), Marked(record), AfterWrite::kRelease);
    }
    bool Has(const char* file, const char* id) const {
        return store->Exists(File(file), Marked(id));
    }

    const std::unique_ptr<Store> store;
    ProgramEnvironment environment{*store};
    Session session{*store, environment};
    std::optional<ErrorKind> failure;  // of the last sentence
};

// The parameter: whether the account is in memory.
class TwoSessions : public testing::TestWithParam<bool> {
protected:
    std::unique_ptr<Store> Open(TextView user) {
        if (GetParam()) {
            return OpenMemoryStore(memory_, {Text(user), 5000});
        }
        embedded::StoreOptions options = test::Quick();
        options.user = user;
        return embedded::OpenStore(folder_.Path(), options);
    }

private:
    const std::shared_ptr<MemoryAccount> memory_ = MakeMemoryAccount();
    const test::AccountFolder folder_;

protected:
    OneSession mine{Open(u"me")};
    OneSession other{Open(u"anna")};
};

inline std::string NameOfAccount(const testing::TestParamInfo<bool>& inMemory) {
    return inMemory.param ? "Memory" : "File";
}

}  // namespace kel::command
