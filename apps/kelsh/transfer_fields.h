// Columns of imported and exported data, by way of the component.
#pragma once

#include <map>
#include <vector>

#include "apps/kelsh/connection.h"
#include "hosts/multivalue/transfer/transfer.h"

namespace kel::kelsh {

// The key field that transfers work in.
inline constexpr const wchar_t* kTransferKey = L"kelsh.transfer";

// "@ID", numbers of attributes, and names in the file's dictionary. Values of a named field are
// converted; a computed one can be exported only.
class SessionFields final : public multivalue::TransferFields {
public:
    SessionFields(Connection& connection, Text file);

    std::optional<multivalue::TransferField> Find(multivalue::TextView column) override;
    multivalue::Text ToStored(const multivalue::TransferField& field,
                              multivalue::TextView shown) override;
    multivalue::Text ToShown(const multivalue::TransferField& field,
                             multivalue::TextView stored) override;
    // Of a computed field: what the component computes of the record in the key field.
    multivalue::Text Stored(const multivalue::TransferField& field,
                            multivalue::TextView id,
                            multivalue::TextView record) override;

private:
    struct Named {
        ComPtr<_kelDictItem> item;
        Text conversion;
    };

    const Named* named(const multivalue::TransferField& field) const;

    Connection& connection_;
    const Text file_;
    multivalue::NumberedFields numbered_;
    std::map<multivalue::Text, Named> named_;
};

}  // namespace kel::kelsh
