// The cycle of a record: read into a key field's buffer, written, deleted, begun anew, released.
#pragma once

#include <optional>

#include "engine/field_item.h"
#include "engine/file_variables.h"
#include "engine/host_link.h"
#include "engine/record_states.h"

namespace kel::engine {

// Which record buffer a member is about: of an item, or named directly. An item is asked for more
// when that is needed.
class RecordField {
public:
    // Both throw kObjectError + 1 with `source` for an empty key field.
    RecordField(IDispatch* item, const wchar_t* source);
    RecordField(BSTR keyId, BSTR fileName, bool readU, const wchar_t* source);

    const Text& keyId() const noexcept { return keyId_; }
    const Text& key() const noexcept { return key_; }  // lower case
    Text fileName() const { return item_ ? item_->text(&_kelDictItem::get_FileName) : fileName_; }
    short readType() const { return item_ ? item_->readType() : short{0}; }
    bool readU() const { return item_ ? item_->flag(&_kelDictItem::get_ReadU) : readU_; }

private:
    std::optional<FieldItem> item_;
    Text keyId_;
    Text key_;
    Text fileName_;
    bool readU_ = false;
};

// A failure of a member reaches its caller, and what was set so far stays set, but for release()
// and for what the controls do when they are told. One thread.
class Records {
public:
    Records(HostLink& host, RecordStates& states, FileVariables& files) noexcept
        : host_(host), states_(states), files_(files) {}

    // 0 found, 1 not found or no file, 2 locked by another, 3 refused by the item's kind of read.
    short read(const RecordField& field, TextView recordNumber);
    // 0 written, 1 without a file or a record number. Failures have the source "kelDBMS::mvWrite".
    short write(const RecordField& field, TextView recordNumber, bool writeU);
    // The buffer stays as it is; what to do with it is the listeners' business.
    void remove(const RecordField& field, TextView recordNumber);
    // Turns the buffer into a new record; what the user has typed into an unread one is kept.
    void begin(const RecordField& field, TextView recordNumber);
    // Gives up the lock of the record in the buffer. Never fails, opens and makes nothing.
    void release(const RecordField& field) noexcept;

private:
    struct Opened;
    // The file of a buffer, which then knows its name; none without a name.
    std::optional<Opened> openFile(const RecordField& field);

    HostLink& host_;
    RecordStates& states_;
    FileVariables& files_;
};

// A record's buffer and its open file.
struct Records::Opened {
    ComPtr<RecordInfo> record;
    ComPtr<IDispatch> fileVar;
};

}  // namespace kel::engine
