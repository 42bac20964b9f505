// The account of the sub-commands.
#include "apps/demo/account.h"

#include <stdexcept>

namespace kel::demo {

Account::Account(TextView path)
    : connector_(base_.GetSessionCallBack(kAccountSession), EmbeddedAccount(path)),
      tools_(connector_.session().Tools()) {
    if (!connector_.Connect()) {
        base_.RemoveSessionCallback(kAccountSession);
        throw std::runtime_error(ToUtf8(connector_.failure()));
    }
}

Account::~Account() {
    // Where this fails the process is about to end; so are its session and its locks.
    Ignoring([&] {
        connector_.session().Disconnect();
        base_.RemoveSessionCallback(kAccountSession);
    });
}

}  // namespace kel::demo
