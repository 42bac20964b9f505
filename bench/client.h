// A client of the registered component, as the measurements need one, and their list.
#pragma once

#include <map>
#include <memory>

#include "apps/binding/connector.h"
#include "bench/timing.h"

namespace kel::bench {

using binding::Check;
using binding::Create;
using binding::Properties;
using binding::Ptr;
using binding::Str;
using binding::Text;
using binding::TextView;
using binding::Var;

inline constexpr const wchar_t* kSession = L"Atlas";
inline constexpr const wchar_t* kKey = L"Country";
inline constexpr const wchar_t* kFile = L"COUNTRIES";
inline constexpr long kRecords = 1000;

Text Numbered(long number);  // "Item 17"
Text SampleRecord();         // ten attributes

// A session with a key field tied to it. Connects when it is given properties, OsType among them.
class Client {
public:
    explicit Client(const Properties& properties = {});
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client();

    // An item of the key field, showing one attribute.
    Ptr<_kelDictItem> item(long amc) const;

    const Str key{kKey};
    const Str file{kFile};
    const Ptr<_kelBase> base = Create<_kelBase>(L"kelSDK.kelBase");
    Ptr<_kelSessionCallBack> session;
    Ptr<_kelFieldCallBack> field;
    Ptr<_kelTools> tools;

private:
    std::unique_ptr<binding::Connector> connector_;
};

// A control: shows its value again whenever it is told to.
class Control {
public:
    Control(_kelFieldCallBack& field, Ptr<_kelDictItem> item)
        : item_(std::move(item)),
          subscription_(binding::Listen(
              field, [this](binding::FieldEvent, const binding::Arguments&) { Show(); })) {}
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    long shown() const { return shown_; }

private:
    void Show() {
        Str value;
        Check(item_->get_ExternalValue(0, value.put()));
        shown_ += value.view().empty() ? 0 : 1;
    }

    const Ptr<_kelDictItem> item_;
    long shown_ = 0;
    const binding::Subscription subscription_;
};

// An account file of the embedded back-end with one file of records; gone with this object.
class TemporaryAccount {
public:
    TemporaryAccount();
    TemporaryAccount(const TemporaryAccount&) = delete;
    TemporaryAccount& operator=(const TemporaryAccount&) = delete;
    ~TemporaryAccount();

    Properties properties() const { return {{L"OsType", L"1"}, {L"Database", path}}; }
    Text path;
};

// Calls a member that answers a text or a number.
template <typename Call>
Batch Asking(Call call) {
    return Repeating([call] {
        if constexpr (std::is_invocable_v<const Call&, BSTR*>) {
            Str answer;
            Check(call(answer.put()));
        } else {
            long answer = 0;
            Check(call(&answer));
        }
    });
}

VARIANT Borrowed(const Str& text);
DISPID IdOf(IDispatch* object, const wchar_t* name);

// A call by name, prepared once; arguments last first, as automation passes them.
struct NamedCall {
    Ptr<IDispatch> object;
    DISPID id;
    WORD flags;
    std::vector<VARIANT> arguments;

    // `platforms` calls through the platform's dispatcher instead of the object's own.
    void operator()(ITypeInfo* platforms = nullptr) {
        DISPPARAMS params{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        Var result;
        VARIANT* const to = result.inOut();
        IDispatch* const on = object.get();
        Check(platforms != nullptr
                  ? platforms->Invoke(on, id, flags, &params, to, nullptr, nullptr)
                  : on->Invoke(id, IID_NULL, 0, flags, &params, to, nullptr, nullptr));
    }
};

void MeasureLateBound();
void MeasureCollections();
void MeasureLists();
void MeasureEvents();
void MeasureEmbedded();
void MeasureControls();
void MeasureIdleSession();
// What the cost of a step does as the things that it may depend on become more.
void MeasureGrowth();
void MeasureStartUp();
// Reads a record of the account, through the component or with the storage engine alone, and ends
// the process; an empty path only ends it.
enum class StartUp { kComponent, kEngine };
void StartUpChild(StartUp how, TextView account);
// Read, edit, write over and over with the memory after each tenth; whether nothing grew.
bool Soak(long cycles);

}  // namespace kel::bench
