#include "apps/demo/account.h"

#include <stdexcept>

#include "apps/demo/record_text.h"

namespace kel::demo {
namespace {

// Whether the account has a file of this name. Reading the record with an empty id opens the file
// and asks the database for nothing more.
bool FileExists(const Tools& tools, TextView name) {
    try {
        tools.mvRead(L"FileProbe", L"", name);
        return true;
    } catch (const automation::Error& error) {
        if (error.number() != mvOpenNotFound) {
            throw;
        }
        return false;
    }
}

}  // namespace

Account::Account(TextView path)
    : session_(base_.GetSessionCallBack(kAccountSession)),
      listener_(ComPtr<SessionListener>::Adopt(
          new SessionListener(log_, kAccountSession, EmbeddedAccount(path)))),
      subscription_(session_.source(), *listener_),
      tools_(session_.Tools()) {
    if (!session_.Connect()) {
        base_.RemoveSessionCallback(kAccountSession);
        throw std::runtime_error(ToUtf8(listener_->failure()));
    }
}

Account::~Account() {
    try {
        session_.Disconnect();
        base_.RemoveSessionCallback(kAccountSession);
    } catch (const automation::Error&) {
        // The process is about to end; so are its session and its locks.
    }
}

void EnsureFile(const Tools& tools, TextView name) {
    if (FileExists(tools, name)) {
        return;
    }
    const Text output = tools.Execute(L"CREATE-FILE " + Text(name));
    if (!FileExists(tools, name)) {
        throw std::runtime_error("the file " + ToUtf8(name) +
                                 " could not be made: " + ToUtf8(output));
    }
}

}  // namespace kel::demo
