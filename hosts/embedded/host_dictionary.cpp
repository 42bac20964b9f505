// Definitions of fields, and correlatives, of the embedded back-end.
#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"
#include "hosts/multivalue/correlative.h"

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
        const auto file = multivalue::RequireFile(connection().store(), Units(fileName));
        const auto item =
            multivalue::FindDictionaryItem(connection().around(), file.name, Units(dictName));
        if (!item || item->kind != multivalue::DictionaryItem::Kind::kField) {
            throw Error(mvItemNotFound,
                        kHostSource,
                        Text(L"There is no field \"").append(View(dictName)) +
                            L"\" in the dictionary of file " + Text(Wide(file.name)) + L".");
        }
        const multivalue::DictionaryForm form = multivalue::FormOf(*item);
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
        multivalue::Store& store = connection().store();
        const auto file = multivalue::RequireFile(store, Units(fileName));
        const multivalue::Text name = multivalue::DictionaryFileName(file.name);
        const auto found = store.FindFile(name);
        const multivalue::FileNumber dictionary = found ? *found : store.CreateFile(name);
        multivalue::Text existing;
        store.Read(dictionary, Units(dictName), existing);
        const multivalue::DictionaryForm form{static_cast<std::int32_t>(amc),
                                              multivalue::Text(Units(conversion)),
                                              multivalue::Text(Units(label)),
                                              multivalue::Text(Units(justification)),
                                              multivalue::Text(Units(correlative)),
                                              length};
        store.Write(
            dictionary,
            Units(dictName),
            multivalue::WriteDictionaryItem(form, connection().around().OwnFamily(), existing),
            multivalue::AfterWrite::kRelease);
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
        const auto buffer = RecordBufferObject::From(Require(array));
        const multivalue::TextView internal = Units(Require(internalCorrelative));
        // Clients hand the internal form of an earlier call back in either place.
        const multivalue::TextView given =
            multivalue::IsWrittenProgram(internal) ? internal : Units(correlative);
        multivalue::Text compiled(given);
        if (!multivalue::IsWrittenProgram(given)) {
            const auto file =
                fileName == nullptr
                    ? multivalue::Text()
                    : multivalue::RequireFile(connection().store(), Units(fileName)).name;
            compiled = multivalue::WriteProgram(
                multivalue::CompileCorrelative(given, file, connection().around()));
        }
        multivalue::RecordFields fields;
        if (buffer) {
            fields.Read(buffer->content.array);
        }
        multivalue::EvaluationInput input;
        input.record = &fields;
        input.id = Units(key);
        input.value = Units(value);
        input.position = cnt;
        out = Wide(connection().evaluator(compiled).Evaluate(input));
        if (compiled != internal) {
            Assign(internalCorrelative, Wide(compiled));
        }
    });
}

STDMETHODIMP Host::ValidCorrelative(BSTR correlative, VARIANT_BOOL* result) noexcept {
    return HostMember(L"ValidCorrelative", [&] {
        Out out{result};
        out = multivalue::IsValidCorrelative(Units(correlative));
    });
}

}  // namespace kel::embedded
