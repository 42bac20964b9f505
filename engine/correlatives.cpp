// Having a correlative evaluated by the back-end, or by the program that it names.
#include "engine/correlatives.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr TextView kCallWord = L"CALL";

// The second blank-separated word of a text.
TextView SecondWord(TextView text) {
    const std::size_t blank = text.find(L' ');
    if (blank == TextView::npos) {
        return {};
    }
    const TextView rest = text.substr(blank + 1);
    return rest.substr(0, rest.find(L' '));
}

}  // namespace

Text Correlatives::derive(const Element& element, const Input& input) {
    const FieldItem& item = *element.item;
    Text correlative = item.text(&_kelDictItem::get_InternalCorrelative);
    if (correlative.empty()) {
        correlative = item.text(&_kelDictItem::get_Correlative);
    }
    Bstr internalForm;
    Text derived = derive(element, correlative, input, internalForm);
    if (!internalForm.view().empty()) {
        CallOut([&] { return item.object().put_InternalCorrelative(internalForm.get()); });
    }
    return derived;
}

Text Correlatives::derive(const Element& element, TextView correlative, const Input& input) {
    Bstr unwanted;
    return derive(element, correlative, input, unwanted);
}

Text Correlatives::derive(const Element& element,
                          TextView correlative,
                          const Input& input,
                          Bstr& internalForm) {
    if (correlative.empty()) {
        return Text(View(input.value));
    }
    const auto record = states_.EnsureKeyFieldInfo(element.keyId, element.key);
    ComPtr<IDispatch> array = record->state.dynamicArray;
    const Bstr recordKey(input.key.empty() ? TextView(record->state.recNo) : input.key);
    const Bstr fileName(RecordStates::fileName(
        element.item ? element.item->text(&_kelDictItem::get_FileName) : Text(),
        record.get(),
        element.key));

    if (LowerEquals(correlative.substr(0, kCallWord.size()), Lower(kCallWord))) {
        const Bstr program(SecondWord(correlative));
        Variant changing{View(input.value)};
        Bstr errorText;
        programs_.run(element.keyId, program.get(), changing.inOut(), errorText.inOut(), false);
        return errorText.view().empty() ? Text(changing.text().view()) : Text();
    }

    const auto evaluator = host_.host();
    const Bstr written(correlative);
    Bstr derived;
    CallOut([&] {
        return evaluator->ProcessCorrelative(array.inOut(),
                                             input.value,
                                             recordKey.get(),
                                             fileName.get(),
                                             input.cnt,
                                             written.get(),
                                             internalForm.inOut(),
                                             derived.put());
    });
    return Text(derived.view());
}

}  // namespace kel::engine
