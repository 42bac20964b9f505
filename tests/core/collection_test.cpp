// The automation collection as its clients use it: by name, by For Each, and while it changes.
#include "core/collection.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/core/witness.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

using automation::Make;
using CollectionPtr = ComPtr<core::Collection>;

ErrorFields Failure(long number) {
    return {number, L"kelSDK", automation::StandardText(number)};
}

Dispatch Client(const CollectionPtr& collection) {
    return Dispatch(static_cast<_Collection*>(collection.get()));
}

CollectionPtr Filled() {
    auto collection = Make<core::Collection>();
    const Dispatch client = Client(collection);
    for (const wchar_t* name : {L"Anna", L"Bert", L"Cleo"}) {
        EXPECT_TRUE(client.call(L"Add", {name, name}).ok());
    }
    return collection;
}

ComPtr<IEnumVARIANT> EnumeratorOf(const CollectionPtr& collection) {
    const Outcome outcome = Client(collection).invoke(DISPID_NEWENUM, DISPATCH_PROPERTYGET, {});
    EXPECT_EQ(outcome.code, S_OK);
    return outcome.value.object<IEnumVARIANT>();
}

// What For Each would see from here on.
Text Rest(IEnumVARIANT& all) {
    Text seen;
    for (Variant item; all.Next(1, item.put(), nullptr) == S_OK;) {
        seen += (seen.empty() ? L"" : L" ") + Shown(item.get());
    }
    return seen;
}

Text Order(const CollectionPtr& collection) {
    return Rest(*EnumeratorOf(collection));
}

TEST(Collection, AddsWhereItIsTold) {
    struct Case {
        Arguments place;
        TextView order;
    };
    const Case cases[] = {
        {{}, L"Anna Bert Cleo X"},
        {{Named(L"Before", 1)}, L"X Anna Bert Cleo"},
        {{Variant::Missing(), L"CLEO"}, L"Anna Bert X Cleo"},
        {{Named(L"After", 3)}, L"Anna Bert Cleo X"},
        {{Variant::Missing(), Variant::Missing(), L"anna"}, L"Anna X Bert Cleo"},
        {{Named(L"Key", L"k"), Named(L"After", 1)}, L"Anna X Bert Cleo"},
        {{Named(L"Key", L""), Named(L"Before", 2)}, L"Anna X Bert Cleo"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const auto collection = Filled();
        Arguments arguments{L"X"};
        arguments.insert(arguments.end(), one.place.begin(), one.place.end());
        EXPECT_EQ(Client(collection).call(L"Add", arguments).code, S_OK);
        EXPECT_EQ(Order(collection), one.order);
    }
}

TEST(Collection, RaisesTheClassicErrors) {
    struct Case {
        const wchar_t* member;
        Arguments arguments;
        long number;
    };
    DATE today = 1;
    LONGLONG tooLarge = 0x100000001;
    const Case cases[] = {
        {L"Item", {4}, 9},
        {L"Item", {1e12}, 9},
        {L"Item", {L"nobody"}, 5},
        {L"Item", {Variant()}, 13},
        {L"Item", {true}, 9},
        {L"Item", {ByRef(VT_DATE, &today)}, 13},
        {L"Item", {ByRef(VT_I8, &tooLarge)}, 9},
        {L"Remove", {0}, 9},
        {L"Remove", {L"nobody"}, 5},
        {L"Add", {L"X", L"BERT"}, 457},
        {L"Add", {L"X", 17}, 13},
        {L"Add", {L"X", Variant::Missing(), 4}, 9},
        {L"Add", {L"X", Variant::Missing(), L"nobody"}, 5},
        {L"Add", {L"X", Variant::Missing(), Variant::Missing(), 0}, 9},
        {L"Add", {L"X", Variant::Missing(), 1, 1}, 5},
        {L"Add", {L"X", L"bert", 1}, 457},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const auto collection = Filled();
        const Dispatch client = Client(collection);
        const bool isItem = TextView(one.member) == L"Item";
        const Outcome outcome =
            isItem ? client.get(one.member, one.arguments) : client.call(one.member, one.arguments);
        EXPECT_EQ(outcome.code, DISP_E_EXCEPTION);
        EXPECT_EQ(outcome.error, Failure(one.number));
        EXPECT_EQ(V_VT(&outcome.value.get()), VT_EMPTY);
        EXPECT_EQ(Order(collection), L"Anna Bert Cleo");
    }
}

// Delphi counts in 32 bits without sign, PowerShell in 64, VBA in currency now and then.
TEST(Collection, CountsInWhateverNumbersItsClientsHave) {
    for (const VARTYPE type : {VT_I1,
                               VT_UI1,
                               VT_I2,
                               VT_UI2,
                               VT_I4,
                               VT_UI4,
                               VT_INT,
                               VT_UINT,
                               VT_I8,
                               VT_UI8,
                               VT_R4,
                               VT_R8,
                               VT_CY,
                               VT_DECIMAL}) {
        SCOPED_TRACE(type);
        Variant second = Value(2);
        ASSERT_EQ(VariantChangeType(second.inOut(), second.inOut(), 0, type), S_OK);
        const auto collection = Filled();
        const Dispatch client = Client(collection);
        EXPECT_EQ(client.get(L"Item", {second}).text(), L"Bert");
        EXPECT_EQ(client.get(L"Item", {ByRef(second)}).text(), L"Bert");
        EXPECT_TRUE(client.call(L"Add", {L"X", Variant::Missing(), second}).ok());
        EXPECT_TRUE(client.call(L"Remove", {second}).ok());
        EXPECT_TRUE(client.call(L"Remove", {second}).ok());
        EXPECT_EQ(Order(collection), L"Anna Cleo");
    }
}

TEST(Collection, KeepsTheContractOfEnumerators) {
    const auto all = EnumeratorOf(Filled());
    VARIANT items[4];
    ULONG fetched = 99;
    EXPECT_EQ(all->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(all->Next(2, items, &fetched), S_OK);
    EXPECT_EQ(fetched, 2U);
    EXPECT_EQ(Shown(items[1]), L"Bert");
    VariantClear(&items[0]);
    VariantClear(&items[1]);
    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(all->Clone(clone.put()), S_OK);
    EXPECT_EQ(all->Next(4, items, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U);
    VariantClear(&items[0]);
    EXPECT_EQ(Rest(*clone), L"Cleo");
    EXPECT_EQ(all->Skip(1), S_FALSE);
    EXPECT_EQ(all->Reset(), S_OK);
    EXPECT_EQ(all->Skip(2), S_OK);
    EXPECT_EQ(Rest(*all), L"Cleo");
}

TEST(Collection, MayChangeDuringAWalk) {
    auto collection = Filled();
    const Dispatch client = Client(collection);
    const auto all = EnumeratorOf(collection);
    Variant item;
    ASSERT_EQ(all->Next(1, item.put(), nullptr), S_OK);
    client.call(L"Remove", {2});
    client.call(L"Add", {L"Dora"});
    EXPECT_EQ(Rest(*all), L"Cleo Dora");
    while (client.call(L"Remove", {1}).ok()) {
    }
    EXPECT_EQ(Rest(*all), L"");
    EXPECT_EQ(all->Skip(1), S_FALSE) << "the place lies behind the end now";
    client.call(L"Add", {L"Emil"});
    all->Reset();
    EXPECT_EQ(Rest(*all), L"Emil");
    collection.reset();
    EXPECT_EQ(all->Reset(), S_OK);
    EXPECT_EQ(Rest(*all), L"Emil") << "a walk keeps its collection";
}

TEST(Collection, GivesAWalkEachItemOnce) {
    struct Case {
        const char* what;
        std::function<void(const Dispatch&, const Variant&)> step;  // after each item
        TextView seen;
        TextView left;
    };
    const auto remove = [](const Dispatch& client, const Variant& item) {
        EXPECT_TRUE(client.call(L"Remove", {item}).ok());
    };
    const Case cases[] = {
        {"the item just given goes", remove, L"Anna Bert Cleo", L""},
        {"one comes before it",
         [](const Dispatch& client, const Variant& item) {
             client.call(L"Add", {L"new", Variant::Missing(), item});
         },
         L"Anna Bert Cleo",
         L"new Anna new Bert new Cleo"},
        {"all up to it go",
         [](const Dispatch& client, const Variant& item) {
             while (client.get(L"Item", {item}).ok()) {
                 client.call(L"Remove", {1});
             }
         },
         L"Anna Bert Cleo",
         L""},
        {"all go",
         [](const Dispatch& client, const Variant&) {
             while (client.call(L"Remove", {1}).ok()) {
             }
         },
         L"Anna",
         L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        const auto collection = Filled();
        const auto all = EnumeratorOf(collection);
        Text seen;
        for (Variant item; all->Next(1, item.put(), nullptr) == S_OK && seen.size() < 100;) {
            seen += (seen.empty() ? L"" : L" ") + Shown(item.get());
            one.step(Client(collection), item);
        }
        EXPECT_EQ(seen, one.seen);
        EXPECT_EQ(Order(collection), one.left);
    }
}

// An object whose AddRef and Release run its owner's code.
class Restless final : public MuteObject {
public:
    STDMETHODIMP_(ULONG) AddRef() noexcept override {
        const ULONG count = MuteObject::AddRef();
        act();
        return count;
    }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        act();
        return MuteObject::Release();
    }

    std::function<void()> action;

private:
    ~Restless() override = default;
    void act() {
        if (action) {
            std::exchange(action, nullptr)();
        }
    }
};

TEST(Collection, StandsItemsThatChangeItWhileTheyComeAndGo) {
    const auto grow = [](const Dispatch& client) {
        for (int i = 0; i < 20; ++i) {
            client.call(L"Add", {L"more", L"more" + std::to_wstring(i), 1});
        }
    };
    const auto clear = [](const Dispatch& client) {
        while (client.call(L"Remove", {1}).ok()) {
        }
    };
    const std::function<void(const Dispatch&)> changes[] = {grow, clear};
    struct Case {
        const char* what;
        // What is done to a collection with the restless item in second place, under the key "it".
        std::function<void(const Dispatch&, const Variant&)> work;
    };
    const Case cases[] = {
        {"Add before an index",
         [](const Dispatch& client, const Variant& it) {
             client.call(L"Add", {it, L"again", 4});
         }},
        {"Add behind a key",
         [](const Dispatch& client, const Variant& it) {
             client.call(L"Add", {it, L"again", Named(L"After", L"it")});
         }},
        {"Add under a key that is there",
         [](const Dispatch& client, const Variant& it) {
             client.call(L"Add", {it, L"it"});
         }},
        {"Remove by index",
         [](const Dispatch& client, const Variant&) { client.call(L"Remove", {2}); }},
        {"Remove by key",
         [](const Dispatch& client, const Variant&) { client.call(L"Remove", {L"it"}); }},
        {"Item", [](const Dispatch& client, const Variant&) { client.get(L"Item", {2}); }},
        {"a walk",
         [](const Dispatch& client, const Variant&) {
             const auto all = client.invoke(DISPID_NEWENUM, DISPATCH_PROPERTYGET, {})
                                  .value.object<IEnumVARIANT>();
             Rest(*all);
         }},
    };
    for (const Case& one : cases) {
        for (const auto& change : changes) {
            SCOPED_TRACE(one.what);
            SCOPED_TRACE(&change - changes);
            const auto collection = Filled();
            const Dispatch client = Client(collection);
            const auto restless = ComPtr<Restless>::Adopt(new Restless());
            const Variant it = Value(static_cast<IDispatch*>(restless.get()));
            client.call(L"Add", {it, L"it", 2});
            restless->action = [&] { change(client); };
            one.work(client, it);
            EXPECT_FALSE(restless->action) << "nothing has happened";

            // What is left is whole: a walk finds as many as are counted, and new keys are found.
            ULONG seen = 0;
            const auto all = EnumeratorOf(collection);
            for (Variant item; all->Next(1, item.put(), nullptr) == S_OK;) {
                ++seen;
            }
            EXPECT_EQ(client.get(L"Count").text(), std::to_wstring(seen));
            EXPECT_TRUE(client.call(L"Add", {L"last", L"last"}).ok());
            EXPECT_EQ(client.get(L"Item", {L"LAST"}).text(), L"last");
            EXPECT_TRUE(client.call(L"Remove", {L"last"}).ok());
            clear(client);
            EXPECT_EQ(client.get(L"Item", {L"it"}).error.number, 5);
        }
    }
}

TEST(Collection, LetsGoOfItsItemsWhileItStillWorks) {
    Witness::Log gone;
    auto collection = Filled();
    _Collection* const bare = collection.get();
    Text counts;
    for (const wchar_t* name : {L"a", L"b"}) {
        const auto leaving = Witness::Make(name, gone);
        leaving->onRelease = [&] {
            const Dispatch client(bare);
            counts += client.get(L"Count").text() + L" ";
            client.call(L"Add", {L"late", L"late"});
        };
        Client(collection).call(L"Add", {leaving.get(), name});
    }
    collection.reset();
    EXPECT_EQ(gone.take(), L"a b");
    EXPECT_EQ(counts, L"0 1 ");
}

}  // namespace
}  // namespace kel::tests
