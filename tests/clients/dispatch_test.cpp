// Calls by name as automation clients really make them, and as nobody should.
#include <gtest/gtest.h>

#include <map>

#include "automation/dispatch_table.h"
#include "automation/type_library.h"
#include "kelEngine.h"
#include "kelSDK.h"
#include "tests/clients/foreign.h"
#include "tests/clients/late_session.h"

namespace kel::tests {
namespace {

using automation::DispatchMember;
using automation::DispatchTable;
using automation::TableOf;

// ---------------------------------------------------------------------- the tables

// One function of a type library or one entry of a table, as a line.
Lines LinesOf(const DispatchTable& table) {
    Lines lines;
    for (const DispatchMember& member : table.members()) {
        Text line = std::to_wstring(member.id) + L" " + std::to_wstring(member.kind) + L" ";
        line += member.name;
        for (const auto& parameter : member.parameters) {
            line.append(parameter.isOptional ? L" [" : L" ")
                .append(parameter.name)
                .append(L"=")
                .append(std::to_wstring(parameter.defaultNumber));
        }
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

Text LineOf(ITypeInfo& info, const FUNCDESC& function) {
    BSTR names[DispatchCallMaximum] = {};
    UINT count = 0;
    info.GetNames(function.memid, names, DispatchCallMaximum, &count);
    Text line = std::to_wstring(function.memid) + L" " + std::to_wstring(function.invkind) + L" ";
    line += names[0];
    for (SHORT i = 0; i < function.cParams; ++i) {
        const PARAMDESC& parameter = function.lprgelemdescParam[i].paramdesc;
        // A put's new value has no name in a type library; the header calls it so.
        const Text name = static_cast<UINT>(i) + 1 < count ? names[i + 1] : L"value";
        const bool hasDefault = (parameter.wParamFlags & PARAMFLAG_FHASDEFAULT) != 0;
        const VARIANT* value = hasDefault ? &parameter.pparamdescex->varDefaultValue : nullptr;
        const long number = value == nullptr || V_VT(value) == VT_BSTR ? 0
                            : V_VT(value) == VT_I2                     ? V_I2(value)
                                                                       : V_I4(value);
        line.append((parameter.wParamFlags & PARAMFLAG_FOPT) != 0 ? L" [" : L" ")
            .append(name)
            .append(L"=")
            .append(std::to_wstring(number));
    }
    for (UINT i = 0; i < count; ++i) {
        SysFreeString(names[i]);
    }
    return line;
}

Lines LinesOf(REFIID iid) {
    constexpr WORD kInherited = 7;  // IUnknown's and IDispatch's
    const auto info = automation::TypeInfoOf(iid);
    TYPEATTR* attributes = nullptr;
    automation::Check(info->GetTypeAttr(&attributes));
    const WORD count = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    Lines lines;
    for (WORD i = kInherited; i < count; ++i) {
        FUNCDESC* function = nullptr;
        automation::Check(info->GetFuncDesc(i, &function));
        lines.push_back(LineOf(*info, *function));
        info->ReleaseFuncDesc(function);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

template <typename Interface>
void Agree() {
    EXPECT_EQ(LinesOf(TableOf<Interface>()), LinesOf(__uuidof(Interface)));
}

TEST(DispatchTables, AgreeWithTheTypeLibraries) {
    Agree<_Collection>();
    Agree<_kelBase>();
    Agree<_kelFieldCallBack>();
    Agree<_kelSessionCallBack>();
    Agree<_kelInfo>();
    Agree<_mviHostDLL>();
    Agree<_kelTools>();
    Agree<_kelDictItem>();
    Agree<_kelDBMS>();
}

TEST(DispatchTables, FindNamesInAnyCaseAndNothingElse) {
    const LateSession late;
    struct Case {
        std::vector<const wchar_t*> names;
        HRESULT code;
        std::vector<DISPID> ids;
    };
    const Case cases[] = {
        {{L"Locate"}, S_OK, {9}},
        {{L"lOCATE", L"sortby", L"POS"}, S_OK, {9, 5, 2}},
        {{L"Locate", L"None", L"AMC"}, DISP_E_UNKNOWNNAME, {9, DISPID_UNKNOWN, 3}},
        {{L"Locat"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{L"Locate "}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{L""}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{nullptr}, E_INVALIDARG, {DISPID_UNKNOWN}},
        {{L"Invoke"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
    };
    for (const Case& one : cases) {
        auto names = one.names;
        std::vector<DISPID> ids(names.size(), 77);
        EXPECT_EQ(late.tools->GetIDsOfNames(IID_NULL,
                                            const_cast<wchar_t**>(names.data()),
                                            static_cast<UINT>(names.size()),
                                            LOCALE_USER_DEFAULT,
                                            ids.data()),
                  one.code);
        EXPECT_EQ(ids, one.ids);
    }
}

// ---------------------------------------------------------------------- arguments

class Arguments : public ::testing::Test {
protected:
    // Arguments in declared order. `culprit` is the position, in declared order, of the argument
    // that is named as the wrong one; -1 for none.
    HRESULT invoke(IDispatch* object,
                   const wchar_t* name,
                   WORD flags,
                   std::vector<VARIANT> given,
                   LCID lcid = LOCALE_USER_DEFAULT) {
        std::reverse(given.begin(), given.end());
        DISPID putId = DISPID_PROPERTYPUT;
        const bool isPut = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
        DISPPARAMS params{given.data(), &putId, static_cast<UINT>(given.size()), isPut ? 1U : 0U};
        constexpr UINT kNone = 1000;
        UINT wrong = kNone;
        EXCEPINFO exception{};
        result.reset();
        const HRESULT code = object->Invoke(
            Id(object, name), IID_NULL, lcid, flags, &params, result.inOut(), &exception, &wrong);
        error = code == DISP_E_EXCEPTION ? ErrorOf(exception) : ErrorFields();
        culprit =
            wrong == kNone ? -1 : static_cast<int>(given.size()) - 1 - static_cast<int>(wrong);
        return code;
    }
    Text label() {
        EXPECT_EQ(invoke(late.item.get(), L"Label", DISPATCH_PROPERTYGET, {}), S_OK);
        return Shown(result.get());
    }

    LateSession late;
    Variant result;
    ErrorFields error;
    int culprit = -1;
};

VARIANT Of(VARTYPE type, std::int64_t bits = 0) {
    VARIANT value{};
    V_VT(&value) = type;
    V_I8(&value) = bits;
    return value;
}

TEST_F(Arguments, AreTextsOfWhateverConverts) {
    const Variant plain{TextView(L"a")};
    Bstr text(L"text");
    Variant inner{TextView(L"inner")};
    VARIANT chained = Of(VT_BYREF | VT_BSTR);
    V_BSTRREF(&chained) = text.inOut();
    VARIANT endless = Of(VT_BYREF | VT_VARIANT);
    V_VARIANTREF(&endless) = &endless;
    VARIANT number = Of(VT_R8);
    V_R8(&number) = 1.5;
    const auto good = Foreign::Make(S_OK, Value(L"default"));
    const auto bad = Foreign::Make(E_FAIL, {});
    [[maybe_unused]] const auto throwing = Foreign::Make(Foreign::kThrows, {});
    const auto deep = Foreign::Make(S_OK, Value(static_cast<IDispatch*>(good.get())));
    Variant list;
    V_VT(list.inOut()) = VT_ARRAY | VT_BSTR;
    V_ARRAY(list.inOut()) = SafeArrayCreateVector(VT_BSTR, 0, 1);
    struct Case {
        const char* what;
        VARIANT given;
        HRESULT code;
        const wchar_t* label;
        LCID lcid = 0;
    };
    const Case cases[] = {
        {"text", plain.get(), S_OK, L"a"},
        {"null text", Of(VT_BSTR), S_OK, L""},
        {"16 bits", Of(VT_I2, 17), S_OK, L"17"},
        {"8 bits", Of(VT_UI1, 17), S_OK, L"17"},
        {"64 bits", Of(VT_I8, 1LL << 40), S_OK, L"1099511627776"},
        {"truth", Of(VT_BOOL, -1), S_OK, L"True"},
        {"Empty", Of(VT_EMPTY), S_OK, L""},
        {"Null", Of(VT_NULL), DISP_E_TYPEMISMATCH, L"before"},
        {"missing", Variant::Missing().get(), DISP_E_PARAMNOTOPTIONAL, L"before"},
        {"error", Of(VT_ERROR, 5), DISP_E_TYPEMISMATCH, L"before"},
        {"reference", ByRef(text).get(), S_OK, L"text"},
        {"variable", ByRef(inner).get(), S_OK, L"inner"},
        {"variable that refers", ByRef(VT_VARIANT, &chained).get(), S_OK, L"text"},
        {"endless chain", endless, DISP_E_BADVARTYPE, L"before"},
        {"reference to nothing", Of(VT_BYREF | VT_BSTR), DISP_E_BADVARTYPE, L"before"},
        {"variable nowhere", Of(VT_BYREF | VT_VARIANT), DISP_E_BADVARTYPE, L"before"},
        {"no such type", Of(0x7F), DISP_E_BADVARTYPE, L"before"},
        {"record", Of(VT_RECORD), DISP_E_BADVARTYPE, L"before"},
        {"array", list.get(), DISP_E_TYPEMISMATCH, L"before"},
        {"object", Value(static_cast<IDispatch*>(good.get())).get(), S_OK, L"default"},
        {"Nothing", Of(VT_DISPATCH), DISP_E_TYPEMISMATCH, L"before"},
        {"failing object",
         Value(static_cast<IDispatch*>(bad.get())).get(),
         DISP_E_TYPEMISMATCH,
         L"before"},
#ifdef _WIN64
        // In 32 bit a C++ exception cannot cross from one module to another; docs/building.md.
        {"throwing object",
         Value(static_cast<IDispatch*>(throwing.get())).get(),
         DISP_E_TYPEMISMATCH,
         L"before"},
#endif
        {"object in object",
         Value(static_cast<IDispatch*>(deep.get())).get(),
         DISP_E_TYPEMISMATCH,
         L"before"},
        {"German", number, S_OK, L"1,5", MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN)},
        {"no such locale", number, DISP_E_UNKNOWNLCID, L"before", 0x7777},
        {"no locale needed", plain.get(), S_OK, L"a", 0x7777},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        const Variant before{TextView(L"before")};
        ASSERT_EQ(invoke(late.item.get(), L"Label", DISPATCH_PROPERTYPUT, {before.get()}), S_OK);
        EXPECT_EQ(invoke(late.item.get(), L"Label", DISPATCH_PROPERTYPUT, {one.given}, one.lcid),
                  one.code);
        EXPECT_EQ(culprit, FAILED(one.code) ? 0 : -1);
        EXPECT_EQ(label(), one.label);
    }
}

TEST_F(Arguments, AreNumbersWithinTheirRange) {
    struct Case {
        Variant given;
        HRESULT code;
        const wchar_t* read;
    };
    const Case cases[] = {
        {Value(L"12"), S_OK, L"12"},
        {Value(L"twelve"), DISP_E_TYPEMISMATCH, L"1"},
        {Value(2.5), S_OK, L"2"},
        {Value(3.5), S_OK, L"4"},
        {Value(40000), DISP_E_OVERFLOW, L"1"},
        {Value(L"40000"), DISP_E_OVERFLOW, L"1"},
        {Value(-32768), S_OK, L"-32768"},
        {Value(true), S_OK, L"-1"},
        {Variant(), S_OK, L"0"},
        {Value(Text(1 << 20, L'9')), DISP_E_OVERFLOW, L"1"},
        {Value(Text(1 << 20, L'x')), DISP_E_TYPEMISMATCH, L"1"},
    };
    for (const Case& one : cases) {
        invoke(late.item.get(), L"ReadType", DISPATCH_PROPERTYPUT, {Value(1).get()});
        EXPECT_EQ(invoke(late.item.get(), L"ReadType", DISPATCH_PROPERTYPUT, {one.given.get()}),
                  one.code)
            << Narrow(Shown(one.given.get())).substr(0, 20);
        invoke(late.item.get(), L"ReadType", DISPATCH_PROPERTYGET, {});
        EXPECT_EQ(Shown(result.get()), one.read);
    }
}

// Locate answers 2 in its third argument, whatever it is given.
TEST_F(Arguments, GetResultsBackInTheCallersOwnType) {
    const Variant key = Value(LateSession::kKey);
    const Variant search = Value(L"Paris");
    const auto locate = [&](const VARIANT& pos) {
        return invoke(late.tools.get(),
                      L"Locate",
                      DISPATCH_METHOD,
                      {key.get(), search.get(), pos, Value(2).get()});
    };
    for (const VARTYPE type : {VT_I1,
                               VT_UI1,
                               VT_I2,
                               VT_UI2,
                               VT_I4,
                               VT_UI4,
                               VT_INT,
                               VT_I8,
                               VT_R4,
                               VT_R8,
                               VT_CY,
                               VT_DATE,
                               VT_DECIMAL,
                               VT_BSTR}) {
        Variant variable = Value(0);
        ASSERT_EQ(VariantChangeType(variable.inOut(), variable.inOut(), 0, type), S_OK);
        void* target = type == VT_DECIMAL ? static_cast<void*>(&V_DECIMAL(variable.inOut()))
                                          : &V_I4(variable.inOut());
        EXPECT_EQ(locate(ByRef(type, target).get()), S_OK) << type;
        EXPECT_EQ(V_VT(&variable.get()), type);
        EXPECT_EQ(VariantChangeType(variable.inOut(), variable.inOut(), 0, VT_I4), S_OK);
        EXPECT_EQ(Shown(variable.get()), L"2") << type;
    }
    for (Variant variable : {Variant(), Value(L"7"), Value(7), Value(true)}) {
        EXPECT_EQ(locate(ByRef(variable).get()), S_OK);
        EXPECT_EQ(V_VT(&variable.get()), VT_I4) << "a variable takes the member's type";
        EXPECT_EQ(Shown(variable.get()), L"2");
    }
    EXPECT_EQ(locate(Value(7).get()), S_OK) << "by value";
    Variant object = Value(static_cast<IDispatch*>(late.item.get()));
    EXPECT_EQ(locate(ByRef(object).get()), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(culprit, 2);
    EXPECT_TRUE(object.isObject()) << "untouched";

    // An id that is no number does not fit into a number; the call itself was made.
    const Variant list = Value(L"List");
    invoke(late.tools.get(),
           L"ExecuteSelect",
           DISPATCH_METHOD,
           {list.get(), Variant(TextView(L"SELECT CUST")).get()});
    long number = 5;
    const auto next = [&](const VARIANT& id) {
        return invoke(late.tools.get(), L"ReadNext", DISPATCH_METHOD, {list.get(), id});
    };
    EXPECT_EQ(next(ByRef(&number).get()), S_OK);
    EXPECT_EQ(number, 17);
    EXPECT_EQ(next(ByRef(&number).get()), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(number, 17);
}

// A program's result that does not fit into its variable keeps none of the others back.
TEST_F(Arguments, GetEveryResultBackThatFits) {
    LoadTestBackend().putProgram(L"PROG", [](VARIANT* const* arguments) {
        for (const auto& [at, text] : {std::pair(0, L"no number"), {1, L"left"}, {2, L"8"}}) {
            VariantClear(arguments[at]);
            *arguments[at] = Value(text).detach();
        }
    });
    struct Case {
        const char* what;
        VARTYPE first;
        HRESULT code;
        int culprit;
    };
    for (const Case& one :
         {Case{"a number", VT_I4, DISP_E_TYPEMISMATCH, 1}, Case{"a text", VT_BSTR, S_OK, -1}}) {
        SCOPED_TRACE(one.what);
        long number = 5;
        Bstr text(L"before");
        const Variant misfit = one.first == VT_I4 ? ByRef(&number) : ByRef(VT_BSTR, text.inOut());
        Bstr second(L"before");
        short third = 1;
        Variant untouched = Value(L"in");
        EXPECT_EQ(invoke(late.tools.get(),
                         L"CallProg",
                         DISPATCH_METHOD,
                         {Value(L"PROG").get(),
                          misfit.get(),
                          ByRef(second).get(),
                          ByRef(&third).get(),
                          ByRef(untouched).get()}),
                  one.code);
        EXPECT_EQ(culprit, one.culprit);
        EXPECT_EQ(number, 5);
        EXPECT_EQ(text.view(), one.first == VT_I4 ? L"before" : L"no number");
        EXPECT_EQ(second.view(), L"left");
        EXPECT_EQ(third, 8);
        EXPECT_EQ(Shown(untouched.get()), L"in");
    }
}

// An argument too many is the caller's mistake, found before a record is written or a session
// ended.
TEST_F(Arguments, TooManyLetNothingHappen) {
    TestBackend& backend = LoadTestBackend();
    int refused = 0;
    for (const auto& [table, object] : late.objects()) {
        if (object == late.host.get() || object == late.empty.get()) {
            continue;  // not of this component
        }
        for (const DispatchMember& member : table->members()) {
            if (!member.parameters.empty() || member.mayGiveObject) {
                continue;
            }
            SCOPED_TRACE(Narrow(member.name));
            backend.clearCalls();
            EXPECT_EQ(invoke(object, member.name, member.kind, {Value(1).get()}),
                      DISP_E_BADPARAMCOUNT);
            EXPECT_EQ(culprit, -1);
            EXPECT_EQ(backend.takeCalls(), Lines{});
            ++refused;
        }
    }
    EXPECT_GT(refused, 60);
    EXPECT_EQ(invoke(late.session.get(), L"IsConnected", DISPATCH_PROPERTYGET, {}), S_OK);
    EXPECT_EQ(Shown(result.get()), L"True");
    // Of an object it is the default property that takes the argument.
    EXPECT_EQ(invoke(late.base.get(), L"GetKeyFieldList", DISPATCH_METHOD, {Value(1).get()}), S_OK);
    EXPECT_EQ(Shown(result.get()), LateSession::kKey);
}

TEST_F(Arguments, MayBeNamedLeftOutOrTooMany) {
    struct Case {
        const char* what;
        std::vector<const wchar_t*> named;  // in the order given
        std::size_t positional;
        HRESULT code;
        const wchar_t* result;
    };
    const std::map<Text, Variant> values = {{L"KeyId", Value(LateSession::kKey)},
                                            {L"AMC", Value(2)},
                                            {L"VMC", Value(3)},
                                            {L"SMC", Value(0)}};
    const Variant inOrder[] = {Value(LateSession::kKey), Value(2), Value(3), Value(0), Value(0)};
    const Case cases[] = {
        {"all named", {L"SMC", L"VMC", L"AMC", L"KeyId"}, 0, S_OK, L"Rome"},
        {"some named", {L"VMC"}, 2, S_OK, L"Rome"},
        {"left out", {}, 2, S_OK, L"London\xFDParis\xFDRome"},
        {"too many", {}, 5, DISP_E_BADPARAMCOUNT, L""},
        {"too few", {}, 1, DISP_E_BADPARAMCOUNT, L""},
        {"required left out", {L"AMC"}, 0, DISP_E_PARAMNOTOPTIONAL, L""},
        {"given twice", {L"AMC"}, 2, DISP_E_PARAMNOTFOUND, L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        std::vector<VARIANT> given;
        std::vector<DISPID> ids;
        for (const wchar_t* name : one.named) {
            given.push_back(values.at(name).get());
            ids.push_back(ParameterId(late.tools.get(), L"Extract", name));
        }
        for (std::size_t i = one.positional; i > 0; --i) {
            given.push_back(inOrder[i - 1].get());
        }
        DISPPARAMS params{given.data(),
                          ids.data(),
                          static_cast<UINT>(given.size()),
                          static_cast<UINT>(ids.size())};
        Variant answer;
        EXPECT_EQ(late.tools->Invoke(Id(late.tools.get(), L"Extract"),
                                     IID_NULL,
                                     0,
                                     DISPATCH_METHOD,
                                     &params,
                                     answer.inOut(),
                                     nullptr,
                                     nullptr),
                  one.code);
        EXPECT_EQ(Shown(answer.get()), FAILED(one.code) ? L"Empty" : one.result);
    }
}

TEST_F(Arguments, ChooseTheAccessor) {
    const Variant name = Value(L"Name");
    const Variant object = Value(static_cast<IDispatch*>(late.item.get()));
    struct Case {
        const char* what;
        const wchar_t* member;
        WORD flags;
        std::vector<VARIANT> given;
        HRESULT code;
    };
    const WORD both = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;
    const VARIANT text = name.get();
    const Case cases[] = {
        {"object put where it is set",
         L"CommonObject",
         DISPATCH_PROPERTYPUT,
         {text, object.get()},
         S_OK},
        {"put or set, an object", L"CommonObject", both, {text, object.get()}, S_OK},
        {"put or set, a text", L"CommonValue", both, {text, text}, S_OK},
        {"set without such an accessor",
         L"CommonValue",
         DISPATCH_PROPERTYPUTREF,
         {text, text},
         DISP_E_MEMBERNOTFOUND},
        {"a text where an object belongs",
         L"CommonObject",
         DISPATCH_PROPERTYPUT,
         {text, text},
         DISP_E_TYPEMISMATCH},
        {"property as a method", L"SessionName", DISPATCH_METHOD, {}, S_OK},
        {"method as a property", L"Disconnect", DISPATCH_PROPERTYGET, {}, DISP_E_MEMBERNOTFOUND},
        {"put of what can only be read",
         L"SessionName",
         DISPATCH_PROPERTYPUT,
         {text},
         DISP_E_MEMBERNOTFOUND},
        {"no way at all", L"SessionName", 0, {}, DISP_E_MEMBERNOTFOUND},
        {"arguments for what has none",
         L"IsConnected",
         DISPATCH_PROPERTYGET,
         {text},
         DISP_E_BADPARAMCOUNT},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(invoke(late.session.get(), one.member, one.flags, one.given), one.code)
            << one.what;
    }
    DISPPARAMS nowhere{nullptr, nullptr, 2, 0};
    DISPPARAMS unnamed{&const_cast<VARIANT&>(text), nullptr, 1, 1};
    for (DISPPARAMS* params : {static_cast<DISPPARAMS*>(nullptr), &nowhere, &unnamed}) {
        EXPECT_EQ(late.session->Invoke(
                      1, IID_NULL, 0, DISPATCH_METHOD, params, nullptr, nullptr, nullptr),
                  E_INVALIDARG);
    }
    DISPPARAMS none{};
    EXPECT_EQ(
        late.session->Invoke(1, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
        DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(
        late.session->Invoke(4711, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
        DISP_E_MEMBERNOTFOUND);
}

// A zero is a character of a name like any other: it does not lead to another key field's record.
TEST_F(Arguments, KeepTheirLengthWhateverTheyHold) {
    using namespace std::string_view_literals;
    const Variant name{L"Customer\0x"sv};
    const Variant key = Value(LateSession::kKey);
    const Variant session{TextView(L"Main")};
    const Variant file{TextView(L"CUST")};
    const Variant jones{L"Jones\0!"sv};
    const Variant number{TextView(L"X")};
    const Variant one = Value(1);
    const auto call = [&](IDispatch* object, const wchar_t* member, std::vector<VARIANT> given) {
        EXPECT_EQ(invoke(object, member, DISPATCH_METHOD, std::move(given)), S_OK);
    };
    const auto put = [&](IDispatch* object, const wchar_t* member, const Variant& value) {
        EXPECT_EQ(invoke(object, member, DISPATCH_PROPERTYPUT, {value.get()}), S_OK) << member;
    };
    const auto value = [&](IDispatch* object) {
        EXPECT_EQ(invoke(object, L"InternalValue", DISPATCH_PROPERTYGET, {}), S_OK);
        return Shown(result.get());
    };
    call(late.base.get(), L"SetKeyFieldSession", {name.get(), session.get()});
    call(late.base.get(), L"SetKeyFieldFileName", {name.get(), file.get()});
    ComPtr<IDispatch> other;
    CLSID clsid;
    ASSERT_EQ(CLSIDFromProgID(L"kelSDK.kelDictItem", &clsid), S_OK);
    ASSERT_EQ(CoCreateInstance(clsid,
                               nullptr,
                               CLSCTX_INPROC_SERVER,
                               IID_IDispatch,
                               reinterpret_cast<void**>(other.put())),
              S_OK);
    put(other.get(), L"KeyId", name);
    put(other.get(), L"AMC", one);
    put(late.item.get(), L"AMC", one);
    put(other.get(), L"InternalValue", jones);
    EXPECT_EQ(value(other.get()), L"Jones\0!"sv);
    EXPECT_EQ(value(late.item.get()), L"Smith");
    call(late.tools.get(), L"mvRead", {key.get(), number.get(), file.get()});
    EXPECT_EQ(value(late.item.get()), L"Jones");
    EXPECT_EQ(value(other.get()), L"Jones\0!"sv);
    call(late.base.get(), L"RemoveFieldCallBack", {name.get()});
}

}  // namespace
}  // namespace kel::tests
