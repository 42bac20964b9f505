// The form of the demonstration: a session, a key field for one country, and the controls bound to
// it.
#pragma once

#include "apps/demo/controls.h"
#include "apps/demo/report.h"
#include "apps/demo/session_listener.h"

namespace kel::demo {

inline constexpr const wchar_t* kSession = L"Atlas";
inline constexpr const wchar_t* kCountry = L"Country";    // key field of the form's country
inline constexpr const wchar_t* kCurrency = L"Currency";  // key field of a second form
// Names of the controls.
inline constexpr const wchar_t* kNameBox = L"txtName";
inline constexpr const wchar_t* kList = L"lstSubdivisions";
inline constexpr const wchar_t* kCurrencyBox = L"txtCurrency";

class Form {
public:
    // Key field and file are tied already.
    Form(const Base& base, TextView accountPath);

    // What the key control does when the user has typed an id: 0 found, 1 not found, 2 locked,
    // 3 refused.
    short Read(TextView id) const;

    const Base& base() const { return base_; }
    const Text& accountPath() const { return accountPath_; }
    const Session& session() const { return sessionListener_.session(); }
    const Tools& tools() const { return tools_; }
    SessionListener& sessionListener() const { return sessionListener_; }
    const TextBox& name() const { return name_; }
    // The key control's item: attribute 0, the record's id.
    const DictItem& key() const { return key_; }
    // What the session and the controls of the whole program hear.
    EventLog& log() const { return log_; }

private:
    const Base& base_;
    const Text accountPath_;
    mutable EventLog log_;
    mutable SessionListener sessionListener_;
    const Tools tools_;
    const TextBox name_;
    const RowList subdivisions_;
    const DictItem key_;
};

// What both controls are expected to do when a read ended.
std::vector<Event> AfterRead(
    TextView id, bool isValid, short errorFlag, TextView name, TextView rows);

}  // namespace kel::demo
