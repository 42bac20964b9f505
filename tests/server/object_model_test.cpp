// The published object model, as it can be read from the registered type library and from objects.
#include <gtest/gtest.h>

#include <ocidl.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "automation/error.h"
#include "kelSDK.h"
#include "tests/server/dll.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

constexpr GUID kLibrary = {
    0xfa1b15c6, 0xc0e5, 0x4e91, {0x9f, 0x05, 0x31, 0x69, 0x9f, 0xde, 0x3e, 0x49}};

Text NameOf(ITypeInfo& info, MEMBERID member = MEMBERID_NIL) {
    Bstr name;
    info.GetDocumentation(member, name.put(), nullptr, nullptr, nullptr);
    return Text(name.view());
}

class Attributes {
public:
    explicit Attributes(ITypeInfo& info) : info_(info) {
        automation::Check(info.GetTypeAttr(&of_));
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { info_.ReleaseTypeAttr(of_); }

    const TYPEATTR* operator->() const { return of_; }

private:
    ITypeInfo& info_;
    TYPEATTR* of_ = nullptr;
};

ComPtr<ITypeLib> RegisteredLibrary() {
    ComPtr<ITypeLib> library;
    automation::Check(LoadRegTypeLib(kLibrary, 1, 0, LOCALE_NEUTRAL, library.put()));
    return library;
}

// The functions of an interface itself, as an early-bound caller sees them.
struct Entry {
    Text name;
    INVOKEKIND kind;
    short offset;
    DISPID id;
};
std::vector<Entry> EntriesOf(ITypeLib& library, REFIID iid) {
    ComPtr<ITypeInfo> info;
    automation::Check(library.GetTypeInfoOfGuid(iid, info.put()));
    HREFTYPE reference = 0;
    if (SUCCEEDED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference))) {
        const auto dispatchView = info;
        automation::Check(dispatchView->GetRefTypeInfo(reference, info.put()));
    }
    std::vector<Entry> entries;
    const UINT count = Attributes(*info)->cFuncs;
    for (UINT i = 0; i < count; ++i) {
        FUNCDESC* function = nullptr;
        automation::Check(info->GetFuncDesc(i, &function));
        entries.push_back(
            {NameOf(*info, function->memid), function->invkind, function->oVft, function->memid});
        info->ReleaseFuncDesc(function);
    }
    return entries;
}

TEST(PublicLibrary, HoldsTheWholeObjectModel) {
    const auto library = RegisteredLibrary();
    std::map<TYPEKIND, std::vector<Text>> names;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(library->GetTypeInfo(i, info.put()), S_OK);
        names[Attributes(*info)->typekind].push_back(NameOf(*info));
    }
    for (auto& [kind, list] : names) {
        std::sort(list.begin(), list.end());
    }
    EXPECT_EQ(names[TKIND_ENUM],
              (std::vector<Text>{L"ControlOsError",
                                 L"DatabaseTypeEnum",
                                 L"EnumDisplayType",
                                 L"enumDictItemError",
                                 L"enumDictRead",
                                 L"enumSessionError",
                                 L"fcbInitalized"}));
    EXPECT_EQ(names[TKIND_COCLASS],
              (std::vector<Text>{L"Collection",
                                 L"kelBase",
                                 L"kelDictItem",
                                 L"kelFieldCallBack",
                                 L"kelInfo",
                                 L"kelSessionCallBack",
                                 L"kelTools",
                                 L"mviHostDLL"}));
    EXPECT_EQ(names[TKIND_DISPATCH],
              (std::vector<Text>{L"_Collection",
                                 L"__kelFieldCallBack",
                                 L"__kelSessionCallBack",
                                 L"_kelBase",
                                 L"_kelDictItem",
                                 L"_kelFieldCallBack",
                                 L"_kelInfo",
                                 L"_kelSessionCallBack",
                                 L"_kelTools",
                                 L"_mviHostDLL"}));
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->syskind, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
    EXPECT_EQ(attributes->wLibFlags & LIBFLAG_FHIDDEN, 0);
    library->ReleaseTLibAttr(attributes);
}

TEST(PublicLibrary, PublishesTheNumbersOfItsEnumerations) {
    const auto library = RegisteredLibrary();
    struct Case {
        const wchar_t* name;
        long value;
    };
    const Case cases[] = {
        {L"fcbDestoried", 1},
        {L"fcbValid", 2},
        {L"fcbInvalid", 3},
        {L"AlreadyInitialized", 1},
        {L"SessionNameMissing", 3},
        {L"NotInitialized", 4},
        {L"osR83", 0},
        {L"osUni", 1},
        {L"AlreadyConnected", 10101},
        {L"NotConnected", 10102},
        {L"mvItemNotFound", 10201},
        {L"mvItemLocked", 10202},
        {L"mvOpenNotFound", 10301},
        {L"mvOpenNotOpen", 10302},
        {L"mvSelectError", 10400},
        {L"DictReadPending", 0},
        {L"DictReadInitalized", 1},
        {L"DictReadFailed", 2},
        {L"DictReadNoConnection", 3},
        {L"mvReadTypeError", static_cast<long>(0x80040001)},
        {L"SessionReferenceLost", static_cast<long>(0x80040002)},
        {L"edtDescriptionOnly", 0},
        {L"edtValueDescription", 1},
        {L"edtDescriptionValue", 2},
    };
    std::map<Text, long> values;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(library->GetTypeInfo(i, info.put()), S_OK);
        const Attributes attributes(*info);
        for (UINT j = 0; attributes->typekind == TKIND_ENUM && j < attributes->cVars; ++j) {
            VARDESC* constant = nullptr;
            ASSERT_EQ(info->GetVarDesc(j, &constant), S_OK);
            values[NameOf(*info, constant->memid)] = V_I4(constant->lpvarValue);
            info->ReleaseVarDesc(constant);
        }
    }
    EXPECT_EQ(values.size(), std::size(cases));
    for (const Case& one : cases) {
        EXPECT_EQ(values[one.name], one.value) << Narrow(one.name);
    }
}

// The order of the entries is the binary contract with every back-end there is.
TEST(BackEndInterface, HasItsEntriesInTheirOrder) {
    const INVOKEKIND f = INVOKE_FUNC;
    const INVOKEKIND get = INVOKE_PROPERTYGET;
    const INVOKEKIND let = INVOKE_PROPERTYPUT;
    const INVOKEKIND set = INVOKE_PROPERTYPUTREF;
    const std::pair<const wchar_t*, INVOKEKIND> expected[] = {
        {L"PropertyCount", f},
        {L"GetPropertyName", f},
        {L"PropertyValue", get},
        {L"PropertyValue", let},
        {L"PropertyObject", get},
        {L"PropertyObject", set},
        {L"PropertyDescription", get},
        {L"PropertyDefault", get},
        {L"OsType", get},
        {L"OsDescription", get},
        {L"DatabaseType", get},
        {L"Version", get},
        {L"IsConnected", get},
        {L"ConnectFailed", get},
        {L"Connect", f},
        {L"Disconnect", f},
        {L"CreateDynamicArray", f},
        {L"Extract", f},
        {L"Replace", f},
        {L"Insert", f},
        {L"Delete", f},
        {L"Locate", f},
        {L"Dcount", f},
        {L"Oconv", f},
        {L"Iconv", f},
        {L"mvRead", f},
        {L"mvWrite", f},
        {L"mvDelete", f},
        {L"mvRelease", f},
        {L"CallHost", f},
        {L"OpenFile", f},
        {L"CloseFile", f},
        {L"ProcessSelect", f},
        {L"CloseSelect", f},
        {L"ReadNext", f},
        {L"Execute", f},
        {L"ReadDictItem", f},
        {L"WriteDictItem", f},
        {L"ProcessCorrelative", f},
        {L"ValidCorrelative", f},
        {L"SelectDictName", f},
        {L"SelectFileName", f},
    };
    static_assert(std::size(expected) == 42);
    constexpr std::size_t kOfDispatch = 7;
    const auto entries = EntriesOf(*RegisteredLibrary(), __uuidof(_mviHostDLL));
    ASSERT_EQ(entries.size(), std::size(expected));
    std::map<DISPID, Text> ids;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].name, expected[i].first);
        EXPECT_EQ(entries[i].kind, expected[i].second) << Narrow(entries[i].name);
        EXPECT_EQ(static_cast<std::size_t>(entries[i].offset), (kOfDispatch + i) * sizeof(void*))
            << Narrow(entries[i].name);
        const auto [known, isNew] = ids.try_emplace(entries[i].id, entries[i].name);
        EXPECT_EQ(known->second, entries[i].name) << "two members share an identifier";
    }
    EXPECT_EQ(ids.size(), std::size(expected) - 2) << "let and set share it with get";
}

// Calls through every entry of the empty class: each does nothing and empties its result.
TEST(BackEndInterface, IsThereToBeImplemented) {
    const Dispatch host = Dispatch::Create(L"kelSDK.mviHostDLL");
    Bstr text(L"kept");
    Variant value = Value(7);
    EXPECT_EQ(host.call(L"PropertyCount").text(), L"0");
    EXPECT_TRUE(host.call(L"GetPropertyName", {1, ByRef(text), ByRef(text)}).ok());
    EXPECT_EQ(host.get(L"PropertyValue", {L"x"}).text(), L"");
    EXPECT_TRUE(host.put(L"PropertyValue", {L"x", L"y"}).ok());
    EXPECT_EQ(host.get(L"PropertyObject", {L"x"}).text(), L"Nothing");
    EXPECT_EQ(host.get(L"PropertyDefault", {L"x"}).text(), L"Empty");
    EXPECT_EQ(host.get(L"OsType").text(), L"0");
    EXPECT_EQ(host.get(L"IsConnected").text(), L"False");
    EXPECT_EQ(host.call(L"CreateDynamicArray").text(), L"Nothing");
    EXPECT_TRUE(host.call(L"CallHost", {L"P", ByRef(value)}).ok());
    EXPECT_EQ(host.call(L"Oconv", {L"1", L"MD2"}).text(), L"Empty");
    EXPECT_EQ(text.view(), L"kept");
    EXPECT_EQ(Shown(value.get()), L"7");
}

TEST(PrivateLibrary, IsHiddenInTheSecondResource) {
    ComPtr<ITypeLib> library;
    ASSERT_EQ(
        LoadTypeLibEx((ProductPath(L"kelSDK.dll") + L"\\2").c_str(), REGKIND_NONE, library.put()),
        S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_NE(attributes->wLibFlags & LIBFLAG_FHIDDEN, 0);
    EXPECT_NE(attributes->wLibFlags & LIBFLAG_FRESTRICTED, 0);
    ComPtr<ITypeLib> registered;
    EXPECT_NE(LoadRegTypeLib(attributes->guid, 1, 0, LOCALE_NEUTRAL, registered.put()), S_OK);
    library->ReleaseTLibAttr(attributes);
}

TEST(Objects, DescribeTheirClassesAndSupportErrors) {
    const Dispatch base = Dispatch::Create(L"kelSDK.kelBase");
    const Dispatch item = Dispatch::Create(L"kelSDK.kelDictItem");
    const Dispatch host = Dispatch::Create(L"kelos1.IHostDLL");
    const auto session = base.call(L"GetSessionCallBack", {L"Main"}).value;
    const auto field = base.call(L"GetFieldCallBack", {L"Cust"}).value;
    const auto tools = item.call(L"Tools").value;
    const auto list = base.call(L"GetKeyFieldList").value;
    base.call(L"SetKeyFieldSession", {L"Cust", L"Main"});
    item.put(L"KeyId", {L"Cust"});
    const auto state = item.call(L"mvInfo").value;
    struct Case {
        const wchar_t* name;
        ComPtr<IDispatch> object;
        IID iid;
        const IID* events;
    };
    const Case cases[] = {
        {L"kelBase", ComPtr<IDispatch>(base.get()), __uuidof(_kelBase), nullptr},
        {L"kelDictItem", ComPtr<IDispatch>(item.get()), __uuidof(_kelDictItem), nullptr},
        {L"mviHostDLL", ComPtr<IDispatch>(host.get()), __uuidof(_mviHostDLL), nullptr},
        {L"kelSessionCallBack",
         session.object<IDispatch>(),
         __uuidof(_kelSessionCallBack),
         &__uuidof(__kelSessionCallBack)},
        {L"kelFieldCallBack",
         field.object<IDispatch>(),
         __uuidof(_kelFieldCallBack),
         &__uuidof(__kelFieldCallBack)},
        {L"kelTools", tools.object<IDispatch>(), __uuidof(_kelTools), nullptr},
        {L"kelInfo", state.object<IDispatch>(), __uuidof(_kelInfo), nullptr},
        {L"Collection", list.object<IDispatch>(), __uuidof(_Collection), nullptr},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.name));
        const auto described = one.object.as<IProvideClassInfo2>();
        ASSERT_TRUE(described);
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(described->GetClassInfo(info.put()), S_OK);
        EXPECT_EQ(NameOf(*info), one.name);
        EXPECT_EQ(Attributes(*info)->typekind, TKIND_COCLASS);
        GUID events = __uuidof(_kelBase);
        EXPECT_EQ(described->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events),
                  one.events != nullptr ? S_OK : E_INVALIDARG);
        EXPECT_TRUE(IsEqualGUID(events, one.events != nullptr ? *one.events : GUID_NULL));
        EXPECT_EQ(described->GetGUID(99, &events), E_INVALIDARG);
        const auto errors = one.object.as<ISupportErrorInfo>();
        ASSERT_TRUE(errors);
        EXPECT_EQ(errors->InterfaceSupportsErrorInfo(one.iid), S_OK);
        EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IDispatch), S_OK);
        EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IPersist), S_FALSE);
        UINT count = 0;
        EXPECT_EQ(one.object->GetTypeInfoCount(&count), S_OK);
        EXPECT_EQ(count, 1U);
        // One identity, however it was come by.
        EXPECT_EQ(described.as<IUnknown>().get(), errors.as<IUnknown>().get());
    }
    base.call(L"RemoveSessionCallback", {L"Main"});
    base.call(L"RemoveFieldCallBack", {L"Cust"});
}

}  // namespace
}  // namespace kel::tests
