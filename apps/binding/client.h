// Handles on the component's objects, one class each: what a C++ program writes once, to call
// members with its own text type and get results back as results. Members carry their published
// names and do nothing but the one call; a failed call comes out as Error. Copies of a handle are
// handles on the same object.
#pragma once

#include <array>
#include <span>
#include <tuple>
#include <vector>

#include "apps/binding/com.h"

namespace kel::binding {

// Database work by key field, for code without controls. Positions count from 1; 0 means the whole
// enclosing level.
class Tools {
public:
    explicit Tools(Ptr<_kelTools> tools) : tools_(std::move(tools)) {}

    Text Extract(TextView keyId, long amc, long vmc = 0, long smc = 0) const {
        return AskText(
            [&](BSTR* to) { return tools_->Extract(Str(keyId).get(), amc, vmc, smc, to); });
    }
    void Replace(TextView keyId, TextView value, long amc, long vmc = 0, long smc = 0) const {
        Check(tools_->Replace(Str(keyId).get(), Str(value).get(), amc, vmc, smc));
    }
    void Insert(TextView keyId, TextView value, long amc, long vmc = 0, long smc = 0) const {
        Check(tools_->Insert(Str(keyId).get(), Str(value).get(), amc, vmc, smc));
    }
    void Delete(TextView keyId, long amc, long vmc = 0, long smc = 0) const {
        Check(tools_->Delete(Str(keyId).get(), amc, vmc, smc));
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
                Str(keyId).get(), Str(search).get(), &pos, amc, vmc, Str(sortBy).get(), to);
        });
    }
    long Dcount(TextView keyId, TextView delimiter, long amc, long vmc = 0, long smc = 0) const {
        return Ask<long>([&](long* to) {
            return tools_->Dcount(Str(keyId).get(), Str(delimiter).get(), amc, vmc, smc, to);
        });
    }
    void mvRead(TextView keyId, TextView recordNumber, TextView fileName) const {
        Check(tools_->mvRead(Str(keyId).get(), Str(recordNumber).get(), Str(fileName).get()));
    }
    void mvReadU(TextView keyId, TextView recordNumber, TextView fileName) const {
        Check(tools_->mvReadU(Str(keyId).get(), Str(recordNumber).get(), Str(fileName).get()));
    }
    void mvWrite(TextView keyId, TextView recordNumber, TextView fileName = {}) const {
        Check(tools_->mvWrite(Str(keyId).get(), Str(recordNumber).get(), Str(fileName).get()));
    }
    void mvWriteU(TextView keyId, TextView recordNumber, TextView fileName = {}) const {
        Check(tools_->mvWriteU(Str(keyId).get(), Str(recordNumber).get(), Str(fileName).get()));
    }
    void mvRelease(TextView keyId) const { Check(tools_->mvRelease(Str(keyId).get())); }
    // Runs a selection under a list name. A selection that fails makes an empty list.
    void ExecuteSelect(TextView listName, TextView sentence) const {
        Check(tools_->ExecuteSelect(Str(listName).get(), Str(sentence).get()));
    }
    // The next id of a list; false at its end.
    bool ReadNext(TextView listName, Text& id) const {
        Str next;
        const bool found = AskFlag([&](VARIANT_BOOL* to) {
            return tools_->ReadNext(Str(listName).get(), next.inOut(), to);
        });
        id = next.text();
        return found;
    }
    void CloseSelect(TextView listName) const { Check(tools_->CloseSelect(Str(listName).get())); }
    // By conversion code, for display and back. Oconv answers an empty text for what it cannot do.
    Text Oconv(TextView value, TextView code) const {
        return AskText(
            [&](BSTR* to) { return tools_->Oconv(Str(value).get(), Str(code).get(), to); });
    }
    Text Iconv(TextView value, TextView code) const {
        return AskText(
            [&](BSTR* to) { return tools_->Iconv(Str(value).get(), Str(code).get(), to); });
    }
    // The output of the sentence.
    Text Execute(TextView sentence) const {
        Str capture;
        Str returning;
        Check(tools_->Execute(Str(sentence).get(), capture.inOut(), returning.inOut()));
        return capture.text();
    }
    // The same with what was there before: a sentence that fails leaves both as they are.
    void Execute(TextView sentence, Text& capture, Text& returning) const {
        Str output(capture);
        Str codes(returning);
        Check(tools_->Execute(Str(sentence).get(), output.inOut(), codes.inOut()));
        capture = output.text();
        returning = codes.text();
    }

    // Calls a stored program, which may change what the arguments hold; there are at most twelve.
    void CallProg(TextView program, std::span<Var> arguments) const {
        Var missing = Var::Missing();
        std::array<VARIANT*, kProgramArguments> passed{};
        passed.fill(missing.inOut());
        for (std::size_t at = 0; at < arguments.size(); ++at) {
            passed.at(at) = arguments[at].inOut();
        }
        Check(std::apply([&](auto*... all) { return tools_->CallProg(Str(program).get(), all...); },
                         passed));
    }

    // The object itself, for code that calls it in its own way.
    _kelTools& raw() const { return *tools_; }

private:
    static constexpr std::size_t kProgramArguments = 12;

    Ptr<_kelTools> tools_;
};

// A named session.
class Session {
public:
    explicit Session(Ptr<_kelSessionCallBack> session) : session_(std::move(session)) {}

    bool Connect() const {
        return AskFlag([&](VARIANT_BOOL* to) { return session_->Connect(to); });
    }
    void Disconnect() const { Check(session_->Disconnect()); }
    bool IsConnected() const {
        return AskFlag([&](VARIANT_BOOL* to) { return session_->get_IsConnected(to); });
    }
    bool ConnectionFailed() const {
        return AskFlag([&](VARIANT_BOOL* to) { return session_->get_ConnectionFailed(to); });
    }
    short OsType() const {
        return Ask<short>([&](short* to) { return session_->get_OsType(to); });
    }
    void OsType(short value) const { Check(session_->put_OsType(value)); }
    void AutoUpdateOk(bool value) const { Check(session_->put_AutoUpdateOk(Flag(value))); }
    Text SessionName() const {
        return AskText([&](BSTR* to) { return session_->get_SessionName(to); });
    }
    binding::Tools Tools() const {
        return binding::Tools(
            AskObject<_kelTools>([&](_kelTools** to) { return session_->get_Tools(to); }));
    }
    // A common value as text.
    Text CommonValue(TextView name) const {
        Var value;
        Check(session_->get_CommonValue(Str(name).get(), value.put()));
        return value.text();
    }

    // The object itself, which raises the events.
    _kelSessionCallBack& raw() const { return *session_; }

private:
    Ptr<_kelSessionCallBack> session_;
};

// Switches a session's announcements of changes off while many records pass through a buffer that
// nobody looks at, and on again whatever happens.
class QuietSession {
public:
    explicit QuietSession(Session session) : session_(std::move(session)) {
        session_.AutoUpdateOk(false);
    }
    QuietSession(const QuietSession&) = delete;
    QuietSession& operator=(const QuietSession&) = delete;
    ~QuietSession() {
        Ignoring([&] { session_.AutoUpdateOk(true); });
    }

private:
    const Session session_;
};

// The event source of one key field.
class Field {
public:
    explicit Field(Ptr<_kelFieldCallBack> field) : field_(std::move(field)) {}

    fcbInitalized IsInitalized() const {
        return Ask<fcbInitalized>([&](fcbInitalized* to) { return field_->get_IsInitalized(to); });
    }
    Text SessionName() const {
        return AskText([&](BSTR* to) { return field_->get_SessionName(to); });
    }
    Text RefreshControlName() const {
        return AskText([&](BSTR* to) { return field_->get_RefreshControlName(to); });
    }

    // The object itself, which raises the events.
    _kelFieldCallBack& raw() const { return *field_; }

private:
    Ptr<_kelFieldCallBack> field_;
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
            return base_->GetSessionCallBack(Str(name).get(), to);
        }));
    }
    Field GetFieldCallBack(TextView keyField) const {
        return Field(AskObject<_kelFieldCallBack>([&](_kelFieldCallBack** to) {
            return base_->GetFieldCallBack(Str(keyField).get(), to);
        }));
    }
    void SetKeyFieldSession(TextView keyField, TextView session) const {
        Check(base_->SetKeyFieldSession(Str(keyField).get(), Str(session).get()));
    }
    void SetKeyFieldFileName(TextView keyField, TextView fileName) const {
        Check(base_->SetKeyFieldFileName(Str(keyField).get(), Str(fileName).get()));
    }
    void RefreshFieldCallback(TextView keyField) const {
        Check(base_->RefreshFieldCallback(Str(keyField).get()));
    }
    void RemoveFieldCallBack(TextView keyField) const {
        Check(base_->RemoveFieldCallBack(Str(keyField).get()));
    }
    void RemoveSessionCallback(TextView session) const {
        Check(base_->RemoveSessionCallback(Str(session).get()));
    }
    // The names in a file's dictionary, through a key field's session.
    std::vector<Text> DictNameList(TextView keyField, TextView fileName) const {
        return Names(AskObject<_Collection>([&](_Collection** to) {
            return base_->DictNameList(Str(keyField).get(), Str(fileName).get(), to);
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
    static std::vector<Text> Names(const Ptr<_Collection>& collection) {
        std::vector<Text> names;
        if (!collection) {
            return names;
        }
        const long count = Ask<long>([&](long* to) { return collection->get_Count(to); });
        for (long index = 1; index <= count; ++index) {
            Var item;
            Check(collection->get_Item(Var(index).get(), item.put()));
            names.push_back(item.text());
        }
        return names;
    }

    Ptr<_kelBase> base_;
};

}  // namespace kel::binding
