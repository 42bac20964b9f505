// Look-up by key against the platform's dictionary object, and events against a plain loop.
#include <array>
#include <cstdio>

#include "automation/com_method.h"
#include "automation/plain_object.h"
#include "bench/client.h"
#include "core/fast_collection.h"

namespace kel::bench {
namespace {

// An object that can be called by number only.
class LateObject : public automation::PlainObject<IDispatch> {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return E_NOTIMPL;
    }
};

// The private list behind a late-bound default property, so that both are called the same way.
class ListObject final : public LateObject {
public:
    core::FastCollection list;

    STDMETHODIMP Invoke(DISPID,
                        REFIID,
                        LCID,
                        WORD,
                        DISPPARAMS* given,
                        VARIANT* result,
                        EXCEPINFO*,
                        UINT*) noexcept override {
        return automation::ComMethod([&] { *result = list.Item(given->rgvarg[0]).detach(); });
    }
};

// A listener as lean as one can be, tied by hand: what is measured is the component's side.
class Sink final : public LateObject {
public:
    STDMETHODIMP Invoke(
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override {
        ++heard_;
        return S_OK;
    }

private:
    bool answers(REFIID iid) const noexcept override {
        return IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, __uuidof(__kelFieldCallBack));
    }

    long heard_ = 0;
};

// Asks for one key after the other, in an order that no cache likes.
Batch LookUp(const Ptr<IDispatch>& object, DISPID id, const std::vector<Str>& keys) {
    NamedCall call{object, id, DISPATCH_PROPERTYGET, {Borrowed(keys[0])}};
    return Repeating([call, &keys, at = std::size_t{0}]() mutable {
        constexpr std::size_t kStride = 7919;
        at = (at + kStride) % keys.size();
        call.arguments[0] = Borrowed(keys[at]);
        call();
    });
}

void CompareLists(const Ptr<IDispatch>& dictionary, long size) {
    constexpr long kLinear = 1000;  // the ordinary collection searches; it is for lists of names
    const Client client;
    std::vector<Str> keys;
    Ptr<ListObject> list;
    *list.put() = new ListObject;
    Ptr<_Collection> collection;
    Check(client.base->GetSessionNameList(collection.put()));
    Check(collection->Remove(Var(1L).get()));
    NamedCall add{dictionary, IdOf(dictionary.get(), L"Add"), DISPATCH_METHOD, {}};
    NamedCall{dictionary, IdOf(dictionary.get(), L"RemoveAll"), DISPATCH_METHOD, {}}();
    for (long i = 0; i < size; ++i) {
        keys.emplace_back(Numbered(i));
        const Var key(keys.back().view());
        Var value(i);
        list->list.Add(value.get(), keys.back().view());
        Check(client.session->put_CommonValue(keys.back().get(), value.get()));
        add.arguments = {value.get(), key.get()};
        add();
        if (size <= kLinear) {
            const auto none = Var::Missing();
            Check(collection->Add(value.get(), key.get(), none.get(), none.get()));
        }
    }
    const Ptr<IDispatch> session(client.session);
    const std::string suffix = ", " + std::to_string(size) + " keys";
    const Way other{"Scripting.Dictionary.Item",
                    LookUp(dictionary, IdOf(dictionary.get(), L"Item"), keys)};
    Compare({"keyed list" + suffix, LookUp(list, DISPID_VALUE, keys)}, other, 1);
    Compare({"session.CommonValue" + suffix,
             LookUp(session, IdOf(session.get(), L"CommonValue"), keys)},
            other);
    if (size <= kLinear) {
        Compare({"Collection.Item" + suffix, LookUp(collection, DISPID_VALUE, keys)}, other);
    }
}

}  // namespace

void MeasureCollections() {
    PrintHead("look-up by key, late bound");
    Ptr<IDispatch> dictionary;
    if (!binding::Ignoring([&] { dictionary = Create<IDispatch>(L"Scripting.Dictionary"); })) {
        std::printf("*** THERE IS NO Scripting.Dictionary HERE: NOTHING TO COMPARE WITH ***\n");
        return;
    }
    for (const long size : {10L, 1000L, 100000L}) {
        CompareLists(dictionary, size);
    }
}

void MeasureEvents() {
    constexpr DISPID kRefresh = 1;
    PrintHead("an event: FldRefresh");
    const Client client;
    const Str control(L"txtName");
    const Str place(L"8");
    Ptr<IConnectionPoint> point;
    Check(client.field.as<IConnectionPointContainer>()->FindConnectionPoint(
        __uuidof(__kelFieldCallBack), point.put()));
    for (const int listeners : {1, 10, 100}) {
        std::vector<Ptr<IDispatch>> sinks;
        std::vector<DWORD> cookies;
        for (int i = 0; i < listeners; ++i) {
            *sinks.emplace_back().put() = new Sink;
            Check(point->Advise(sinks.back().get(), &cookies.emplace_back()));
        }
        const auto raise = [&] {
            Check(client.field->FldRefresh(control.get(), place.get(), place.get(), place.get()));
        };
        std::array arguments{Borrowed(place), Borrowed(place), Borrowed(place)};
        const auto loop = [&] {
            for (const auto& sink : sinks) {
                DISPPARAMS params{arguments.data(), nullptr, 3, 0};
                Check(sink->Invoke(
                    kRefresh, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr));
            }
        };
        Compare({std::to_string(listeners) + " listening", Repeating(raise)},
                {"a loop of Invoke", Repeating(loop)});
        for (const DWORD cookie : cookies) {
            Check(point->Unadvise(cookie));
        }
    }
}

}  // namespace kel::bench
