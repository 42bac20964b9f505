// Handles on the component's objects, one class each: what a C++ program writes once, to call
// members with its own text type and get results back as results. Members carry their published
// names and do nothing but the one call; a failed call comes out as automation::Error.
#pragma once

#include <windows.h>

#include <kelSDK.h>

#include <array>
#include <span>
#include <tuple>
#include <vector>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/error.h"
#include "automation/variant.h"

namespace kel::demo {

using automation::Bstr;
using automation::ComPtr;
using automation::Text;
using automation::TextView;
using automation::Variant;

// Calls a member whose last parameter is its result.
template <typename Result, typename Call>
Result Ask(Call&& call) {
    Result result{};
    automation::CallOut([&] { return call(&result); });
    return result;
}

template <typename Call>
bool AskFlag(Call&& call) {
    return Ask<VARIANT_BOOL>(call) != VARIANT_FALSE;
}

template <typename Call>
Text AskText(Call&& call) {
    Bstr result;
    automation::CallOut([&] { return call(result.put()); });
    return Text(result.view());
}

// Empty when the member answers Nothing.
template <typename Interface, typename Call>
ComPtr<Interface> AskObject(Call&& call) {
    ComPtr<Interface> result;
    automation::CallOut([&] { return call(result.put()); });
    return result;
}

constexpr VARIANT_BOOL Flag(bool value) {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

// Creates an object by its programmatic identifier.
//   throws  automation::Error when the component is not registered
template <typename Interface>
ComPtr<Interface> Create(const wchar_t* progId) {
    CLSID classId{};
    const HRESULT found = CLSIDFromProgID(progId, &classId);
    if (FAILED(found)) {
        throw automation::Error(found, progId, L"the component is not registered");
    }
    ComPtr<Interface> object;
    automation::Check(CoCreateInstance(classId,
                                       nullptr,
                                       CLSCTX_INPROC_SERVER,
                                       __uuidof(Interface),
                                       reinterpret_cast<void**>(object.put())));
    return object;
}

// Database work by key field, for code without controls. Positions count from 1; 0 means the whole
// enclosing level.
class Tools {
public:
    explicit Tools(ComPtr<_kelTools> tools) : tools_(std::move(tools)) {}

    Text Extract(TextView keyId, long amc, long vmc = 0, long smc = 0) const {
        return AskText(
            [&](BSTR* to) { return tools_->Extract(Bstr(keyId).get(), amc, vmc, smc, to); });
    }
    void Replace(TextView keyId, TextView value, long amc, long vmc = 0, long smc = 0) const {
        automation::CallOut(
            [&] { return tools_->Replace(Bstr(keyId).get(), Bstr(value).get(), amc, vmc, smc); });
    }
    void Insert(TextView keyId, TextView value, long amc, long vmc = 0, long smc = 0) const {
        automation::CallOut(
            [&] { return tools_->Insert(Bstr(keyId).get(), Bstr(value).get(), amc, vmc, smc); });
    }
    void Delete(TextView keyId, long amc, long vmc = 0, long smc = 0) const {
        automation::CallOut([&] { return tools_->Delete(Bstr(keyId).get(), amc, vmc, smc); });
    }
    // `pos` receives where the text is or, when the answer is false, where it would go.
    bool Locate(TextView keyId,
                TextView search,
                long& pos,
                long amc,
                long vmc = 0,
                TextView sortBy = {}) const {
        return AskFlag([&](VARIANT_BOOL* to) {
            return tools_->Locate(
                Bstr(keyId).get(), Bstr(search).get(), &pos, amc, vmc, Bstr(sortBy).get(), to);
        });
    }
    long Dcount(TextView keyId, TextView delimiter, long amc, long vmc = 0, long smc = 0) const {
        return Ask<long>([&](long* to) {
            return tools_->Dcount(Bstr(keyId).get(), Bstr(delimiter).get(), amc, vmc, smc, to);
        });
    }
    void mvRead(TextView keyId, TextView recordNumber, TextView fileName) const {
        automation::CallOut([&] {
            return tools_->mvRead(
                Bstr(keyId).get(), Bstr(recordNumber).get(), Bstr(fileName).get());
        });
    }
    void mvReadU(TextView keyId, TextView recordNumber, TextView fileName) const {
        automation::CallOut([&] {
            return tools_->mvReadU(
                Bstr(keyId).get(), Bstr(recordNumber).get(), Bstr(fileName).get());
        });
    }
    void mvWrite(TextView keyId, TextView recordNumber, TextView fileName = {}) const {
        automation::CallOut([&] {
            return tools_->mvWrite(
                Bstr(keyId).get(), Bstr(recordNumber).get(), Bstr(fileName).get());
        });
    }
    void mvWriteU(TextView keyId, TextView recordNumber, TextView fileName = {}) const {
        automation::CallOut([&] {
            return tools_->mvWriteU(
                Bstr(keyId).get(), Bstr(recordNumber).get(), Bstr(fileName).get());
        });
    }
    void mvRelease(TextView keyId) const {
        automation::CallOut([&] { return tools_->mvRelease(Bstr(keyId).get()); });
    }
    // Runs a selection under a list name. A selection that fails makes an empty list.
    void ExecuteSelect(TextView listName, TextView sentence) const {
        automation::CallOut(
            [&] { return tools_->ExecuteSelect(Bstr(listName).get(), Bstr(sentence).get()); });
    }
    // The next id of a list; false at its end.
    bool ReadNext(TextView listName, Text& id) const {
        Bstr next;
        const bool found = AskFlag([&](VARIANT_BOOL* to) {
            return tools_->ReadNext(Bstr(listName).get(), next.inOut(), to);
        });
        id = next.view();
        return found;
    }
    void CloseSelect(TextView listName) const {
        automation::CallOut([&] { return tools_->CloseSelect(Bstr(listName).get()); });
    }
    // By conversion code, for display and back. Oconv answers an empty text for what it cannot do.
    Text Oconv(TextView value, TextView code) const {
        return AskText(
            [&](BSTR* to) { return tools_->Oconv(Bstr(value).get(), Bstr(code).get(), to); });
    }
    Text Iconv(TextView value, TextView code) const {
        return AskText(
            [&](BSTR* to) { return tools_->Iconv(Bstr(value).get(), Bstr(code).get(), to); });
    }
    // The output of the sentence.
    Text Execute(TextView sentence) const {
        Bstr capture;
        Bstr returning;
        automation::CallOut([&] {
            return tools_->Execute(Bstr(sentence).get(), capture.inOut(), returning.inOut());
        });
        return Text(capture.view());
    }
    // The same with what was there before: a sentence that fails leaves both as they are.
    void Execute(TextView sentence, Text& capture, Text& returning) const {
        Bstr output(capture);
        Bstr codes(returning);
        automation::CallOut(
            [&] { return tools_->Execute(Bstr(sentence).get(), output.inOut(), codes.inOut()); });
        capture = output.view();
        returning = codes.view();
    }

    // Calls a stored program, which may change what the arguments hold; there are at most twelve.
    void CallProg(TextView program, std::span<Variant> arguments) const {
        Variant missing = Variant::Missing();
        std::array<VARIANT*, kProgramArguments> passed{};
        passed.fill(missing.inOut());
        for (std::size_t at = 0; at < arguments.size(); ++at) {
            passed.at(at) = arguments[at].inOut();
        }
        automation::CallOut([&] {
            return std::apply(
                [&](auto*... all) { return tools_->CallProg(Bstr(program).get(), all...); },
                passed);
        });
    }

    // The object itself, for code that calls it in its own way.
    _kelTools& raw() const { return *tools_; }

private:
    static constexpr std::size_t kProgramArguments = 12;

    ComPtr<_kelTools> tools_;
};

// A named session.
class Session {
public:
    explicit Session(ComPtr<_kelSessionCallBack> session) : session_(std::move(session)) {}

    bool Connect() const {
        return AskFlag([&](VARIANT_BOOL* to) { return session_->Connect(to); });
    }
    void Disconnect() const {
        automation::CallOut([&] { return session_->Disconnect(); });
    }
    bool IsConnected() const {
        return AskFlag([&](VARIANT_BOOL* to) { return session_->get_IsConnected(to); });
    }
    bool ConnectionFailed() const {
        return AskFlag([&](VARIANT_BOOL* to) { return session_->get_ConnectionFailed(to); });
    }
    short OsType() const {
        return Ask<short>([&](short* to) { return session_->get_OsType(to); });
    }
    void OsType(short value) const {
        automation::CallOut([&] { return session_->put_OsType(value); });
    }
    void AutoUpdateOk(bool value) const {
        automation::CallOut([&] { return session_->put_AutoUpdateOk(Flag(value)); });
    }
    Text SessionName() const {
        return AskText([&](BSTR* to) { return session_->get_SessionName(to); });
    }
    demo::Tools Tools() const {
        return demo::Tools(
            AskObject<_kelTools>([&](_kelTools** to) { return session_->get_Tools(to); }));
    }
    // A common value as text.
    Text CommonValue(TextView name) const {
        Variant value;
        automation::CallOut(
            [&] { return session_->get_CommonValue(Bstr(name).get(), value.put()); });
        return Text(value.text().view());
    }

    IUnknown& source() const { return *session_; }
    // The object itself, for code that calls it in its own way.
    _kelSessionCallBack& raw() const { return *session_; }

private:
    ComPtr<_kelSessionCallBack> session_;
};

// The event source of one key field.
class Field {
public:
    explicit Field(ComPtr<_kelFieldCallBack> field) : field_(std::move(field)) {}

    fcbInitalized IsInitalized() const {
        return Ask<fcbInitalized>([&](fcbInitalized* to) { return field_->get_IsInitalized(to); });
    }
    Text SessionName() const {
        return AskText([&](BSTR* to) { return field_->get_SessionName(to); });
    }
    Text RefreshControlName() const {
        return AskText([&](BSTR* to) { return field_->get_RefreshControlName(to); });
    }

    IUnknown& source() const { return *field_; }

private:
    ComPtr<_kelFieldCallBack> field_;
};

// The root object.
class Base {
public:
    Base() : base_(Create<_kelBase>(L"kelSDK.kelBase")) {}

    Text Version() const {
        return AskText([&](BSTR* to) { return base_->Version(to); });
    }
    Session GetSessionCallBack(TextView name) const {
        return Session(AskObject<_kelSessionCallBack>([&](_kelSessionCallBack** to) {
            return base_->GetSessionCallBack(Bstr(name).get(), to);
        }));
    }
    Field GetFieldCallBack(TextView keyField) const {
        return Field(AskObject<_kelFieldCallBack>([&](_kelFieldCallBack** to) {
            return base_->GetFieldCallBack(Bstr(keyField).get(), to);
        }));
    }
    void SetKeyFieldSession(TextView keyField, TextView session) const {
        automation::CallOut(
            [&] { return base_->SetKeyFieldSession(Bstr(keyField).get(), Bstr(session).get()); });
    }
    void SetKeyFieldFileName(TextView keyField, TextView fileName) const {
        automation::CallOut(
            [&] { return base_->SetKeyFieldFileName(Bstr(keyField).get(), Bstr(fileName).get()); });
    }
    void RefreshFieldCallback(TextView keyField) const {
        automation::CallOut([&] { return base_->RefreshFieldCallback(Bstr(keyField).get()); });
    }
    void RemoveFieldCallBack(TextView keyField) const {
        automation::CallOut([&] { return base_->RemoveFieldCallBack(Bstr(keyField).get()); });
    }
    void RemoveSessionCallback(TextView session) const {
        automation::CallOut([&] { return base_->RemoveSessionCallback(Bstr(session).get()); });
    }
    // The names in a file's dictionary, through a key field's session.
    std::vector<Text> DictNameList(TextView keyField, TextView fileName) const {
        return Names(AskObject<_Collection>([&](_Collection** to) {
            return base_->DictNameList(Bstr(keyField).get(), Bstr(fileName).get(), to);
        }));
    }
    std::vector<Text> GetKeyFieldList() const {
        return Names(
            AskObject<_Collection>([&](_Collection** to) { return base_->GetKeyFieldList(to); }));
    }
    std::vector<Text> GetSessionNameList() const {
        return Names(AskObject<_Collection>(
            [&](_Collection** to) { return base_->GetSessionNameList(to); }));
    }

    // The object itself, for code that calls it in its own way.
    _kelBase& raw() const { return *base_; }

private:
    // Items of a collection count from 1.
    static std::vector<Text> Names(const ComPtr<_Collection>& collection) {
        std::vector<Text> names;
        if (!collection) {
            return names;
        }
        const long count = Ask<long>([&](long* to) { return collection->get_Count(to); });
        for (long index = 1; index <= count; ++index) {
            Variant item;
            automation::CallOut(
                [&] { return collection->get_Item(Variant(index).get(), item.put()); });
            names.emplace_back(item.text().view());
        }
        return names;
    }

    ComPtr<_kelBase> base_;
};

}  // namespace kel::demo
