// The published object model, as it can be read from the registered type library and from objects.
#include <gtest/gtest.h>

#include <ocidl.h>

#include <map>

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

TEST(PublicLibrary, PublishesTheNumbersOfItsEnumerations) {
    const auto library = RegisteredLibrary();
    const std::map<Text, long> expected = {
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
    EXPECT_TRUE(values == expected) << testing::PrintToString(values);
}

// The order of the entries is the binary contract with every back-end there is.
TEST(BackEndInterface, HasItsEntriesInTheirOrder) {
    const Text expected =
        L"PropertyCount GetPropertyName PropertyValue PropertyValue= PropertyObject "
        L"PropertyObject:= PropertyDescription PropertyDefault OsType OsDescription DatabaseType "
        L"Version IsConnected ConnectFailed Connect Disconnect CreateDynamicArray Extract Replace "
        L"Insert Delete Locate Dcount Oconv Iconv mvRead mvWrite mvDelete mvRelease CallHost "
        L"OpenFile CloseFile ProcessSelect CloseSelect ReadNext Execute ReadDictItem WriteDictItem "
        L"ProcessCorrelative ValidCorrelative SelectDictName SelectFileName ";
    constexpr UINT kOfDispatch = 7;
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(RegisteredLibrary()->GetTypeInfoOfGuid(__uuidof(_mviHostDLL), info.put()), S_OK);
    HREFTYPE reference = 0;
    ASSERT_EQ(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ComPtr<ITypeInfo> entries;
    ASSERT_EQ(info->GetRefTypeInfo(reference, entries.put()), S_OK);
    Text found;
    for (UINT i = 0; i < Attributes(*entries)->cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(entries->GetFuncDesc(i, &function), S_OK);
        found += NameOf(*entries, function->memid);
        found += function->invkind == INVOKE_PROPERTYPUT      ? L"= "
                 : function->invkind == INVOKE_PROPERTYPUTREF ? L":= "
                                                              : L" ";
        EXPECT_EQ(static_cast<UINT>(function->oVft), (kOfDispatch + i) * sizeof(void*));
        entries->ReleaseFuncDesc(function);
    }
    EXPECT_EQ(found, expected);
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
    base.call(L"SetKeyFieldSession", {L"Cust", L"Main"});
    item.put(L"KeyId", {L"Cust"});
    const auto state = item.call(L"mvInfo").value;
    struct Case {
        const wchar_t* name;
        ComPtr<IDispatch> object;
        IID iid;
        IID events = GUID_NULL;
    };
    const Case cases[] = {
        {L"kelBase", ComPtr<IDispatch>(base.get()), __uuidof(_kelBase)},
        {L"mviHostDLL", ComPtr<IDispatch>(host.get()), __uuidof(_mviHostDLL)},
        {L"kelSessionCallBack",
         session.object<IDispatch>(),
         __uuidof(_kelSessionCallBack),
         __uuidof(__kelSessionCallBack)},
        {L"kelInfo", state.object<IDispatch>(), __uuidof(_kelInfo)},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.name));
        const auto described = one.object.as<IProvideClassInfo2>();
        const auto errors = one.object.as<ISupportErrorInfo>();
        ASSERT_TRUE(described && errors);
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(described->GetClassInfo(info.put()), S_OK);
        EXPECT_EQ(NameOf(*info), one.name);
        EXPECT_EQ(Attributes(*info)->typekind, TKIND_COCLASS);
        GUID events = __uuidof(_kelBase);
        EXPECT_EQ(described->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events),
                  IsEqualGUID(one.events, GUID_NULL) ? E_INVALIDARG : S_OK);
        EXPECT_TRUE(IsEqualGUID(events, one.events));
        EXPECT_EQ(errors->InterfaceSupportsErrorInfo(one.iid), S_OK);
        EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IPersist), S_FALSE);
    }
    base.call(L"RemoveSessionCallback", {L"Main"});
    base.call(L"RemoveFieldCallBack", {L"Cust"});
}

}  // namespace
}  // namespace kel::tests
