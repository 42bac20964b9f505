// The control side of the test back-end: a back-end component that keeps its database in memory,
// writes down every call, and answers, fails or runs a test's own code on demand.
//
//     TestBackend& backend = LoadTestBackend();        // tests/support/backend.h
//     backend.putRecord(L"CUST", L"17", L"Smith");
//     backend.answer(Member::kRead, Nothing(), {{L"Status", Value(2)}});   // locked, once
//     backend.fail(Member::kWrite, SampleFailure());                       // always
//     ... work with the component ...
//     EXPECT_EQ(backend.takeCalls(), (Lines{L"OpenFile(CUST)", L"mvRead(False,17,file#1,0)"}));
//
// The component and the test program share one copy in the process. One thread. All back-end
// objects share one database and one script; locks belong to the back-end object that took them.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "tests/support/errors.h"

namespace kel::tests {

// The entries of the back-end interface in their order. kCreate, which is none of them, is the
// making of a back-end object: it can be written down and fail like a call.
enum class Member {
    kCreate,
    kPropertyCount,
    kGetPropertyName,
    kPropertyValueGet,
    kPropertyValueLet,
    kPropertyObjectGet,
    kPropertyObjectSet,
    kPropertyDescription,
    kPropertyDefault,
    kOsType,
    kOsDescription,
    kDatabaseType,
    kVersion,
    kIsConnected,
    kConnectFailed,
    kConnect,
    kDisconnect,
    kCreateDynamicArray,
    kExtract,
    kReplace,
    kInsert,
    kDelete,
    kLocate,
    kDcount,
    kOconv,
    kIconv,
    kRead,
    kWrite,
    kDeleteRecord,
    kRelease,
    kCallHost,
    kOpenFile,
    kCloseFile,
    kProcessSelect,
    kCloseSelect,
    kReadNext,
    kExecute,
    kReadDictItem,
    kWriteDictItem,
    kProcessCorrelative,
    kValidCorrelative,
    kSelectDictName,
    kSelectFileName,
};

// The classes of the test DLL by OsType. Each is "kelos<number>.IHostDLL".
inline constexpr short kTestOsType = 99;      // version "2.1"; the one to use
inline constexpr short kOtherOsType = 95;     // version "10.3": a second good one
inline constexpr short kOldOsType = 98;       // version "1.9": refused
inline constexpr short kUndottedOsType = 97;  // version "2": refused
inline constexpr short kForeignOsType = 96;   // does not implement the interface at all

using Lines = std::vector<Text>;

// Marks as they are written on paper: ^ attribute, ] value, \ subvalue.
inline Text Marked(Text text) {
    for (wchar_t& unit : text) {
        unit = unit == L'^' ? L'\xFE' : unit == L']' ? L'\xFD' : unit == L'\\' ? L'\xFC' : unit;
    }
    return text;
}

// What a member raises.
struct Failure : ErrorFields {
    bool described = true;  // false: the bare HRESULT, no error object
    bool late = false;      // true: after the member has done its work
};

// A failure with five fields that cannot be mistaken for another's.
inline Failure SampleFailure(long number = 10201) {
    return {{number, L"kelos99.Sample", L"A sample failure", L"sample.hlp", 4711}};
}
inline Failure BareFailure(HRESULT code) {
    return {{code, {}, {}, {}, 0}, false};
}
inline Failure Late(Failure failure) {
    failure.late = true;
    return failure;
}

// How many times a rule holds.
enum class When { kAlways, kOnce };
inline constexpr When kOnce = When::kOnce;
inline constexpr When kAlways = When::kAlways;

enum class Phase { kBefore, kInstead, kAfter };

// A call in progress, as a handler sees it.
class CallInProgress {
public:
    virtual Text text() const = 0;  // as it is written down
    // Replaces the by-reference parameter with this number, from 0, or the result (kResult),
    // converted to its type.
    virtual void set(int parameter, const Variant& value) = 0;
    // The member raises this when the handler returns; nothing else runs.
    virtual void fail(const Failure& failure) = 0;

protected:
    ~CallInProgress() = default;
};

// Must not throw: the exception would have to leave through another module. See Guarded().
using Handler = std::function<void(CallInProgress&)>;

struct RecordedCall {
    Member member;
    Text text;  // "Extract(array#1,2,1,0)", "PropertyValue(Server)=local"
};

inline constexpr int kResult = -1;

// The answer to one by-reference parameter, by its number from 0.
struct Output {
    int parameter;
    Variant value;
};
using Outputs = std::vector<Output>;

struct DictItem {
    long attribute = 0;
    Text conversion = {};
    Text label = {};
    Text justification = {};
    Text correlative = {};
    short length = 0;

    friend bool operator==(const DictItem&, const DictItem&) = default;
};

// A stored program: its twelve arguments, never null; missing ones are missing variants.
using Program = std::function<void(VARIANT* const* arguments)>;

struct LiveObjects {
    long hosts = 0;
    long arrays = 0;
    long files = 0;
    long lists = 0;

    friend bool operator==(const LiveObjects&, const LiveObjects&) = default;
};

// An answer without an object.
inline Variant Nothing() {
    return Variant(static_cast<IDispatch*>(nullptr));
}

// Turns what a handler throws into a failure of the call.
template <typename Action>
Handler Guarded(Action action) {
    return [action](CallInProgress& call) {
        try {
            if constexpr (std::is_invocable_v<Action, CallInProgress&>) {
                action(call);
            } else {
                action();
            }
        } catch (...) {
            call.fail({{E_UNEXPECTED, L"tests", L"A handler threw an exception", {}, 0}});
        }
    };
}

class TestBackend {
public:
    // Everything as in the beginning: nothing recorded, no rules, an empty database, the default
    // properties and versions, object numbers from 1. Objects that are alive stay so.
    virtual void reset() = 0;

    // ------------------------------------------------------------------ what happened

    virtual std::vector<RecordedCall> calls() const = 0;
    // Forgets the recorded calls; call numbers start at 1 again.
    virtual void clearCalls() = 0;
    // The recorded calls, which are then forgotten.
    Lines takeCalls() {
        Lines texts;
        for (const RecordedCall& call : calls()) {
            texts.push_back(call.text);
        }
        clearCalls();
        return texts;
    }
    long count(Member member) const {
        long found = 0;
        for (const RecordedCall& call : calls()) {
            found += call.member == member ? 1 : 0;
        }
        return found;
    }

    // ------------------------------------------------------------------ what is to happen
    //
    // Rules are tried in the order of their making. Of the rules for kInstead the first that holds
    // is taken and the rest wait, so answers and failures for one member form a queue; a rule for a
    // numbered call goes before those for members. Without one the member does what a database
    // does.

    virtual void addRule(Member member, When when, Phase phase, Handler handler) = 0;
    // For the n-th call to any member, from 1, counted from clearCalls() or reset().
    virtual void addCallRule(long number, Phase phase, Handler handler) = 0;

    void fail(Member member, const Failure& failure, When when = kAlways) {
        addRule(member, when, PhaseOf(failure), FailingWith(failure));
    }
    void failCall(long number, const Failure& failure) {
        addCallRule(number, PhaseOf(failure), FailingWith(failure));
    }
    // The result, and values for by-reference parameters; those not named stay as the caller had
    // them. For once, unless said otherwise.
    void answer(Member member,
                const Variant& result,
                const Outputs& outputs = {},
                When when = kOnce) {
        addRule(member, when, Phase::kInstead, [result, outputs](CallInProgress& call) {
            if (V_VT(&result.get()) != VT_EMPTY) {
                call.set(kResult, result);
            }
            for (const Output& output : outputs) {
                call.set(output.parameter, output.value);
            }
        });
    }
    // `action` takes nothing or the CallInProgress. It may call the component again.
    template <typename Action>
    void before(Member member, Action action, When when = kAlways) {
        addRule(member, when, Phase::kBefore, Guarded(std::move(action)));
    }
    template <typename Action>
    void instead(Member member, Action action, When when = kAlways) {
        addRule(member, when, Phase::kInstead, Guarded(std::move(action)));
    }
    template <typename Action>
    void after(Member member, Action action, When when = kAlways) {
        addRule(member, when, Phase::kAfter, Guarded(std::move(action)));
    }

    // ------------------------------------------------------------------ identity, connection

    virtual void setVersion(short osType, TextView version) = 0;
    // The text set last, in whichever back-end object.
    virtual Text propertyValue(TextView name) const = 0;
    // Whether new back-end objects find themselves connected. False at first.
    virtual void setConnectedAtStart(bool connected) = 0;

    // ------------------------------------------------------------------ the database

    virtual void createFile(TextView file) = 0;
    // Also creates the file. The text is a record in native form, marks included.
    virtual void putRecord(TextView file, TextView id, TextView text) = 0;
    virtual std::optional<Text> record(TextView file, TextView id) const = 0;
    // As held by back-end object `host`; 0 is another user altogether.
    virtual void lockRecord(TextView file, TextView id, long host = 0) = 0;
    // "CUST 17 1" for record 17 of CUST locked by back-end object 1.
    virtual Lines locks() const = 0;
    virtual void putDictItem(TextView file, TextView name, const DictItem& item) = 0;
    // Must not throw, as handlers must not.
    virtual void putProgram(TextView name, Program program) = 0;

    // ------------------------------------------------------------------ objects handed out

    virtual LiveObjects live() const = 0;
    // Back-end objects that were let go of while they were connected.
    virtual long releasedConnected() const = 0;
    // A record buffer of this back-end as a client could have kept it.
    virtual ComPtr<IDispatch> makeArray(TextView text) = 0;
    // The content of a record buffer of this back-end; empty optional for any other object.
    virtual std::optional<Text> arrayText(IUnknown* array) const = 0;
    // "array#1", "file#2", "list#1", "Nothing", "object".
    virtual Text nameOf(IUnknown* object) const = 0;

protected:
    ~TestBackend() = default;

private:
    static Phase PhaseOf(const Failure& failure) {
        return failure.late ? Phase::kAfter : Phase::kInstead;
    }
    static Handler FailingWith(const Failure& failure) {
        return [failure](CallInProgress& call) { call.fail(failure); };
    }
};

// What the DLL exports under this name: TestBackend* KelTestBackend().
inline constexpr const char* kTestBackendExport = "KelTestBackend";
using TestBackendExport = TestBackend*(__cdecl*)();

}  // namespace kel::tests
