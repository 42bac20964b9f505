// Definitions of fields, and correlatives, of the embedded back-end.
#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"
#include "hosts/multivalue/expression/correlative.h"
#include "hosts/multivalue/store/files.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

STDMETHODIMP Host::ReadDictItem(BSTR fileName,
                                BSTR dictName,
                                long* amc,
                                BSTR* conversion,
                                BSTR* label,
                                BSTR* justification,
                                BSTR* correlative,
                                short* length) noexcept {
    return HostMember(L"ReadDictItem", [&] {
        Require(amc);
        Require(length);
        const auto held = connection();
        const auto file = store::RequireFile(held->store(), Units(fileName));
        const auto item =
            expression::FindDictionaryItem(held->environment(), file.name, Units(dictName));
        if (!item || item->kind != expression::DictionaryItem::Kind::kField) {
            throw Error(mvItemNotFound,
                        kHostSource,
                        Text(L"There is no field \"").append(View(dictName)) +
                            L"\" in the dictionary of file " + Text(Wide(file.name)) + L".");
        }
        const expression::DictionaryForm form = expression::FormOf(*item);
        Assign(conversion, Wide(form.conversion));
        Assign(label, Wide(form.heading));
        Assign(justification, Wide(form.justification));
        Assign(correlative, Wide(form.correlative));
        *amc = form.attribute;
        *length = static_cast<short>(std::min<std::int32_t>(form.width, SHRT_MAX));
    });
}

STDMETHODIMP Host::WriteDictItem(BSTR fileName,
                                 BSTR dictName,
                                 long amc,
                                 BSTR conversion,
                                 BSTR label,
                                 BSTR justification,
                                 BSTR correlative,
                                 short length) noexcept {
    return HostMember(L"WriteDictItem", [&] {
        const auto held = connection();
        store::Store& store = held->store();
        const auto file = store::RequireFile(store, Units(fileName));
        const text::Text name = store::DictionaryFileName(file.name);
        const auto found = store.FindFile(name);
        const store::FileNumber dictionary = found ? *found : store.CreateFile(name);
        text::Text existing;
        store.Read(dictionary, Units(dictName), existing);
        const expression::DictionaryForm form{static_cast<std::int32_t>(amc),
                                              text::Text(Units(conversion)),
                                              text::Text(Units(label)),
                                              text::Text(Units(justification)),
                                              text::Text(Units(correlative)),
                                              length};
        store.Write(
            dictionary,
            Units(dictName),
            expression::WriteDictionaryItem(form, held->environment().OwnFamily(), existing),
            store::AfterWrite::kRelease);
    });
}

// The internal form spares compiling on every later call; one that is none, or of an earlier
// version, is made anew.
STDMETHODIMP Host::ProcessCorrelative(IDispatch** array,
                                      BSTR value,
                                      BSTR key,
                                      BSTR fileName,
                                      short cnt,
                                      BSTR correlative,
                                      BSTR* internalCorrelative,
                                      BSTR* result) noexcept {
    return HostMember(L"ProcessCorrelative", [&] {
        Out out{result};
        const auto held = connection();
        const auto buffer = RecordBufferObject::From(Require(array));
        // A copy: the variable is the caller's, who may change it in a program of the correlative.
        const text::Text internal(Units(Require(internalCorrelative)));
        // Clients hand the internal form of an earlier call back in either place.
        const text::TextView given = expression::IsWrittenExpression(internal)
                                         ? text::TextView(internal)
                                         : Units(correlative);
        text::Text compiled(given);
        if (!expression::IsWrittenExpression(given)) {
            const auto file = fileName == nullptr
                                  ? text::Text()
                                  : store::RequireFile(held->store(), Units(fileName)).name;
            compiled = expression::WriteExpression(
                expression::CompileCorrelative(given, file, held->environment()));
        }
        text::RecordFields fields;
        if (buffer) {
            fields.Read(buffer->content.array);
        }
        expression::EvaluationInput input;
        input.record = &fields;
        input.id = Units(key);
        input.value = Units(value);
        input.position = cnt;
        Bstr computed;
        held->run([&] { computed = held->evaluate(compiled, input); });
        out = std::move(computed);
        if (compiled != internal) {
            Assign(internalCorrelative, Wide(compiled));
        }
    });
}

STDMETHODIMP Host::ValidCorrelative(BSTR correlative, VARIANT_BOOL* result) noexcept {
    return HostMember(L"ValidCorrelative", [&] {
        Out out{result};
        out = expression::IsValidCorrelative(Units(correlative));
    });
}

}  // namespace kel::embedded
