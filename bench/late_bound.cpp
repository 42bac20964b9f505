// Calls by name: through the objects' own dispatcher, through the platform's, and directly.
#include <set>

#include "bench/client.h"

namespace kel::bench {
namespace {

// For members that answer a number. Where they answer a text, the platform's own making and freeing
// of the text, the same on both ways, is most of our time.
constexpr double kInvokeTarget = 0.25;
constexpr double kNamesTarget = 0.05;

Ptr<ITypeInfo> TypeInfoOf(IDispatch* object) {
    Ptr<ITypeInfo> info;
    Check(object->GetTypeInfo(0, 0, info.put()));
    return info;
}

template <typename Direct>
void CompareCall(const char* work,
                 const Ptr<IDispatch>& object,
                 const wchar_t* name,
                 std::vector<VARIANT> lastFirst,
                 double target,
                 Direct direct) {
    constexpr WORD kFlags = DISPATCH_METHOD | DISPATCH_PROPERTYGET;  // as scripts ask
    const auto info = TypeInfoOf(object.get());
    NamedCall call{object, IdOf(object.get(), name), kFlags, std::move(lastFirst)};
    const Way named{work, Repeating(call)};
    const auto platforms = Repeating([=]() mutable { call(info.get()); });
    Compare(named, {"ITypeInfo::Invoke", platforms}, target);
    Compare(named, {"the direct call", Asking(direct)});
}

void CompareNames(const char* work, IDispatch* object) {
    const auto info = TypeInfoOf(object);
    std::set<Text> names;
    FUNCDESC* member = nullptr;
    for (UINT i = 0; SUCCEEDED(info->GetFuncDesc(i, &member)); ++i) {
        constexpr MEMBERID kFirstOfDispatch = 0x60000000;  // the base interfaces' own
        Str name;
        UINT given = 0;
        Check(info->GetNames(member->memid, name.put(), 1, &given));
        if (member->memid < kFirstOfDispatch) {
            names.emplace(name.view());
        }
        info->ReleaseFuncDesc(member);
    }
    const auto count = static_cast<double>(names.size());
    const auto forAll = [&](auto ask) {
        return Repeating([&names, ask] {
            for (const Text& name : names) {
                auto* text = const_cast<wchar_t*>(name.c_str());
                DISPID id = 0;
                Check(ask(&text, &id));
            }
        });
    };
    const auto own = [=](LPOLESTR* name, DISPID* id) {
        return object->GetIDsOfNames(IID_NULL, name, 1, 0, id);
    };
    const auto platforms = [=](LPOLESTR* name, DISPID* id) {
        return info->GetIDsOfNames(name, 1, id);
    };
    Compare({work, forAll(own), count},
            {"ITypeInfo::GetIDsOfNames", forAll(platforms), count},
            kNamesTarget);
}

}  // namespace

void MeasureLateBound() {
    PrintHead("calls by name");
    const Var one(1L);
    const auto item = Create<_kelDictItem>(L"kelSDK.kelDictItem");
    Check(item->put_Label(Str(L"Name of the country").get()));
    const auto label = [&](BSTR* to) { return item->get_Label(to); };
    CompareCall("get kelDictItem.Label, a text", item, L"Label", {}, kNoTarget, label);

    CompareCall("get kelDictItem.AMC, a number", item, L"AMC", {}, kInvokeTarget, [&](long* to) {
        return item->get_AMC(to);
    });

    const auto empty = Create<_mviHostDLL>(L"kelSDK.mviHostDLL");
    Ptr<IDispatch> array;
    VARIANT variable;
    V_VT(&variable) = VT_DISPATCH | VT_BYREF;
    V_DISPATCHREF(&variable) = array.inOut();
    CompareCall("mviHostDLL.Extract, 4 arguments, empty",
                empty,
                L"Extract",
                {one.get(), one.get(), one.get(), variable},
                kNoTarget,
                [&](BSTR* to) { return empty->Extract(array.inOut(), 1, 1, 1, to); });
    const Str mark(L"\x00FD");
    CompareCall("mviHostDLL.Dcount, 5 arguments, empty",
                empty,
                L"Dcount",
                {one.get(), one.get(), one.get(), variable, Borrowed(mark)},
                kInvokeTarget,
                [&](long* to) { return empty->Dcount(mark.get(), array.inOut(), 1, 1, 1, to); });

    const TemporaryAccount account;
    const Client client(account.properties());
    const auto& tools = client.tools;
    const BSTR key = client.key.get();
    Check(tools->Replace(key, Str(SampleRecord()).get(), 0, 0, 0));
    const Str text(L"a b c");
    const Str blank(L" ");
    CompareCall("kelTools.mvField, 3 arguments",
                tools,
                L"mvField",
                {one.get(), Borrowed(blank), Borrowed(text)},
                kNoTarget,
                [&](BSTR* to) { return tools->mvField(text.get(), blank.get(), 1, to); });
    CompareCall("kelTools.Extract, 4 arguments, kelos1",
                tools,
                L"Extract",
                {one.get(), one.get(), one.get(), Borrowed(client.key)},
                kNoTarget,
                [&](BSTR* to) { return tools->Extract(key, 1, 1, 1, to); });

    PrintHead("look-up of a name, mean over all");
    CompareNames("_kelDictItem", item.get());
    CompareNames("_kelTools", tools.get());
    CompareNames("_mviHostDLL", empty.get());
}

}  // namespace kel::bench
