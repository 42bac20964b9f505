// The form of the demonstration, and what its controls are expected to do.
#include "apps/demo/form.h"

namespace kel::demo {

Form::Form(const Base& base, TextView accountPath)
    : base_(base),
      accountPath_(accountPath),
      sessionListener_(
          log_, kSession, base.GetSessionCallBack(kSession), EmbeddedAccount(accountPath)),
      tools_(session().Tools()),
      name_(log_,
            {.keyId = kCountry, .session = kSession, .controlName = kNameBox, .amc = kCountryName},
            base.GetFieldCallBack(kCountry)),
      subdivisions_(
          log_,
          {.keyId = kCountry, .session = kSession, .controlName = kList, .amc = kSubdivisionCode},
          kSubdivisionColumns,
          base.GetFieldCallBack(kCountry)),
      key_({.keyId = kCountry, .session = kSession, .controlName = L"txtId"}) {
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
