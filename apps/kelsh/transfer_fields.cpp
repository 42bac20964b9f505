// Columns looked up in the file's dictionary by a dictionary item each.
#include "apps/kelsh/transfer_fields.h"

#include "apps/kelsh/text.h"
#include "hosts/multivalue/text/error.h"

namespace kel::kelsh {

using binding::Ask;
using binding::AskText;
using binding::Check;
using binding::Str;
using transfer::TransferField;

// A definition is read through the session of a key field that the registry knows.
SessionFields::SessionFields(Connection& connection, Text file)
    : connection_(connection), file_(std::move(file)) {
    connection.base().GetFieldCallBack(kTransferKey);
    connection.base().SetKeyFieldSession(kTransferKey, connection.name());
}

std::optional<TransferField> SessionFields::Find(text::TextView column) {
    if (auto field = numbered_.Find(column)) {
        return field;
    }
    const auto item = binding::Create<_kelDictItem>(L"kelSDK.kelDictItem");
    Check(item->put_KeyId(Str(kTransferKey).get()));
    Check(item->put_Session(Str(connection_.name()).get()));
    Check(item->put_FileName(Str(file_).get()));
    Check(item->put_DictName(Str(Wide(column)).get()));
    Check(item->InitalizeDictItem());
    if (Ask<enumDictRead>([&](enumDictRead* to) { return item->get_DictRead(to); }) !=
        DictReadInitalized) {
        return std::nullopt;
    }
    TransferField field;
    field.column = column;
    const long attribute = Ask<long>([&](long* to) { return item->get_AMC(to); });
    const bool isComputed = !AskText([&](BSTR* to) { return item->get_Correlative(to); }).empty();
    field.attribute = isComputed ? -1 : static_cast<std::int32_t>(attribute);
    field.isNumber = AskText([&](BSTR* to) { return item->get_Justification(to); }) == L"R";
    named_[field.column] = {item, AskText([&](BSTR* to) { return item->get_Conversion(to); })};
    return field;
}

const SessionFields::Named* SessionFields::named(const TransferField& field) const {
    const auto found = named_.find(field.column);
    return found == named_.end() ? nullptr : &found->second;
}

text::Text SessionFields::ToStored(const TransferField& field, text::TextView shown) {
    const Named* known = named(field);
    if (known == nullptr || known->conversion.empty() || shown.empty()) {
        return text::Text(shown);
    }
    try {
        return Units(connection_.tools().Iconv(Wide(shown), known->conversion));
    } catch (const binding::Error& error) {
        throw text::Error(text::ErrorKind::kBadData, Units(error.description()));
    }
}

text::Text SessionFields::ToShown(const TransferField& field, text::TextView stored) {
    const Named* known = named(field);
    return known == nullptr || known->conversion.empty() || stored.empty()
               ? text::Text(stored)
               : Units(connection_.tools().Oconv(Wide(stored), known->conversion));
}

text::Text SessionFields::Stored(const TransferField& field,
                                 text::TextView id,
                                 text::TextView record) {
    const Named* known = named(field);
    if (known == nullptr || field.attribute >= 0) {
        return TransferFields::Stored(field, id, record);
    }
    return Units(AskText([&](BSTR* to) { return known->item->get_InternalValue(0, to); }));
}

}  // namespace kel::kelsh
