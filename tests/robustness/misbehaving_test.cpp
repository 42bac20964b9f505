// Back-ends that answer with what they must not: nothing where an object belongs, values of the
// wrong type, codes nobody defined, errors with a stale description. The component reports an error
// or a documented result, and goes on working.
#include <gtest/gtest.h>

#include "tests/registry/component.h"

namespace kel::tests {
namespace {

class MisbehavingBackEnd : public ComponentTest {
protected:
    void open() {
        backend.reset();
        backend.putRecord(L"CUST", L"17", L"Smith");
        backend.putDictItem(L"CUST", L"NAME", {1, L"MD2", L"Name", L"L", L"A;1", 20});
        base = newBase();
        base->SetKeyFieldSession(Str(L"Cust"), Str(L"Main"));
        base->GetSessionCallBack(Str(L"Main"), session.put());
        listening = ListenTo(*session);
        listening.sink->answerProperty(L"OsType", L"99");
        late(session, L"Connect");
        tools = Dispatch(session.get()).call(L"Tools").value.object<IDispatch>();
        late(tools, L"mvRead", {L"Cust", L"17", L"CUST"});
        item = automation::Make<client::DictItem>();
        for (const auto& [name, text] : {std::pair{L"KeyId", L"Cust"},
                                         {L"FileName", L"CUST"},
                                         {L"DictName", L"NAME"},
                                         {L"Conversion", L"MD2"}}) {
            Dispatch(item.get()).put(name, {text});
        }
        Dispatch(item.get()).put(L"AMC", {1});
        backend.clearCalls();
    }
    void close() {
        listening.end();
        item.reset();
        tools.reset();
        session.reset();
        base.reset();
        RestartApartment();
    }
    void TearDown() override {
        close();
        ComponentTest::TearDown();
    }
    template <typename T>
    static Outcome late(const ComPtr<T>& object, TextView name, const Arguments& given = {}) {
        return Dispatch(object.get()).call(name, given);
    }

    // What clients do, by number; each reaches the back-end.
    static constexpr int kActions = 18;
    Outcome act(int number) {
        Variant id{TextView(L"")};
        Variant pos = Value(0);
        switch (number) {
            case 0:
                return late(tools, L"Extract", {L"Cust", 1});
            case 1:
                return late(tools, L"Replace", {L"Cust", L"x", 1});
            case 2:
                return late(tools, L"Locate", {L"Cust", L"x", ByRef(pos), 0});
            case 3:
                return late(tools, L"Dcount", {L"Cust", L"x", 1});
            case 4:
                return late(tools, L"mvRead", {L"Cust", L"17", L"CUST"});
            case 5:
                return late(tools, L"mvRead", {L"Cust", L"18", L"OTHER"});
            case 6:
                return late(tools, L"mvWrite", {L"Cust", L"19"});
            case 7:
                return late(tools, L"ExecuteSelect", {L"L", L"SELECT CUST"});
            case 8:
                return late(tools, L"ReadNext", {L"L", ByRef(id)});
            case 9:
                return late(tools, L"Execute", {L"WHO", ByRef(id)});
            case 10:
                return late(tools, L"Oconv", {L"1", L"MD2"});
            case 11:
                return late(tools, L"Iconv", {L"1", L"MD2"});
            case 12:
                return late(tools, L"ProcessCorrelative", {L"Cust", L"A;1", L"v", L"k", 1});
            case 13:
                return late(item, L"InitalizeDictItem");
            case 14:
                return Dispatch(item.get()).get(L"ExternalValue");
            case 15:
                return Dispatch(item.get()).put(L"ExternalValue", {L"2"});
            case 16:
                return late(base, L"FileNameList", {L"Main"});
            default:
                return late(base, L"DictNameList", {L"Cust", L"CUST"});
        }
    }

    ComPtr<_kelBase> base;
    ComPtr<_kelSessionCallBack> session;
    ComPtr<IDispatch> tools;
    ComPtr<_kelDictItem> item;
    Listening listening;
};

TEST_F(MisbehavingBackEnd, IsAnsweredWithAnErrorAndGoneOnWith) {
    Variant list;
    V_VT(list.inOut()) = VT_ARRAY | VT_I4;
    V_ARRAY(list.inOut()) = SafeArrayCreateVector(VT_I4, 0, 3);
    const auto raise = [](HRESULT code) {
        return [code](CallInProgress& call) { call.fail({{code}, false}); };
    };
    // Only results that can carry the value take it; others stay what the caller made them.
    const auto answer = [](Variant value) {
        return [value](CallInProgress& call) {
            const Text text = call.text();
            const Text member = text.substr(0, text.find(L'('));
            const bool isVariant = member == L"Oconv" || member == L"Iconv" ||
                                   member == L"CloseSelect" || member == L"PropertyDefault";
            const bool isObject = member == L"CreateDynamicArray" || member == L"OpenFile" ||
                                  member == L"ProcessSelect" || member == L"mvRead" ||
                                  member == L"SelectDictName" || member == L"SelectFileName";
            if (isVariant || (isObject && value.isObject())) {
                call.set(kResult, value);
            }
        };
    };
    const struct {
        const char* what;
        Handler misbehave;
    } manners[] = {
        {"nothing", answer(Nothing())},
        {"array", answer(list)},
        {"Null", answer([] {
             Variant null;
             V_VT(null.inOut()) = VT_NULL;
             return null;
         }())},
        {"error value", answer(Variant::Missing())},
        {"a foreign object", answer(Value(static_cast<IDispatch*>(newBase().get())))},
        {"undefined code", raise(static_cast<HRESULT>(0x8BADF00D))},
        {"all bits set", raise(static_cast<HRESULT>(0xFFFFFFFF))},
        {"dispatch code", raise(DISP_E_EXCEPTION)},
        {"no description", raise(E_ACCESSDENIED)},
    };
    int tried = 0;
    for (const auto& manner : manners) {
        for (int action = 0; action < kActions; ++action) {
            SCOPED_TRACE(std::string(manner.what) + ", action " + std::to_string(action));
            open();
            act(action);
            const std::size_t calls = backend.calls().size();
            close();
            for (std::size_t i = 1; i <= calls; ++i, ++tried) {
                open();
                backend.addCallRule(static_cast<long>(i), Phase::kInstead, manner.misbehave);
                Raise({5, L"somebody else", L"long ago"});  // left over from an earlier call
                const Outcome outcome = act(action);
                EXPECT_NE(outcome.error.number, E_UNEXPECTED);
                EXPECT_NE(outcome.error.description, L"long ago");
                // It works on: whatever was lost, a new read brings it back.
                EXPECT_TRUE(late(tools, L"mvRead", {L"Cust", L"17", L"CUST"}).ok());
                EXPECT_EQ(late(tools, L"Extract", {L"Cust", 1}).text(), L"Smith");
                close();
            }
        }
    }
    std::printf("%d misbehaviours tried\n", tried);
    EXPECT_GT(tried, 200);
}

}  // namespace
}  // namespace kel::tests
