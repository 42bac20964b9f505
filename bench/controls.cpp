// Forms at work: controls bound to fields of one record, each showing its value again whenever it
// is told to.
#include <cstdio>

#include "bench/client.h"
#include "bench/usage.h"

namespace kel::bench {
namespace {

// A form over a record of the embedded back-end, and the same back-end bare.
class Form {
public:
    explicit Form(int controls) {
        for (int i = 0; i < controls; ++i) {
            controls_.push_back(
                std::make_unique<Control>(*client.field, client.item(1 + i % kFields)));
        }
        const Str path(account.path);
        Check(host->put_PropertyValue(Str(L"Database").get(), path.get()));
        Check(host->Connect());
        Check(host->OpenFile(client.file.get(), file.put()));
        Check(host->CreateDynamicArray(Str(SampleRecord()).get(), array.put()));
        Check(client.tools->mvRead(client.key.get(), id.get(), client.file.get()));
    }

    // What all controls together ask of the back-end.
    void showAll(IDispatch** record) const {
        for (std::size_t i = 0; i < controls_.size(); ++i) {
            Str value;
            const auto field = static_cast<long>(1 + i % kFields);
            Check(host->Extract(record, field, 0, 0, value.put()));
        }
    }

    static constexpr int kFields = 10;
    const TemporaryAccount account;
    const Client client{account.properties()};
    const Str id{Numbered(1)};
    const Ptr<_mviHostDLL> host = Create<_mviHostDLL>(L"kelos1.IHostDLL");
    mutable Ptr<IDispatch> file;
    mutable Ptr<IDispatch> array;

private:
    std::vector<std::unique_ptr<Control>> controls_;
};

void CompareForm(int controls) {
    const Form form(controls);
    const Str value(L"Helvetia");
    const Client& client = form.client;
    const std::string suffix = ", " + std::to_string(controls) + " controls";
    Compare({"kelTools.Replace" + suffix, Repeating([&] {
                 Check(client.tools->Replace(client.key.get(), value.get(), 2, 0, 0));
             })},
            {"the back-end's calls", Repeating([&] {
                 Check(form.host->Replace(form.array.inOut(), value.get(), 2, 0, 0));
                 form.showAll(form.array.inOut());
             })});
    Compare({"kelTools.mvRead" + suffix, Repeating([&] {
                 Check(client.tools->mvRead(client.key.get(), form.id.get(), client.file.get()));
             })},
            {"the back-end's calls", Repeating([&] {
                 short status = 0;
                 Ptr<IDispatch> record;
                 Check(form.host->mvRead(
                     VARIANT_FALSE, form.id.get(), form.file.inOut(), &status, record.put()));
                 form.showAll(record.inOut());
             })});
}

}  // namespace

void MeasureControls() {
    PrintHead("a form over kelos1");
    for (const int controls : {0, 1, 10, 100}) {
        CompareForm(controls);
    }
}

void MeasureIdleSession() {
    constexpr int kKeyFields = 100;
    constexpr std::size_t kKilo = 1024;
    const TemporaryAccount account;
    const Usage before = UsageNow();
    const Client client(account.properties());
    std::vector<Ptr<_kelFieldCallBack>> fields;
    for (int i = 0; i < kKeyFields; ++i) {
        const Str name(Numbered(i));
        Check(client.base->GetFieldCallBack(name.get(), fields.emplace_back().put()));
        Check(client.base->SetKeyFieldSession(name.get(), Str(kSession).get()));
        Check(client.tools->Replace(name.get(), Str(SampleRecord()).get(), 0, 0, 0));
    }
    const Usage after = UsageNow();
    std::printf(
        "\nan idle session with %d key fields and a record in each: %zu KB in heaps, "
        "%zu KB of working set\n",
        kKeyFields,
        (after[kInHeaps] - before[kInHeaps]) / kKilo,
        (after[kWorkingSet] - before[kWorkingSet]) / kKilo);
}

}  // namespace kel::bench
