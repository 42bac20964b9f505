// The dictionary item: binds one control to one field of a key field's record.
#pragma once

#include "automation/object.h"
#include "kelEngine.h"
#include "kelSDK.h"

namespace kel::client {

using automation::Bstr;
using automation::ComPtr;
using automation::Text;

// What a client writes into an item, and the dictionary fills in.
struct FieldDefinition {
    long amc = 0;
    long vmc = 0;
    long smc = 0;
    Text dictName;
    Text conversion;
    Text correlative;
    Text internalCorrelative;  // the back-end's own form of the correlative
    Text justification;
    long length = 0;
    Text label;
    Text keyId;
    Text fileName;
    bool readU = false;
    bool writeU = false;
    short readType = 0;
    Text session;    // used when the key field is tied to none
    Text readKeyId;  // "" stands for keyId
    Text controlType;
    Text controlName;
    bool updateOnly = false;
    Text defaultProg;
    Text validationProg;
    Text errMsg;
};

// Holds names only and finds its session at every call: the key field's registered session, else
// the one in its Session property. The engine takes it as the description of a field.
class DictItem final : public automation::Object<kelDictItem, _kelDictItem, IDictItemState> {
public:
    DictItem() = default;

    FieldDefinition definition;

    // dict_item.cpp: the definition, its state and the way to the session
    STDMETHODIMP get_AMC(long* result) noexcept override;
    STDMETHODIMP put_AMC(long value) noexcept override;
    STDMETHODIMP get_VMC(long* result) noexcept override;
    STDMETHODIMP put_VMC(long value) noexcept override;
    STDMETHODIMP get_SMC(long* result) noexcept override;
    STDMETHODIMP put_SMC(long value) noexcept override;
    STDMETHODIMP get_DictName(BSTR* result) noexcept override;
    STDMETHODIMP put_DictName(BSTR value) noexcept override;
    STDMETHODIMP get_Conversion(BSTR* result) noexcept override;
    STDMETHODIMP put_Conversion(BSTR value) noexcept override;
    STDMETHODIMP get_Correlative(BSTR* result) noexcept override;
    STDMETHODIMP put_Correlative(BSTR value) noexcept override;
    STDMETHODIMP get_InternalCorrelative(BSTR* result) noexcept override;
    STDMETHODIMP put_InternalCorrelative(BSTR value) noexcept override;
    STDMETHODIMP get_Justification(BSTR* result) noexcept override;
    STDMETHODIMP put_Justification(BSTR value) noexcept override;
    STDMETHODIMP get_Length(long* result) noexcept override;
    STDMETHODIMP put_Length(long value) noexcept override;
    STDMETHODIMP get_Label(BSTR* result) noexcept override;
    STDMETHODIMP put_Label(BSTR value) noexcept override;
    STDMETHODIMP get_KeyId(BSTR* result) noexcept override;
    STDMETHODIMP put_KeyId(BSTR value) noexcept override;
    STDMETHODIMP get_FileName(BSTR* result) noexcept override;
    STDMETHODIMP put_FileName(BSTR value) noexcept override;
    STDMETHODIMP get_ReadU(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_ReadU(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_WriteU(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_WriteU(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_ReadType(short* result) noexcept override;
    STDMETHODIMP put_ReadType(short value) noexcept override;
    STDMETHODIMP get_Session(BSTR* result) noexcept override;
    STDMETHODIMP put_Session(BSTR value) noexcept override;
    STDMETHODIMP get_ReadKeyId(BSTR* result) noexcept override;
    STDMETHODIMP put_ReadKeyId(BSTR value) noexcept override;
    STDMETHODIMP get_ControlType(BSTR* result) noexcept override;
    STDMETHODIMP put_ControlType(BSTR value) noexcept override;
    STDMETHODIMP get_ControlName(BSTR* result) noexcept override;
    STDMETHODIMP put_ControlName(BSTR value) noexcept override;
    STDMETHODIMP get_UpdateOnly(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_UpdateOnly(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_DefaultProg(BSTR* result) noexcept override;
    STDMETHODIMP put_DefaultProg(BSTR value) noexcept override;
    STDMETHODIMP get_ValidationProg(BSTR* result) noexcept override;
    STDMETHODIMP put_ValidationProg(BSTR value) noexcept override;
    STDMETHODIMP get_ErrMsg(BSTR* result) noexcept override;
    STDMETHODIMP put_ErrMsg(BSTR value) noexcept override;
    STDMETHODIMP get_DictRead(enumDictRead* result) noexcept override;
    STDMETHODIMP get_DictErrMsg(BSTR* result) noexcept override;
    STDMETHODIMP InitalizeDictItem() noexcept override;
    STDMETHODIMP Tools(_kelTools** result) noexcept override;
    STDMETHODIMP mvInfo(_kelInfo** result) noexcept override;
    STDMETHODIMP mvReadInfo(_kelInfo** result) noexcept override;
    STDMETHODIMP get_CommonValue(BSTR commonName, VARIANT* result) noexcept override;
    STDMETHODIMP put_CommonValue(BSTR commonName, VARIANT* value) noexcept override;
    STDMETHODIMP get_CommonObject(BSTR commonName, IDispatch** result) noexcept override;
    STDMETHODIMP putref_CommonObject(BSTR commonName, IDispatch** value) noexcept override;

    // dict_item_records.cpp: the whole record
    STDMETHODIMP ReadRecord(short* result) noexcept override;
    STDMETHODIMP WriteRecord(short* result) noexcept override;
    STDMETHODIMP DeleteRecord() noexcept override;
    STDMETHODIMP ClearRecord() noexcept override;
    STDMETHODIMP Count(short* result) noexcept override;
    STDMETHODIMP CallProg(BSTR progName, BSTR progType, BSTR* value) noexcept override;

    // dict_item_values.cpp: the field's value and rows
    STDMETHODIMP get_InternalValue(short index, BSTR* result) noexcept override;
    STDMETHODIMP put_InternalValue(short index, BSTR value) noexcept override;
    STDMETHODIMP get_ExternalValue(short index, BSTR* result) noexcept override;
    STDMETHODIMP put_ExternalValue(short index, BSTR value) noexcept override;
    STDMETHODIMP get_DisplayValue(EnumDisplayType displayType,
                                  BSTR* description,
                                  BSTR value,
                                  short index,
                                  BSTR* result) noexcept override;
    STDMETHODIMP InsertRow(BSTR value, short rowToInsertAt) noexcept override;
    STDMETHODIMP RemoveRow(short index) noexcept override;

    // IDictItemState: for the engine
    STDMETHODIMP
    GetAddress(LPWSTR* keyId, long* keyUnits, long* amc, long* vmc, long* smc) noexcept override;
    STDMETHODIMP SetDictRead(long state) noexcept override;
    STDMETHODIMP SetDictErrMsg(BSTR message) noexcept override;

private:
    // Which position a row index stands for while a row is addressed.
    enum class RowLevel { kNone, kAttribute, kValue, kSubvalue };
    class RowOverride;

    ~DictItem() override = default;

    long effective(RowLevel level, long stored) const noexcept {
        return rowLevel_ == level ? rowIndex_ : stored;
    }
    long effectiveAmc() const noexcept { return effective(RowLevel::kAttribute, definition.amc); }
    Text readKeyId() const {
        return definition.readKeyId.empty() ? definition.keyId : definition.readKeyId;
    }

    // The item's session, "" when there is none.
    Text sessionName() const;
    // The engine of a session, under any spelling; throws 381.
    static ComPtr<_kelDBMS> engineOf(automation::TextView session);
    // The state of a key field's record; throws 91 when the engine has none to give.
    static ComPtr<_kelInfo> recordState(_kelDBMS& engine, automation::TextView keyId);
    static Text recNoOf(_kelDBMS& engine, automation::TextView keyId);

    Bstr extract(_kelDBMS& engine);
    Bstr internalValue(_kelDBMS& engine);
    void letInternalValue(_kelDBMS& engine, BSTR value);
    // The stored form in a session; an index of 0 stays within the row override in force.
    Bstr valueOfRow(automation::TextView session, short index) noexcept;

    enumDictRead dictRead_ = DictReadPending;
    Text dictErrMsg_;
    RowLevel rowLevel_ = RowLevel::kNone;
    short rowIndex_ = 0;
};

}  // namespace kel::client
