// Columns of imported and exported data, by way of the component.
#pragma once

#include <map>
#include <vector>

#include "apps/kelsh/connection.h"
#include "apps/kelsh/transfer/transfer.h"

namespace kel::kelsh {

// The key field that transfers work in.
inline constexpr const wchar_t* kTransferKey = L"kelsh.transfer";

// "@ID", numbers of attributes, and names in the file's dictionary. Values of a named field are
// converted; a computed one can be exported only.
class SessionFields final : public transfer::TransferFields {
public:
    SessionFields(Connection& connection, Text file);

    std::optional<transfer::TransferField> Find(text::TextView column) override;
    text::Text ToStored(const transfer::TransferField& field, text::TextView shown) override;
    text::Text ToShown(const transfer::TransferField& field, text::TextView stored) override;
    // Of a computed field: what the component computes of the record in the key field.
    text::Text Stored(const transfer::TransferField& field,
                      text::TextView id,
                      text::TextView record) override;

private:
    struct Named {
        binding::Ptr<_kelDictItem> item;
        Text conversion;
    };

    const Named* named(const transfer::TransferField& field) const;

    Connection& connection_;
    const Text file_;
    transfer::NumberedFields numbered_;
    std::map<text::Text, Named> named_;
};

}  // namespace kel::kelsh
