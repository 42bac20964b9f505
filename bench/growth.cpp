// What the cost of one step does as the things that it may depend on become more.
#include <cstdio>

#include "bench/client.h"

namespace kel::bench {
namespace {

constexpr long kSizes[] = {10, 100, 1000, 10000};

// A client with an account of its own, and what a row adds to it.
struct Place {
    TemporaryAccount account;
    Client client{[this] {
        Properties properties = account.properties();
        properties[L"Durability"] = L"Off";  // the disk is not what is measured
        return properties;
    }()};
    std::vector<Ptr<IUnknown>> kept;
    std::vector<binding::Subscription> subscriptions;

    void execute(const Text& sentence) const {
        Str output;
        Str codes;
        const Str text(sentence);
        Check(client.tools->Execute(text.get(), output.inOut(), codes.inOut()));
    }
    void read(const Text& id, const Text& file) const {
        Check(client.tools->mvRead(client.key.get(), Str(id).get(), Str(file).get()));
    }
    Batch reading(const Text& id, const Text& file) const {
        return Repeating([this, id, file] { read(id, file); });
    }
};

Batch Sessions(Place& place, long size) {
    Ptr<_kelSessionCallBack> session;
    for (long i = 0; i < size; ++i) {
        Check(place.client.base->GetSessionCallBack(Str(Numbered(i)).get(), session.put()));
        place.kept.emplace_back(session);
    }
    const auto name = std::make_shared<Str>(Numbered(size - 1));
    return Repeating([&place, name] {
        Ptr<_kelSessionCallBack> found;
        Check(place.client.base->GetSessionCallBack(name->get(), found.put()));
    });
}

Batch KeyFields(Place& place, long size) {
    const Str session(kSession);
    for (long i = 0; i < size; ++i) {
        Check(place.client.base->SetKeyFieldSession(Str(Numbered(i)).get(), session.get()));
    }
    std::vector<Ptr<_kelDictItem>> items;
    for (const long i : {size - 1, size - 2}) {  // two in turn, so that no memory of the last helps
        const Str name(Numbered(i));
        Check(place.client.tools->Replace(name.get(), Str(SampleRecord()).get(), 0, 0, 0));
        auto item = Create<_kelDictItem>(L"kelSDK.kelDictItem");
        Check(item->put_KeyId(name.get()));
        Check(item->put_AMC(2));
        items.push_back(std::move(item));
    }
    return Repeating([items, at = std::size_t{0}]() mutable {
        at = 1 - at;
        Str value;
        Check(items[at]->get_ExternalValue(0, value.put()));
    });
}

Batch Controls(Place& place, long size) {
    for (long i = 0; i < size; ++i) {
        place.subscriptions.push_back(binding::Listen(
            *place.client.field, [](binding::FieldEvent, const binding::Arguments&) {}));
    }
    return Repeating([&place, value = std::make_shared<Str>(L"Helvetia")] {
        Check(place.client.tools->Replace(place.client.key.get(), value->get(), 2, 0, 0));
    });
}

Batch FileVariables(Place& place, long size) {
    for (long i = 0; i < size; ++i) {
        const Text file = L"F" + std::to_wstring(i);
        place.execute(L"CREATE-FILE " + file);
        place.read(L"1", file);
    }
    return place.reading(L"1", L"F" + std::to_wstring(size - 1));
}

void FillAttributes(const Place& place, long size) {
    Text record = L"an attribute";
    for (long i = 1; i < size; ++i) {
        record += L"\u00FEan attribute";
    }
    Check(place.client.tools->Replace(place.client.key.get(), Str(record).get(), 0, 0, 0));
}

// Attributes in an order that nothing can foresee cheaply.
template <typename Step>
Batch AtAttributes(long size, Step step) {
    return Repeating([size, step, at = 0L]() mutable {
        constexpr long kStride = 7919;
        at = (at + kStride) % size;
        step(at + 1);
    });
}

Batch Extracting(Place& place, long size) {
    FillAttributes(place, size);
    return AtAttributes(size, [&place](long at) {
        Str value;
        Check(place.client.tools->Extract(place.client.key.get(), at, 0, 0, value.put()));
    });
}

Batch Replacing(Place& place, long size) {
    FillAttributes(place, size);
    return AtAttributes(size, [&place, value = std::make_shared<Str>(L"another one")](long at) {
        Check(place.client.tools->Replace(place.client.key.get(), value->get(), at, 0, 0));
    });
}

Batch Records(Place& place, long size) {
    const Str file(L"GROWING");
    place.execute(L"CREATE-FILE GROWING");
    Check(place.client.tools->Replace(place.client.key.get(), Str(SampleRecord()).get(), 0, 0, 0));
    for (long i = 0; i < size; ++i) {
        Check(place.client.tools->mvWrite(
            place.client.key.get(), Str(Numbered(i)).get(), file.get()));
    }
    return place.reading(Numbered(size / 2), L"GROWING");
}

struct Row {
    const char* step;
    const char* grows;
    Batch (*prepare)(Place& place, long size);
    long most;
};

// Sessions and open files are heavy things of which nobody has ten thousand.
constexpr Row kRows[] = {{"GetSessionCallBack", "sessions", Sessions, 1000},
                         {"ExternalValue", "key fields", KeyFields, 10000},
                         {"Replace", "bound controls", Controls, 10000},
                         {"mvRead", "open files", FileVariables, 1000},
                         {"Extract at random", "attributes", Extracting, 10000},
                         {"Replace at random", "attributes", Replacing, 10000},
                         {"mvRead", "records", Records, 10000}};

}  // namespace

void MeasureGrowth() {
    std::printf("\nns of a step with so many %16s", "");
    for (const long size : kSizes) {
        std::printf("%10ld", size);
    }
    for (const Row& row : kRows) {
        std::printf("\n%-24s%-18s", row.step, row.grows);
        for (const long size : kSizes) {
            if (size > row.most) {
                std::printf("%10s", "-");
                continue;
            }
            Place place;
            std::printf("%10.0f", MedianNs(row.prepare(place, size)));
            std::fflush(stdout);
        }
    }
    std::printf("\n");
}

}  // namespace kel::bench
