#include "tests/backend/host.h"

#include <algorithm>
#include <array>
#include <cwctype>

#include "tests/backend/parameters.h"

namespace kel::tests {

using automation::Error;
using automation::View;

namespace {

constexpr const wchar_t* kSource = L"kelos99";

[[noreturn]] void Fail(long number, const Text& description) {
    throw Error(number, kSource, description);
}

Opaque& Demand(IUnknown* object, Opaque::Kind kind) {
    if (object == nullptr) {
        throw Error(automation::kObjectNotSet, kSource);
    }
    Opaque* const opaque = Opaque::From(object);
    if (opaque == nullptr || opaque->kind != kind) {
        throw Error(automation::kTypeMismatch, kSource);
    }
    return *opaque;
}

Opaque& DemandOpen(IUnknown* object, Opaque::Kind kind) {
    Opaque& opaque = Demand(object, kind);
    if (!opaque.isOpen) {
        Fail(mvOpenNotOpen, Opaque::NameOf(object) + L" is not open");
    }
    return opaque;
}

multivalue::DynamicArray& ArrayOf(IDispatch** array) {
    return Demand(*array, Opaque::Kind::kArray).array;
}

multivalue::Position At(long amc, long vmc, long smc) {
    return {static_cast<std::int32_t>(amc),
            static_cast<std::int32_t>(vmc),
            static_cast<std::int32_t>(smc)};
}

State::RecordName RecordOf(IDispatch** file, BSTR id) {
    return {DemandOpen(*file, Opaque::Kind::kFile).file, Text(View(id))};
}

void Set(BSTR* target, TextView text) {
    SysFreeString(std::exchange(*target, Bstr(text).detach()));
}

std::map<Text, Text>& FileNamed(const Text& name) {
    const auto found = TheState().files.find(name);
    if (found == TheState().files.end()) {
        Fail(mvOpenNotFound, L"No file " + name);
    }
    return found->second;
}

ComPtr<IDispatch> ListOf(std::vector<Text> ids) {
    const auto list = Opaque::Make(Opaque::Kind::kList);
    list->ids = std::move(ids);
    return list;
}

template <typename Map>
std::vector<Text> KeysOf(const Map& map) {
    std::vector<Text> keys;
    keys.reserve(map.size());
    for (const auto& entry : map) {
        keys.push_back(entry.first);
    }
    return keys;
}

const Property& PropertyNamed(BSTR name) {
    const auto& all = TheState().properties;
    const auto found =
        std::ranges::find_if(all, [&](const Property& one) { return one.name == View(name); });
    if (found == all.end()) {
        Fail(automation::kInvalidCall, L"No property " + Text(View(name)));
    }
    return *found;
}

// "MCU" and "MD2"; every other code converts nothing.
Variant Converted(TextView value, TextView conversion, bool output) {
    constexpr int kTen = 10;
    if (conversion == L"MCU") {
        Text text(value);
        std::ranges::transform(
            text, text.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towupper(c)); });
        return Variant(TextView(text));
    }
    if (!conversion.starts_with(L"MD") || conversion.size() != 3 || value.empty()) {
        return Variant(value);
    }
    const int decimals = conversion.back() - L'0';
    double number = 0;
    const Bstr copy(value);
    if (FAILED(VarR8FromStr(copy.get(), LOCALE_INVARIANT, 0, &number))) {
        if (output) {
            return Variant(value);
        }
        throw Error(automation::kTypeMismatch, kSource);
    }
    for (int i = 0; i < decimals; ++i) {
        number = output ? number / kTen : number * kTen;
    }
    std::array<wchar_t, 64> text{};
    std::swprintf(text.data(), text.size(), L"%.*f", output ? decimals : 0, number);
    return Variant(TextView(text.data()));
}

}  // namespace

Host::Host(short osType)
    : osType_(osType), number_(TheState().enter(*this)), connected_(TheState().connectedAtStart) {}

Host::~Host() {
    TheState().leave(*this);
}

HRESULT RaiseFailure(const Failure& failure) {
    return failure.described ? Raise(failure) : automation::CodeOfNumber(failure.number);
}

HRESULT Host::entry(Member member,
                    std::initializer_list<Parameter> parameters,
                    const std::function<void()>& body) noexcept {
    if (std::ranges::any_of(parameters, IsNullReference)) {
        return E_POINTER;
    }
    std::optional<Failure> failure;
    const HRESULT code = automation::ComMethod([&] {
        const ComPtr<_mviHostDLL> keep(this);  // a handler may release the last reference
        failure =
            TheState().script.run(number_, member, {parameters.begin(), parameters.size()}, body);
    });
    return failure ? RaiseFailure(*failure) : code;
}

Text Host::propertyText(TextView name) const {
    const auto found = propertyTexts_.find(Text(name));
    return found != propertyTexts_.end() ? found->second : Text();
}

// ---------------------------------------------------------------------- properties

STDMETHODIMP Host::PropertyCount(short* result) noexcept {
    return entry(Member::kPropertyCount, {Result(result)}, [&] {
        *result = static_cast<short>(TheState().properties.size());
    });
}

STDMETHODIMP Host::GetPropertyName(short index, BSTR* name, BSTR* type) noexcept {
    return entry(
        Member::kGetPropertyName,
        {In(L"Index", index), InOut(L"sPropertyName", name), InOut(L"sPropertyType", type)},
        [&] {
            const auto& all = TheState().properties;
            if (index < 1 || static_cast<std::size_t>(index) > all.size()) {
                Fail(automation::kSubscriptOutOfRange, {});
            }
            const Property& property = all[static_cast<std::size_t>(index - 1)];
            Set(name, property.name);
            Set(type, property.type);
        });
}

STDMETHODIMP Host::get_PropertyValue(BSTR name, BSTR* result) noexcept {
    return entry(Member::kPropertyValueGet, {In(L"sPropertyName", name), Result(result)}, [&] {
        PropertyNamed(name);
        Set(result, propertyText(View(name)));
    });
}

STDMETHODIMP Host::put_PropertyValue(BSTR name, BSTR value) noexcept {
    return entry(Member::kPropertyValueLet, {In(L"sPropertyName", name), In(L"value", value)}, [&] {
        PropertyNamed(name);
        propertyTexts_[Text(View(name))] = View(value);
    });
}

STDMETHODIMP Host::get_PropertyObject(BSTR name, IDispatch** result) noexcept {
    return entry(Member::kPropertyObjectGet, {In(L"sPropertyName", name), Result(result)}, [&] {
        PropertyNamed(name);
        *result = ComPtr<IDispatch>(propertyObjects_[Text(View(name))]).detach();
    });
}

STDMETHODIMP Host::putref_PropertyObject(BSTR name, IDispatch** value) noexcept {
    return entry(
        Member::kPropertyObjectSet, {In(L"sPropertyName", name), InOut(L"value", value)}, [&] {
            PropertyNamed(name);
            propertyObjects_[Text(View(name))] = ComPtr<IDispatch>(*value);
        });
}

STDMETHODIMP Host::get_PropertyDescription(BSTR name, BSTR* result) noexcept {
    return entry(Member::kPropertyDescription, {In(L"sPropertyName", name), Result(result)}, [&] {
        Set(result, PropertyNamed(name).description);
    });
}

STDMETHODIMP Host::get_PropertyDefault(BSTR name, VARIANT* result) noexcept {
    return entry(Member::kPropertyDefault, {In(L"sPropertyName", name), Result(result)}, [&] {
        *result = Value(PropertyNamed(name).defaultText).detach();
    });
}

// ---------------------------------------------------------------------- identity, connection

STDMETHODIMP Host::get_OsType(short* result) noexcept {
    return entry(Member::kOsType, {Result(result)}, [&] { *result = osType_; });
}

STDMETHODIMP Host::get_OsDescription(BSTR* result) noexcept {
    return entry(Member::kOsDescription, {Result(result)}, [&] { Set(result, L"Test database"); });
}

STDMETHODIMP Host::get_DatabaseType(DatabaseTypeEnum* result) noexcept {
    return entry(Member::kDatabaseType, {Result(result)}, [&] { *result = osUni; });
}

STDMETHODIMP Host::get_Version(BSTR* result) noexcept {
    return entry(
        Member::kVersion, {Result(result)}, [&] { Set(result, TheState().versions[osType_]); });
}

STDMETHODIMP Host::get_IsConnected(VARIANT_BOOL* result) noexcept {
    return entry(Member::kIsConnected, {FlagResult(result)}, [&] {
        *result = connected_ ? VARIANT_TRUE : VARIANT_FALSE;
    });
}

STDMETHODIMP Host::get_ConnectFailed(VARIANT_BOOL* result) noexcept {
    return entry(Member::kConnectFailed, {FlagResult(result)}, [&] {
        *result = connectFailed_ ? VARIANT_TRUE : VARIANT_FALSE;
    });
}

STDMETHODIMP Host::Connect() noexcept {
    const HRESULT code = entry(Member::kConnect, {}, [&] { connected_ = true; });
    connectFailed_ = !connected_;
    return code;
}

STDMETHODIMP Host::Disconnect() noexcept {
    return entry(Member::kDisconnect, {}, [&] {
        connected_ = false;
        std::erase_if(TheState().lockHolders,
                      [&](const auto& entry) { return entry.second == number_; });
    });
}

// ---------------------------------------------------------------------- record buffers

STDMETHODIMP Host::CreateDynamicArray(BSTR data, IDispatch** result) noexcept {
    return entry(Member::kCreateDynamicArray, {In(L"sData", data), Result(result)}, [&] {
        *result = TheState().makeArray(View(data)).detach();
    });
}

STDMETHODIMP Host::Extract(IDispatch** array, long amc, long vmc, long smc, BSTR* result) noexcept {
    return entry(Member::kExtract,
                 {InOut(L"oDynamicArray", array),
                  In(L"iAMC", amc),
                  In(L"iVMC", vmc),
                  In(L"iSMC", smc),
                  Result(result)},
                 [&] { Set(result, FromUnits(ArrayOf(array).Extract(At(amc, vmc, smc)))); });
}

STDMETHODIMP Host::Replace(IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept {
    return entry(Member::kReplace,
                 {InOut(L"oDynamicArray", array),
                  In(L"Value", value),
                  In(L"iAMC", amc),
                  In(L"iVMC", vmc),
                  In(L"iSMC", smc)},
                 [&] { ArrayOf(array).Replace(At(amc, vmc, smc), Units(View(value))); });
}

STDMETHODIMP Host::Insert(IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept {
    return entry(Member::kInsert,
                 {InOut(L"oDynamicArray", array),
                  In(L"Value", value),
                  In(L"iAMC", amc),
                  In(L"iVMC", vmc),
                  In(L"iSMC", smc)},
                 [&] { ArrayOf(array).Insert(At(amc, vmc, smc), Units(View(value))); });
}

STDMETHODIMP Host::Delete(IDispatch** array, long amc, long vmc, long smc) noexcept {
    return entry(
        Member::kDelete,
        {InOut(L"oDynamicArray", array), In(L"iAMC", amc), In(L"iVMC", vmc), In(L"iSMC", smc)},
        [&] { ArrayOf(array).Delete(At(amc, vmc, smc)); });
}

STDMETHODIMP Host::Locate(IDispatch** array,
                          long* position,
                          BSTR search,
                          long amc,
                          long vmc,
                          BSTR sortBy,
                          VARIANT_BOOL* result) noexcept {
    return entry(Member::kLocate,
                 {InOut(L"oDynamicArray", array),
                  InOut(L"Pos", position),
                  In(L"SearchString", search),
                  In(L"iAMC", amc),
                  In(L"iVMC", vmc),
                  In(L"SortBy", sortBy),
                  FlagResult(result)},
                 [&] {
                     const multivalue::LocateResult located =
                         ArrayOf(array).Locate(Units(View(search)),
                                               static_cast<std::int32_t>(amc),
                                               static_cast<std::int32_t>(vmc),
                                               multivalue::SortOrder::Parse(Units(View(sortBy))));
                     *position = static_cast<long>(located.position);
                     *result = located.found ? VARIANT_TRUE : VARIANT_FALSE;
                 });
}

STDMETHODIMP Host::Dcount(
    BSTR delimiter, IDispatch** array, long amc, long vmc, long smc, long* result) noexcept {
    return entry(Member::kDcount,
                 {In(L"Delimit", delimiter),
                  InOut(L"oDynamicArray", array),
                  In(L"iAMC", amc),
                  In(L"iVMC", vmc),
                  In(L"iSMC", smc),
                  Result(result)},
                 [&] {
                     *result = static_cast<long>(
                         ArrayOf(array).Dcount(Units(View(delimiter)), At(amc, vmc, smc)));
                 });
}

STDMETHODIMP Host::Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept {
    return entry(Member::kOconv,
                 {In(L"Value", value), In(L"sConvert", conversion), Result(result)},
                 [&] { *result = Converted(View(value), View(conversion), true).detach(); });
}

STDMETHODIMP Host::Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept {
    return entry(Member::kIconv,
                 {In(L"Value", value), In(L"sConvert", conversion), Result(result)},
                 [&] { *result = Converted(View(value), View(conversion), false).detach(); });
}

// ---------------------------------------------------------------------- records

STDMETHODIMP Host::mvRead(
    VARIANT_BOOL readU, BSTR id, IDispatch** file, short* status, IDispatch** result) noexcept {
    return entry(Member::kRead,
                 {InFlag(L"ReadU", readU),
                  In(L"RecordNumber", id),
                  InOut(L"oFilevar", file),
                  InOut(L"Status", status),
                  Result(result)},
                 [&] {
                     constexpr short kFound = 0;
                     constexpr short kMissing = 1;
                     constexpr short kLocked = 2;
                     const auto record = RecordOf(file, id);
                     if (readU != VARIANT_FALSE && !TheState().lock(record, number_)) {
                         *status = kLocked;
                         return;
                     }
                     const auto text = TheState().record(record.first, record.second);
                     *status = text ? kFound : kMissing;
                     if (text) {
                         *result = TheState().makeArray(*text).detach();
                     }
                 });
}

STDMETHODIMP Host::mvWrite(VARIANT_BOOL writeU,
                           BSTR id,
                           IDispatch** file,
                           IDispatch** array) noexcept {
    return entry(Member::kWrite,
                 {InFlag(L"WriteU", writeU),
                  In(L"RecordNumber", id),
                  InOut(L"oFilevar", file),
                  InOut(L"oDynamicArray", array)},
                 [&] {
                     const auto record = RecordOf(file, id);
                     const Text text = FromUnits(ArrayOf(array).ToText());
                     if (!TheState().lock(record, number_)) {
                         Fail(mvItemLocked, L"Record " + record.second + L" is locked");
                     }
                     TheState().putRecord(record.first, record.second, text);
                     if (writeU == VARIANT_FALSE) {
                         TheState().unlock(record, number_);
                     }
                 });
}

STDMETHODIMP Host::mvDelete(BSTR id, IDispatch** file) noexcept {
    return entry(Member::kDeleteRecord, {In(L"RecordNumber", id), InOut(L"oFilevar", file)}, [&] {
        const auto record = RecordOf(file, id);
        if (!TheState().lock(record, number_)) {
            Fail(mvItemLocked, L"Record " + record.second + L" is locked");
        }
        TheState().unlock(record, number_);
        FileNamed(record.first).erase(record.second);
    });
}

STDMETHODIMP Host::mvRelease(IDispatch** file, BSTR id) noexcept {
    return entry(Member::kRelease, {InOut(L"oFilevar", file), In(L"RecordNumber", id)}, [&] {
        TheState().unlock(RecordOf(file, id), number_);
    });
}

STDMETHODIMP Host::CallHost(BSTR program,
                            VARIANT* a1,
                            VARIANT* a2,
                            VARIANT* a3,
                            VARIANT* a4,
                            VARIANT* a5,
                            VARIANT* a6,
                            VARIANT* a7,
                            VARIANT* a8,
                            VARIANT* a9,
                            VARIANT* a10,
                            VARIANT* a11,
                            VARIANT* a12) noexcept {
    return entry(
        Member::kCallHost,
        {In(L"ProgName", program),
         InOut(L"Arg1", a1),
         InOut(L"Arg2", a2),
         InOut(L"Arg3", a3),
         InOut(L"Arg4", a4),
         InOut(L"Arg5", a5),
         InOut(L"Arg6", a6),
         InOut(L"Arg7", a7),
         InOut(L"Arg8", a8),
         InOut(L"Arg9", a9),
         InOut(L"Arg10", a10),
         InOut(L"Arg11", a11),
         InOut(L"arg12", a12)},
        [&] {
            constexpr long kFileNotFound = 53;
            const Text name(View(program));
            const auto found = TheState().programs.find(name);
            if (found == TheState().programs.end()) {
                Fail(kFileNotFound, L"No program " + name);
            }
            VARIANT* const arguments[] = {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12};
            const Program copy = found->second;  // it may be replaced meanwhile
            copy(arguments);
        });
}

// ---------------------------------------------------------------------- files, lists, commands

STDMETHODIMP Host::OpenFile(BSTR name, IDispatch** result) noexcept {
    return entry(Member::kOpenFile, {In(L"FileName", name), Result(result)}, [&] {
        FileNamed(Text(View(name)));
        const auto file = Opaque::Make(Kind::kFile);
        file->file = View(name);
        *result = ComPtr<IDispatch>(file).detach();
    });
}

STDMETHODIMP Host::CloseFile(IDispatch** file) noexcept {
    return entry(Member::kCloseFile, {InOut(L"oFilevar", file)}, [&] {
        DemandOpen(*file, Kind::kFile).isOpen = false;
    });
}

STDMETHODIMP Host::ProcessSelect(BSTR sentence, IDispatch** result) noexcept {
    return entry(Member::kProcessSelect, {In(L"sSelectList", sentence), Result(result)}, [&] {
        constexpr TextView kSelect = L"SELECT ";
        const Text text(View(sentence));
        const auto file = text.starts_with(kSelect)
                              ? TheState().files.find(text.substr(kSelect.size()))
                              : TheState().files.end();
        if (file == TheState().files.end()) {
            Fail(mvSelectError, L"Cannot select: " + text);
        }
        *result = ListOf(KeysOf(file->second)).detach();
    });
}

STDMETHODIMP Host::CloseSelect(IDispatch* list, VARIANT* result) noexcept {
    return entry(Member::kCloseSelect, {In(L"oSelectList", list), Result(result)}, [&] {
        DemandOpen(list, Kind::kList).isOpen = false;
    });
}

STDMETHODIMP Host::ReadNext(IDispatch** list, BSTR* id, VARIANT_BOOL* result) noexcept {
    return entry(Member::kReadNext,
                 {InOut(L"oSelectList", list), InOut(L"Id", id), FlagResult(result)},
                 [&] {
                     Opaque& open = DemandOpen(*list, Kind::kList);
                     const bool more = open.next < open.ids.size();
                     Set(id, more ? TextView(open.ids[open.next++]) : TextView());
                     *result = more ? VARIANT_TRUE : VARIANT_FALSE;
                 });
}

STDMETHODIMP Host::Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept {
    return entry(
        Member::kExecute,
        {In(L"TclSentence", sentence), InOut(L"Capture", capture), InOut(L"Returning", returning)},
        [&] {
            Set(capture, View(sentence));
            Set(returning, L"0");
        });
}

// ---------------------------------------------------------------------- dictionaries

STDMETHODIMP Host::ReadDictItem(BSTR file,
                                BSTR name,
                                long* attribute,
                                BSTR* conversion,
                                BSTR* label,
                                BSTR* justification,
                                BSTR* correlative,
                                short* length) noexcept {
    return entry(Member::kReadDictItem,
                 {In(L"sFileName", file),
                  In(L"sDictName", name),
                  InOut(L"iAM", attribute),
                  InOut(L"sConversion", conversion),
                  InOut(L"sLabel", label),
                  InOut(L"sJustification", justification),
                  InOut(L"sCorr", correlative),
                  InOut(L"iLength", length)},
                 [&] {
                     const auto item = TheState().dictItem(View(file), View(name));
                     if (!item) {
                         Fail(mvItemNotFound,
                              Text(L"No dictionary item ")
                                  .append(View(name))
                                  .append(L" in file ")
                                  .append(View(file)));
                     }
                     *attribute = item->attribute;
                     Set(conversion, item->conversion);
                     Set(label, item->label);
                     Set(justification, item->justification);
                     Set(correlative, item->correlative);
                     *length = item->length;
                 });
}

STDMETHODIMP Host::WriteDictItem(BSTR file,
                                 BSTR name,
                                 long attribute,
                                 BSTR conversion,
                                 BSTR label,
                                 BSTR justification,
                                 BSTR correlative,
                                 short length) noexcept {
    return entry(Member::kWriteDictItem,
                 {In(L"sFileName", file),
                  In(L"sDictName", name),
                  In(L"iAM", attribute),
                  In(L"sConversion", conversion),
                  In(L"sLabel", label),
                  In(L"sJustification", justification),
                  In(L"sCorr", correlative),
                  In(L"iLength", length)},
                 [&] {
                     FileNamed(Text(View(file)));
                     TheState().putDictItem(View(file),
                                            View(name),
                                            {attribute,
                                             Text(View(conversion)),
                                             Text(View(label)),
                                             Text(View(justification)),
                                             Text(View(correlative)),
                                             length});
                 });
}

STDMETHODIMP Host::ProcessCorrelative(IDispatch** array,
                                      BSTR value,
                                      BSTR key,
                                      BSTR file,
                                      short count,
                                      BSTR correlative,
                                      BSTR* internalCorrelative,
                                      BSTR* result) noexcept {
    return entry(Member::kProcessCorrelative,
                 {InOut(L"oDynamicArray", array),
                  In(L"Value", value),
                  In(L"Key", key),
                  In(L"FileName", file),
                  In(L"Cnt", count),
                  In(L"Correlative", correlative),
                  InOut(L"InternalCorrelative", internalCorrelative),
                  Result(result)},
                 [&] {
                     ArrayOf(array);
                     Set(result,
                         Text(View(correlative)).append(L"(").append(View(value)).append(L")"));
                 });
}

STDMETHODIMP Host::ValidCorrelative(BSTR correlative, VARIANT_BOOL* result) noexcept {
    return entry(Member::kValidCorrelative,
                 {In(L"Correlative", correlative), FlagResult(result)},
                 [&] { *result = View(correlative).empty() ? VARIANT_FALSE : VARIANT_TRUE; });
}

STDMETHODIMP Host::SelectDictName(BSTR file,
                                  VARIANT_BOOL includeCorrelative,
                                  IDispatch** result) noexcept {
    return entry(
        Member::kSelectDictName,
        {In(L"FileName", file), InFlag(L"IncludeCorrelative", includeCorrelative), Result(result)},
        [&] {
            FileNamed(Text(View(file)));
            std::vector<Text> names;
            for (const auto& [name, item] : TheState().dictionary) {
                if (name.first == View(file) &&
                    (includeCorrelative != VARIANT_FALSE || item.correlative.empty())) {
                    names.push_back(name.second);
                }
            }
            *result = ListOf(std::move(names)).detach();
        });
}

STDMETHODIMP Host::SelectFileName(IDispatch** result) noexcept {
    return entry(Member::kSelectFileName, {Result(result)}, [&] {
        *result = ListOf(KeysOf(TheState().files)).detach();
    });
}

}  // namespace kel::tests
