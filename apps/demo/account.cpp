#include "apps/demo/account.h"

#include <stdexcept>

#include "apps/demo/data.h"

namespace kel::demo {
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

}  // namespace kel::demo
