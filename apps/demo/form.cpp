#include "apps/demo/form.h"

#include "apps/demo/data.h"

namespace kel::demo {

Form::Form(const Base& base, TextView accountPath)
    : base_(base),
      accountPath_(accountPath),
      session_(base.GetSessionCallBack(kSession)),
      tools_(session_.Tools()),
      sessionListener_(ComPtr<SessionListener>::Adopt(
          new SessionListener(log_, kSession, EmbeddedAccount(accountPath)))),
      name_(ComPtr<TextBox>::Adopt(new TextBox(
          log_,
          {.keyId = kCountry, .session = kSession, .controlName = kNameBox, .amc = kCountryName},
          base.GetFieldCallBack(kCountry)))),
      subdivisions_(ComPtr<RowList>::Adopt(new RowList(
          log_,
          {.keyId = kCountry, .session = kSession, .controlName = kList, .amc = kSubdivisionCode},
          kSubdivisionColumns,
          base.GetFieldCallBack(kCountry)))),
      key_({.keyId = kCountry, .session = kSession, .controlName = L"txtId"}),
      subscriptions_{Subscription(session_.source(), *sessionListener_),
                     Subscription(base.GetFieldCallBack(kCountry).source(), *name_),
                     Subscription(base.GetFieldCallBack(kCountry).source(), *subdivisions_)} {
    // Typing an id is to look a record up, not to start a new one.
    key_.UpdateOnly(true);
}

short Form::Read(TextView id) const {
    key_.ExternalValue(0, id);
    return key_.ReadRecord();
}

std::vector<Event> AfterRead(
    TextView id, bool isValid, short errorFlag, TextView name, TextView rows) {
    const Text event =
        L"ReadValid " + Printable(id) + L", " + Printable(isValid) + L", " + Printable(errorFlag);
    return {{kNameBox, event},
            {kNameBox, L"  shows " + Printable(name)},
            {kList, event},
            {kList, L"  shows " + Text(rows)}};
}

}  // namespace kel::demo
