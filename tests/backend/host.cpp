// A back-end object: every entry of the interface written down and scripted, and behind that a
// small database in memory.
#include <algorithm>
#include <array>
#include <cwctype>
#include <map>

#include "automation/object.h"
#include "tests/backend/state.h"

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

text::DynamicArray& ArrayOf(IDispatch** array) {
    return Demand(*array, Opaque::Kind::kArray).array;
}

text::Position At(long amc, long vmc, long smc) {
    return {static_cast<std::int32_t>(amc),
            static_cast<std::int32_t>(vmc),
            static_cast<std::int32_t>(smc)};
}

// A file variable is of use to the back-end object that opened it.
State::RecordName RecordOf(IDispatch** file, BSTR id, long host) {
    const Opaque& opaque = DemandOpen(*file, Opaque::Kind::kFile);
    if (opaque.host != host) {
        Fail(mvOpenNotOpen, Opaque::NameOf(*file) + L" is from another connection");
    }
    return {opaque.file, Text(View(id))};
}

void Set(BSTR* target, TextView text) {
    Bstr copy(text);
    std::swap(*target, *copy.inOut());
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

// A connection property.
struct Property {
    const wchar_t* name;
    const wchar_t* type;
    const wchar_t* description;
    const wchar_t* defaultText;
};
constexpr std::array kProperties = {
    Property{L"Server", L"String", L"Name of the server", L"localhost"},
    Property{L"Account", L"String", L"Account to work in", L""},
    Property{L"Monitor", L"OBJECT", L"Told of every call", L""},
    Property{L"Window", L"Object", L"Owner of dialogs", L""}};

const Property& PropertyNamed(BSTR name) {
    const auto found = std::ranges::find_if(
        kProperties, [&](const Property& one) { return one.name == View(name); });
    if (found == kProperties.end()) {
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

// The result: emptied at once.
template <typename T>
Parameter Result(T* target) {
    if (target != nullptr) {
        *target = T{};
    }
    if constexpr (std::is_enum_v<T>) {
        Parameter result(static_cast<long*>(nullptr));
        result.place = ByRef(VT_I4, target).get();
        result.isResult = true;
        return result;
    } else {
        Parameter result(target);
        result.isResult = true;
        return result;
    }
}
Parameter FlagResult(VARIANT_BOOL* target) {
    Parameter result = Result(target);
    V_VT(&result.place) = VT_BYREF | VT_BOOL;
    return result;
}

Parameter InFlag(VARIANT_BOOL flag) {
    Parameter result(flag);
    V_VT(&result.place) = VT_BOOL;
    return result;
}

bool IsNullReference(const Parameter& parameter) {
    return (V_VT(&parameter.place) & VT_BYREF) != 0 && V_BYREF(&parameter.place) == nullptr;
}

class Host final : public automation::Object<::mviHostDLL, _mviHostDLL> {
public:
    explicit Host(short osType)
        : osType_(osType), number_(TheState().enter()), connected_(TheState().connectedAtStart) {}

    // ---------------------------------------------------------------------- properties

    STDMETHODIMP PropertyCount(short* result) noexcept override {
        return entry(Member::kPropertyCount, {Result(result)}, [&] {
            *result = static_cast<short>(kProperties.size());
        });
    }

    STDMETHODIMP GetPropertyName(short index, BSTR* name, BSTR* type) noexcept override {
        return entry(Member::kGetPropertyName, {index, name, type}, [&] {
            const auto& all = kProperties;
            if (index < 1 || static_cast<std::size_t>(index) > all.size()) {
                Fail(automation::kSubscriptOutOfRange, {});
            }
            const Property& property = all[static_cast<std::size_t>(index - 1)];
            Set(name, property.name);
            Set(type, property.type);
        });
    }

    STDMETHODIMP get_PropertyValue(BSTR name, BSTR* result) noexcept override {
        return entry(Member::kPropertyValueGet, {name, Result(result)}, [&] {
            PropertyNamed(name);
            Set(result, TheState().propertyValue(View(name)));
        });
    }

    STDMETHODIMP put_PropertyValue(BSTR name, BSTR value) noexcept override {
        return entry(Member::kPropertyValueLet, {name, value}, [&] {
            PropertyNamed(name);
            TheState().propertyTexts[Text(View(name))] = View(value);
        });
    }

    STDMETHODIMP get_PropertyObject(BSTR name, IDispatch** result) noexcept override {
        return entry(Member::kPropertyObjectGet, {name, Result(result)}, [&] {
            PropertyNamed(name);
            *result = ComPtr<IDispatch>(propertyObjects_[Text(View(name))]).detach();
        });
    }

    STDMETHODIMP putref_PropertyObject(BSTR name, IDispatch** value) noexcept override {
        return entry(Member::kPropertyObjectSet, {name, value}, [&] {
            PropertyNamed(name);
            propertyObjects_[Text(View(name))] = ComPtr<IDispatch>(*value);
        });
    }

    STDMETHODIMP get_PropertyDescription(BSTR name, BSTR* result) noexcept override {
        return entry(Member::kPropertyDescription, {name, Result(result)}, [&] {
            Set(result, PropertyNamed(name).description);
        });
    }

    STDMETHODIMP get_PropertyDefault(BSTR name, VARIANT* result) noexcept override {
        return entry(Member::kPropertyDefault, {name, Result(result)}, [&] {
            *result = Value(PropertyNamed(name).defaultText).detach();
        });
    }

    // ---------------------------------------------------------------------- identity, connection

    STDMETHODIMP get_OsType(short* result) noexcept override {
        return entry(Member::kOsType, {Result(result)}, [&] { *result = osType_; });
    }

    STDMETHODIMP get_OsDescription(BSTR* result) noexcept override {
        return entry(
            Member::kOsDescription, {Result(result)}, [&] { Set(result, L"Test database"); });
    }

    STDMETHODIMP get_DatabaseType(DatabaseTypeEnum* result) noexcept override {
        return entry(Member::kDatabaseType, {Result(result)}, [&] { *result = osUni; });
    }

    STDMETHODIMP get_Version(BSTR* result) noexcept override {
        return entry(
            Member::kVersion, {Result(result)}, [&] { Set(result, TheState().versions[osType_]); });
    }

    STDMETHODIMP get_IsConnected(VARIANT_BOOL* result) noexcept override {
        return entry(Member::kIsConnected, {FlagResult(result)}, [&] {
            *result = connected_ ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }

    STDMETHODIMP get_ConnectFailed(VARIANT_BOOL* result) noexcept override {
        return entry(Member::kConnectFailed, {FlagResult(result)}, [&] {
            *result = connectFailed_ ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }

    STDMETHODIMP Connect() noexcept override {
        const HRESULT code = entry(Member::kConnect, {}, [&] { connected_ = true; });
        connectFailed_ = !connected_;
        return code;
    }

    STDMETHODIMP Disconnect() noexcept override {
        return entry(Member::kDisconnect, {}, [&] {
            connected_ = false;
            std::erase_if(TheState().lockHolders,
                          [&](const auto& entry) { return entry.second == number_; });
        });
    }

    // ---------------------------------------------------------------------- record buffers

    STDMETHODIMP CreateDynamicArray(BSTR data, IDispatch** result) noexcept override {
        return entry(Member::kCreateDynamicArray, {data, Result(result)}, [&] {
            *result = TheState().makeArray(View(data)).detach();
        });
    }

    STDMETHODIMP Extract(
        IDispatch** array, long amc, long vmc, long smc, BSTR* result) noexcept override {
        return entry(Member::kExtract, {array, amc, vmc, smc, Result(result)}, [&] {
            Set(result, FromUnits(ArrayOf(array).Extract(At(amc, vmc, smc))));
        });
    }

    STDMETHODIMP Replace(
        IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept override {
        return entry(Member::kReplace, {array, value, amc, vmc, smc}, [&] {
            ArrayOf(array).Replace(At(amc, vmc, smc), Units(View(value)));
        });
    }

    STDMETHODIMP Insert(
        IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept override {
        return entry(Member::kInsert, {array, value, amc, vmc, smc}, [&] {
            ArrayOf(array).Insert(At(amc, vmc, smc), Units(View(value)));
        });
    }

    STDMETHODIMP Delete(IDispatch** array, long amc, long vmc, long smc) noexcept override {
        return entry(Member::kDelete, {array, amc, vmc, smc}, [&] {
            ArrayOf(array).Delete(At(amc, vmc, smc));
        });
    }

    STDMETHODIMP Locate(IDispatch** array,
                        long* position,
                        BSTR search,
                        long amc,
                        long vmc,
                        BSTR sortBy,
                        VARIANT_BOOL* result) noexcept override {
        return entry(
            Member::kLocate, {array, position, search, amc, vmc, sortBy, FlagResult(result)}, [&] {
                const text::LocateResult located =
                    ArrayOf(array).Locate(Units(View(search)),
                                          static_cast<std::int32_t>(amc),
                                          static_cast<std::int32_t>(vmc),
                                          text::SortOrder::Parse(Units(View(sortBy))));
                *position = static_cast<long>(located.position);
                *result = located.found ? VARIANT_TRUE : VARIANT_FALSE;
            });
    }

    STDMETHODIMP Dcount(BSTR delimiter,
                        IDispatch** array,
                        long amc,
                        long vmc,
                        long smc,
                        long* result) noexcept override {
        return entry(Member::kDcount, {delimiter, array, amc, vmc, smc, Result(result)}, [&] {
            *result =
                static_cast<long>(ArrayOf(array).Dcount(Units(View(delimiter)), At(amc, vmc, smc)));
        });
    }

    STDMETHODIMP Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override {
        return entry(Member::kOconv, {value, conversion, Result(result)}, [&] {
            *result = Converted(View(value), View(conversion), true).detach();
        });
    }

    STDMETHODIMP Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override {
        return entry(Member::kIconv, {value, conversion, Result(result)}, [&] {
            *result = Converted(View(value), View(conversion), false).detach();
        });
    }

    // ---------------------------------------------------------------------- records

    STDMETHODIMP mvRead(VARIANT_BOOL readU,
                        BSTR id,
                        IDispatch** file,
                        short* status,
                        IDispatch** result) noexcept override {
        return entry(Member::kRead, {InFlag(readU), id, file, status, Result(result)}, [&] {
            constexpr short kFound = 0;
            constexpr short kMissing = 1;
            constexpr short kLocked = 2;
            const auto record = RecordOf(file, id, number_);
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

    STDMETHODIMP mvWrite(VARIANT_BOOL writeU,
                         BSTR id,
                         IDispatch** file,
                         IDispatch** array) noexcept override {
        return entry(Member::kWrite, {InFlag(writeU), id, file, array}, [&] {
            const auto record = RecordOf(file, id, number_);
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

    STDMETHODIMP mvDelete(BSTR id, IDispatch** file) noexcept override {
        return entry(Member::kDeleteRecord, {id, file}, [&] {
            const auto record = RecordOf(file, id, number_);
            if (!TheState().lock(record, number_)) {
                Fail(mvItemLocked, L"Record " + record.second + L" is locked");
            }
            TheState().unlock(record, number_);
            FileNamed(record.first).erase(record.second);
        });
    }

    STDMETHODIMP mvRelease(IDispatch** file, BSTR id) noexcept override {
        return entry(Member::kRelease, {file, id}, [&] {
            TheState().unlock(RecordOf(file, id, number_), number_);
        });
    }

    STDMETHODIMP CallHost(BSTR program,
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
                          VARIANT* a12) noexcept override {
        return entry(
            Member::kCallHost, {program, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12}, [&] {
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

    STDMETHODIMP OpenFile(BSTR name, IDispatch** result) noexcept override {
        return entry(Member::kOpenFile, {name, Result(result)}, [&] {
            FileNamed(Text(View(name)));
            const auto file = Opaque::Make(Opaque::Kind::kFile);
            file->file = View(name);
            file->host = number_;
            *result = ComPtr<IDispatch>(file).detach();
        });
    }

    STDMETHODIMP CloseFile(IDispatch** file) noexcept override {
        return entry(Member::kCloseFile, {file}, [&] {
            DemandOpen(*file, Opaque::Kind::kFile).isOpen = false;
        });
    }

    STDMETHODIMP ProcessSelect(BSTR sentence, IDispatch** result) noexcept override {
        return entry(Member::kProcessSelect, {sentence, Result(result)}, [&] {
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

    STDMETHODIMP CloseSelect(IDispatch* list, VARIANT* result) noexcept override {
        return entry(Member::kCloseSelect, {list, Result(result)}, [&] {
            DemandOpen(list, Opaque::Kind::kList).isOpen = false;
        });
    }

    STDMETHODIMP ReadNext(IDispatch** list, BSTR* id, VARIANT_BOOL* result) noexcept override {
        return entry(Member::kReadNext, {list, id, FlagResult(result)}, [&] {
            Opaque& open = DemandOpen(*list, Opaque::Kind::kList);
            const bool more = open.next < open.ids.size();
            Set(id, more ? TextView(open.ids[open.next++]) : TextView());
            *result = more ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }

    STDMETHODIMP Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override {
        return entry(Member::kExecute, {sentence, capture, returning}, [&] {
            Set(capture, View(sentence));
            Set(returning, L"0");
        });
    }

    // ---------------------------------------------------------------------- dictionaries

    STDMETHODIMP ReadDictItem(BSTR file,
                              BSTR name,
                              long* attribute,
                              BSTR* conversion,
                              BSTR* label,
                              BSTR* justification,
                              BSTR* correlative,
                              short* length) noexcept override {
        return entry(Member::kReadDictItem,
                     {file, name, attribute, conversion, label, justification, correlative, length},
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

    STDMETHODIMP WriteDictItem(BSTR file,
                               BSTR name,
                               long attribute,
                               BSTR conversion,
                               BSTR label,
                               BSTR justification,
                               BSTR correlative,
                               short length) noexcept override {
        return entry(Member::kWriteDictItem,
                     {file, name, attribute, conversion, label, justification, correlative, length},
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

    STDMETHODIMP ProcessCorrelative(IDispatch** array,
                                    BSTR value,
                                    BSTR key,
                                    BSTR file,
                                    short count,
                                    BSTR correlative,
                                    BSTR* internalCorrelative,
                                    BSTR* result) noexcept override {
        return entry(
            Member::kProcessCorrelative,
            {array, value, key, file, count, correlative, internalCorrelative, Result(result)},
            [&] {
                ArrayOf(array);
                Set(result, Text(View(correlative)).append(L"(").append(View(value)).append(L")"));
            });
    }

    STDMETHODIMP ValidCorrelative(BSTR correlative, VARIANT_BOOL* result) noexcept override {
        return entry(Member::kValidCorrelative, {correlative, FlagResult(result)}, [&] {
            *result = View(correlative).empty() ? VARIANT_FALSE : VARIANT_TRUE;
        });
    }

    STDMETHODIMP SelectDictName(BSTR file,
                                VARIANT_BOOL includeCorrelative,
                                IDispatch** result) noexcept override {
        return entry(
            Member::kSelectDictName, {file, InFlag(includeCorrelative), Result(result)}, [&] {
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

    STDMETHODIMP SelectFileName(IDispatch** result) noexcept override {
        return entry(Member::kSelectFileName, {Result(result)}, [&] {
            *result = ListOf(KeysOf(TheState().files)).detach();
        });
    }

private:
    ~Host() override { TheState().leave(number_, connected_); }

    // One entry: recorded, scripted, and `body` as its default.
    HRESULT entry(Member member,
                  std::initializer_list<Parameter> parameters,
                  const std::function<void()>& body) noexcept {
        if (std::ranges::any_of(parameters, IsNullReference)) {
            return E_POINTER;
        }
        std::optional<Failure> failure;
        const HRESULT code = automation::ComMethod([&] {
            const ComPtr<_mviHostDLL> keep(this);  // a handler may release the last reference
            failure = TheState().script.run(member, {parameters.begin(), parameters.size()}, body);
        });
        return failure ? RaiseFailure(*failure) : code;
    }

    const short osType_;
    const long number_;
    bool connected_;
    bool connectFailed_ = false;
    std::map<Text, ComPtr<IDispatch>> propertyObjects_;
};

}  // namespace

HRESULT RaiseFailure(const Failure& failure) {
    return failure.described ? Raise(failure) : automation::CodeOfNumber(failure.number);
}

ComPtr<_mviHostDLL> MakeHost(short osType) {
    return automation::Make<Host>(osType);
}

}  // namespace kel::tests
