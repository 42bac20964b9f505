// Look-up by key against the platform's dictionary object, and events against a plain loop.
#include <array>
#include <cstdio>

#include "automation/com_method.h"
#include "bench/client.h"
#include "core/fast_collection.h"

namespace kel::bench {
namespace {

// The private list behind a late-bound default property, so that both are called the same way.
class ListObject final : public FieldListener {
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

private:
    void Hear(DISPID, const demo::Arguments&) override {}
};

class Sink final : public FieldListener {
private:
    void Hear(DISPID, const demo::Arguments&) override { ++heard_; }
    long heard_ = 0;
};

// Asks for one key after the other, in an order that no cache likes.
Batch LookUp(const ComPtr<IDispatch>& object, DISPID id, const std::vector<Bstr>& keys) {
    NamedCall call{object, id, DISPATCH_PROPERTYGET, {Borrowed(keys[0])}};
    return Repeating([call, &keys, at = std::size_t{0}]() mutable {
        constexpr std::size_t kStride = 7919;
        at = (at + kStride) % keys.size();
        call.arguments[0] = Borrowed(keys[at]);
        call();
    });
}

void CompareLists(const ComPtr<IDispatch>& dictionary, long size) {
    constexpr long kLinear = 1000;  // the ordinary collection searches; it is for lists of names
    const Client client;
    std::vector<Bstr> keys;
    const auto list = ComPtr<ListObject>::Adopt(new ListObject);
    ComPtr<_Collection> collection;
    Check(client.base->GetSessionNameList(collection.put()));
    Check(collection->Remove(Variant(1L).get()));
    NamedCall add{dictionary, IdOf(dictionary.get(), L"Add"), DISPATCH_METHOD, {}};
    NamedCall{dictionary, IdOf(dictionary.get(), L"RemoveAll"), DISPATCH_METHOD, {}}();
    for (long i = 0; i < size; ++i) {
        keys.emplace_back(Numbered(i));
        const Variant key(keys.back().view());
        Variant value(i);
        list->list.Add(value.get(), keys.back().view());
        Check(client.session->put_CommonValue(keys.back().get(), value.get()));
        add.arguments = {value.get(), key.get()};
        add();
        if (size <= kLinear) {
            const auto none = Variant::Missing();
            Check(collection->Add(value.get(), key.get(), none.get(), none.get()));
        }
    }
    const ComPtr<IDispatch> session(client.session);
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
    ComPtr<IDispatch> dictionary;
    if (!automation::Ignoring([&] { dictionary = Create<IDispatch>(L"Scripting.Dictionary"); })) {
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
    const Bstr control(L"txtName");
    const Bstr place(L"8");
    for (const int listeners : {1, 10, 100}) {
        std::vector<ComPtr<IDispatch>> sinks;
        std::vector<demo::Subscription> subscriptions;
        for (int i = 0; i < listeners; ++i) {
            const auto sink = ComPtr<Sink>::Adopt(new Sink);
            subscriptions.emplace_back(*client.field, *sink);
            sinks.emplace_back(sink);
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
    }
}

}  // namespace kel::bench
