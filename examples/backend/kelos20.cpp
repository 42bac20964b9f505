// kelos20.dll: a complete small back-end, to begin one's own from. Its databases live in the memory
// of the process and are gone with it; sessions of one process that name the same database share
// it, with locks. docs/back-ends.md explains it.
#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "automation/object.h"
#include "automation/opaque_object.h"
#include "automation/server.h"
#include "hosts/multivalue/text/dynamic_array.h"
#include "kelSDK.h"

namespace kel::example {

using namespace automation;  // NOLINT(google-build-using-namespace): the helpers of this back-end

namespace {

// What the component is handed and hands back without looking inside; an identifier of our own
// tells our objects from others.
struct Buffer {
    static constexpr IID kIid = {
        0x2f0d6a51, 0x8b3c, 0x4f0e, {0x9a, 0x64, 0x51, 0x0c, 0x7e, 0x2b, 0x90, 0x20}};
    text::DynamicArray array;
};
struct File {
    static constexpr IID kIid = {
        0x2f0d6a51, 0x8b3c, 0x4f0e, {0x9a, 0x64, 0x51, 0x0c, 0x7e, 0x2b, 0x90, 0x21}};
    Text name;
    bool isOpen = true;
};
struct List {
    static constexpr IID kIid = {
        0x2f0d6a51, 0x8b3c, 0x4f0e, {0x9a, 0x64, 0x51, 0x0c, 0x7e, 0x2b, 0x90, 0x22}};
    std::vector<Text> ids;
    std::size_t next = 0;
};

// A database: records by file and id, and who holds which lock.
struct Database {
    std::map<Text, std::map<Text, Text>> files;
    std::map<std::pair<Text, Text>, const void*> holders;
};

constexpr short kMissing = 1;  // what mvRead says of a record; anything but these two: read
constexpr short kLocked = 2;
constexpr long kNoSuchSentence = kObjectError + 0x200;

// Databases by name, for as long as somebody is connected. A COM object belongs to the thread that
// made it; a program that connects from several threads needs a lock around everything here.
std::map<Text, std::weak_ptr<Database>>& Databases() {
    static std::map<Text, std::weak_ptr<Database>> databases;
    return databases;
}

// The guard around every member: outputs are emptied, exceptions become automation errors.
template <typename Result, typename Body>
HRESULT Give(Result* result, Body&& body) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = body();
    });
}

std::u16string Units(BSTR text) {
    return {View(text).begin(), View(text).end()};
}
Text Wide(std::u16string_view text) {
    return {text.begin(), text.end()};
}

text::Position At(long amc, long vmc, long smc) {
    return {static_cast<int>(amc), static_cast<int>(vmc), static_cast<int>(smc)};
}

// What stands behind an object that we handed out; one of somebody else is a type mismatch (13).
template <typename Content>
ComPtr<OpaqueObject<Content>> Ours(IUnknown* object) {
    auto ours = OpaqueObject<Content>::From(object);
    if (!ours) {
        throw Error(kTypeMismatch, L"kelos20");
    }
    return ours;
}

text::DynamicArray& ArrayOf(IDispatch** array) {
    return Ours<Buffer>(Require(array))->content.array;  // the caller's reference keeps it
}

template <typename Map>
ComPtr<IDispatch> KeysOf(const Map& map) {
    const auto list = Make<OpaqueObject<List>>();
    for (const auto& entry : map) {
        list->content.ids.push_back(entry.first);
    }
    return list;
}

void Assign(BSTR* target, TextView text) {
    Bstr copy(text);
    std::swap(Require(target), *copy.inOut());
}

// Members that are one line of code stand on one line.
// clang-format off
class Host final : public Object<mviHostDLL, _mviHostDLL> {
public:
    // ---- What it is, and connecting ----

    STDMETHODIMP get_OsType(short* result) noexcept override { return Give(result, [] { return short{20}; }); }
    STDMETHODIMP get_OsDescription(BSTR* result) noexcept override {
        return Give(result, [] { return TextView(L"Example database in memory"); });
    }
    STDMETHODIMP get_DatabaseType(DatabaseTypeEnum* result) noexcept override {
        return Give(result, [] { return osUni; });
    }
    STDMETHODIMP get_Version(BSTR* result) noexcept override {
        return Give(result, [] { return TextView(L"2.0"); });  // 2 or above, or it is not accepted
    }
    STDMETHODIMP get_IsConnected(VARIANT_BOOL* result) noexcept override {
        return Give(result, [&] { return database_ != nullptr; });
    }
    STDMETHODIMP get_ConnectFailed(VARIANT_BOOL* result) noexcept override {
        return Give(result, [] { return false; });  // nothing here can fail
    }
    STDMETHODIMP PropertyCount(short* result) noexcept override { return Give(result, [] { return short{1}; }); }
    STDMETHODIMP GetPropertyName(short, BSTR* name, BSTR* type) noexcept override {
        return ComMethod([&] {
            Assign(name, L"Name");
            Assign(type, L"String");
        });
    }
    STDMETHODIMP get_PropertyValue(BSTR, BSTR* result) noexcept override {
        return Give(result, [&] { return TextView(name_); });
    }
    STDMETHODIMP put_PropertyValue(BSTR, BSTR value) noexcept override {
        return ComMethod([&] { name_ = View(value); });
    }
    STDMETHODIMP get_PropertyDescription(BSTR, BSTR* result) noexcept override {
        return Give(result,
                    [] { return TextView(L"Name of the database, shared in the process"); });
    }
    STDMETHODIMP get_PropertyDefault(BSTR, VARIANT* result) noexcept override {
        return Give(result, [] { return Variant(TextView()); });
    }
    STDMETHODIMP Connect() noexcept override {
        return ComMethod([&] {
            if (database_) {
                throw Error(AlreadyConnected, L"kelos20::Connect", L"Already connected");
            }
            auto& shared = Databases()[name_];
            database_ = shared.lock();
            if (!database_) {
                database_ = std::make_shared<Database>();
                shared = database_;
            }
        });
    }
    STDMETHODIMP Disconnect() noexcept override {
        return ComMethod([&] {
            if (database_) {
                std::erase_if(database_->holders,
                              [&](const auto& one) { return one.second == this; });
                database_.reset();
            }
        });
    }

    // ---- Record buffers: these work without a connection ----

    STDMETHODIMP CreateDynamicArray(BSTR data, IDispatch** result) noexcept override {
        return Give(result, [&] {
            return Make<OpaqueObject<Buffer>>(text::DynamicArray(Units(data)));
        });
    }
    STDMETHODIMP Extract(IDispatch** array, long a, long v, long s, BSTR* result) noexcept override {
        return Give(result, [&] { return Bstr(Wide(ArrayOf(array).Extract(At(a, v, s)))); });
    }
    STDMETHODIMP Replace(IDispatch** array, BSTR value, long a, long v, long s) noexcept override {
        return ComMethod([&] { ArrayOf(array).Replace(At(a, v, s), Units(value)); });
    }
    STDMETHODIMP Insert(IDispatch** array, BSTR value, long a, long v, long s) noexcept override {
        return ComMethod([&] { ArrayOf(array).Insert(At(a, v, s), Units(value)); });
    }
    STDMETHODIMP Delete(IDispatch** array, long a, long v, long s) noexcept override {
        return ComMethod([&] { ArrayOf(array).Delete(At(a, v, s)); });
    }
    STDMETHODIMP Locate(IDispatch** array, long* pos, BSTR search, long a, long v, BSTR
            sortBy, VARIANT_BOOL* result) noexcept override {
        return Give(result, [&] {
            const auto order = text::SortOrder::Parse(Units(sortBy));
            const text::Position at = At(a, v, 0);
            const auto found = ArrayOf(array).Locate(Units(search), at.attribute, at.value, order);
            Require(pos) = static_cast<long>(found.position);
            return found.found;
        });
    }
    STDMETHODIMP Dcount(BSTR delimit, IDispatch** array, long a, long v, long s, long* result) noexcept override {
        return Give(result, [&] {
            return static_cast<long>(ArrayOf(array).Dcount(Units(delimit), At(a, v, s)));
        });
    }

    // ---- Files and records ----

    STDMETHODIMP OpenFile(BSTR name, IDispatch** result) noexcept override {
        return Give(result, [&] {
            if (!database().files.contains(Text(View(name)))) {
                throw Error(mvOpenNotFound, L"kelos20::OpenFile", L"There is no such file.");
            }
            return Make<OpaqueObject<File>>(File{Text(View(name))});
        });
    }
    STDMETHODIMP CloseFile(IDispatch** file) noexcept override {
        return ComMethod([&] {
            fileOf(file);
            Ours<File>(*file)->content.isOpen = false;
        });
    }
    STDMETHODIMP mvRead(VARIANT_BOOL readU, BSTR id, IDispatch** file, short* status,
            IDispatch** result) noexcept override {
        return Give(result, [&]() -> ComPtr<IDispatch> {
            const std::pair key(fileOf(file), Text(View(id)));
            // The lock comes first: it may be taken on a record that does not exist yet.
            if (readU != VARIANT_FALSE &&
                database().holders.try_emplace(key, this).first->second != this) {
                Require(status) = kLocked;
                return {};
            }
            const auto& records = database().files[key.first];
            const auto record = records.find(key.second);
            if (record == records.end()) {
                Require(status) = kMissing;
                return {};
            }
            Require(status) = 0;
            return Make<OpaqueObject<Buffer>>(text::DynamicArray(
                std::u16string(record->second.begin(), record->second.end())));
        });
    }
    STDMETHODIMP mvWrite(VARIANT_BOOL writeU, BSTR id, IDispatch** file, IDispatch** array) noexcept override {
        const HRESULT code = ComMethod([&] {
            database().files[fileOf(file)][Text(View(id))] = Wide(ArrayOf(array).ToText());
        });
        return FAILED(code) || writeU != VARIANT_FALSE ? code : mvRelease(file, id);
    }
    STDMETHODIMP mvDelete(BSTR id, IDispatch** file) noexcept override {
        const HRESULT code =
            ComMethod([&] { database().files[fileOf(file)].erase(Text(View(id))); });
        return FAILED(code) ? code : mvRelease(file, id);
    }
    STDMETHODIMP mvRelease(IDispatch** file, BSTR id) noexcept override {
        return ComMethod([&] {
            const auto held = database().holders.find({fileOf(file), Text(View(id))});
            if (held != database().holders.end() && held->second == this) {
                database().holders.erase(held);
            }
        });
    }

    // ---- Lists and sentences: SELECT FILE, CREATE-FILE FILE ----

    STDMETHODIMP ProcessSelect(BSTR sentence, IDispatch** result) noexcept override {
        return Give(result, [&] {
            const Text text(View(sentence));
            const auto file = database().files.find(text.substr(text.rfind(L' ') + 1));
            if (file == database().files.end()) {
                throw Error(mvSelectError, L"kelos20::ProcessSelect", L"SELECT takes a file.");
            }
            return KeysOf(file->second);
        });
    }
    STDMETHODIMP ReadNext(IDispatch** list, BSTR* id, VARIANT_BOOL* result) noexcept override {
        return Give(result, [&] {
            List& ids = Ours<List>(Require(list))->content;
            const bool more = ids.next < ids.ids.size();
            Assign(id, more ? ids.ids[ids.next++] : Text());
            return more;
        });
    }
    STDMETHODIMP CloseSelect(IDispatch* list, VARIANT* result) noexcept override {
        return Give(result, [&] {
            if (list != nullptr) {  // the engine closes what a key field has not got, too
                Ours<List>(list)->content.ids.clear();
            }
            return Variant();
        });
    }
    STDMETHODIMP SelectFileName(IDispatch** result) noexcept override {
        return Give(result, [&] { return KeysOf(database().files); });
    }
    STDMETHODIMP SelectDictName(BSTR, VARIANT_BOOL, IDispatch** result) noexcept override {
        return Give(result, [] { return KeysOf(std::map<Text, Text>()); });
    }
    STDMETHODIMP Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override {
        return ComMethod([&] {
            const Text text(View(sentence));
            const std::size_t space = text.find(L' ');
            const bool known =
                Lower(text.substr(0, space)) == L"create-file" && space != Text::npos;
            if (known) {
                database().files.try_emplace(text.substr(space + 1));
            }
            // Mistakes are output with a message number, not errors.
            Assign(capture, known ? L"File created." : L"The only verb is CREATE-FILE.");
            // The number of a report, or that of an error.
            Assign(returning, known ? Text(L"417") : DecimalText(kNoSuchSentence));
        });
    }

    // ---- What this example has not ----

    STDMETHODIMP get_PropertyObject(BSTR, IDispatch**) noexcept override { return absent(); }
    STDMETHODIMP putref_PropertyObject(BSTR, IDispatch**) noexcept override { return absent(); }
    STDMETHODIMP Oconv(BSTR, BSTR, VARIANT*) noexcept override { return absent(); }
    STDMETHODIMP Iconv(BSTR, BSTR, VARIANT*) noexcept override { return absent(); }
    STDMETHODIMP CallHost(BSTR, VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*,
            VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*) noexcept override { return
            absent(); }
    STDMETHODIMP ReadDictItem(BSTR, BSTR, long*, BSTR*, BSTR*, BSTR*, BSTR*, short*)
            noexcept override { return absent(); }
    STDMETHODIMP WriteDictItem(BSTR, BSTR, long, BSTR, BSTR, BSTR, BSTR, short) noexcept override { return absent(); }
    STDMETHODIMP ProcessCorrelative(IDispatch**, BSTR, BSTR, BSTR, short, BSTR, BSTR*,
            BSTR*) noexcept override { return absent(); }
    STDMETHODIMP ValidCorrelative(BSTR, VARIANT_BOOL*) noexcept override { return absent(); }

private:
    ~Host() override { Disconnect(); }

    static HRESULT absent() noexcept {
        return ComMethod([] { throw Error(E_NOTIMPL, L"kelos20", L"Not part of this example."); });
    }
    // The database; without a connection 10102.
    Database& database() const {
        if (!database_) {
            throw Error(NotConnected, L"kelos20", L"Not connected");
        }
        return *database_;
    }
    // The name behind a file variable; 10302 when it is closed.
    const Text& fileOf(IDispatch** file) const {
        const auto ours = OpaqueObject<File>::From(Require(file));
        if (!ours || !ours->content.isOpen || !database().files.contains(ours->content.name)) {
            throw Error(mvOpenNotOpen, L"kelos20", L"The file is not open.");
        }
        return ours->content.name;
    }

    Text name_;  // the one property, Name
    std::shared_ptr<Database> database_;
};
// clang-format on

// The component finds the class by this name: "kelos", the number of the back-end, ".IHostDLL".
// Every back-end has an identifier of its own.
constexpr std::array kClasses{
    ClassEntry{{0x2f0d6a51, 0x8b3c, 0x4f0e, {0x9a, 0x64, 0x51, 0x0c, 0x7e, 0x2b, 0x90, 0x1f}},
               L"kelos20.IHostDLL",
               L"Example back-end for kelSDK",
               CreateInstance<Host>}};

}  // namespace
}  // namespace kel::example

// The type library is the component's own, as a resource; it is the component that registers it.
const kel::automation::ModuleDescription& kel::automation::ThisModule() noexcept {
    static constexpr ModuleDescription kModule{L"kelos20", example::kClasses, 1, false};
    return kModule;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        kel::automation::ServerAttach(module);
    }
    return TRUE;
}
