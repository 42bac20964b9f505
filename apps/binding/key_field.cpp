// Reading, writing and undoing through the dictionary item of the id.
#include "apps/binding/key_field.h"

namespace kel::binding {

KeyField::KeyField(
    Base base, std::wstring session, std::wstring keyId, std::wstring fileName, Letters letters)
    : base_(std::move(base)),
      session_(std::move(session)),
      keyId_(std::move(keyId)),
      fileName_(std::move(fileName)),
      letters_(std::move(letters)),
      callback_(base_.GetFieldCallBack(keyId_)),
      item_(Create<_kelDictItem>(L"kelSDK.kelDictItem")) {
    const Str key(keyId_);
    const Str name(session_);
    const Str file(fileName_);
    base_.SetKeyFieldSession(keyId_, session_);
    base_.SetKeyFieldFileName(keyId_, fileName_);
    Check(item_->put_KeyId(key.get()));
    Check(item_->put_Session(name.get()));
    Check(item_->put_FileName(file.get()));
    // Giving the item an id is to look a record up; beginning a new one is clear().
    Check(item_->put_UpdateOnly(VARIANT_TRUE));
}

void KeyField::sessionChanged(std::wstring session) {
    session_ = std::move(session);
    Check(item_->put_Session(Str(session_).get()));
}

void KeyField::keyIdChanged(std::wstring keyId) {
    keyId_ = std::move(keyId);
    Check(item_->put_KeyId(Str(keyId_).get()));
}

ReadAnswer KeyField::read(const std::wstring& id, bool lock) {
    if (hasLock_ && id != this->id()) {
        release();
    }
    Check(item_->put_ReadU(Flag(lock)));
    Check(item_->put_ExternalValue(0, Str(id).get()));
    const auto answer =
        static_cast<ReadAnswer>(Ask<short>([&](short* to) { return item_->ReadRecord(to); }));
    // The id of a record that does not exist yet can be locked as well.
    hasLock_ = lock && !id.empty() && (answer == ReadAnswer::kFound || answer == ReadAnswer::kNew);
    return answer;
}

bool KeyField::write() {
    Check(item_->put_WriteU(Flag(hasLock_)));
    if (Ask<short>([&](short* to) { return item_->WriteRecord(to); }) != 0) {
        return false;
    }
    // Writing leaves the state of the buffer to its owner.
    const auto state = info();
    Check(state->put_IsNew(VARIANT_FALSE));
    Check(state->put_IsChanged(VARIANT_FALSE));
    refresh();
    return true;
}

void KeyField::remove() {
    Check(item_->DeleteRecord());
    hasLock_ = false;
    clear();
}

// An empty text in the place of the whole record, unchanged so far.
void KeyField::empty() const {
    tools().Replace(keyId_, {}, 0);
    Check(info()->put_IsChanged(VARIANT_FALSE));
}

void KeyField::clear() {
    if (hasLock_) {
        release();
    }
    if (!isRead()) {
        // What was typed into a buffer that was not read survives ClearRecord.
        empty();
    }
    Check(item_->ClearRecord());
}

void KeyField::undo() {
    if (isRead()) {
        read(id(), hasLock_);
    } else {
        empty();
        refresh();
    }
}

void KeyField::release() {
    tools().mvRelease(keyId_);
    hasLock_ = false;
}

std::wstring KeyField::id() const {
    return AskText([&](BSTR* to) { return info()->get_RecNo(to); });
}

bool KeyField::isRead() const {
    return AskFlag([&](VARIANT_BOOL* to) { return info()->get_IsRead(to); });
}

bool KeyField::isNew() const {
    return AskFlag([&](VARIANT_BOOL* to) { return info()->get_IsNew(to); });
}

bool KeyField::isChanged() const {
    return AskFlag([&](VARIANT_BOOL* to) { return info()->get_IsChanged(to); });
}

void KeyField::refresh() const {
    base_.RefreshFieldCallback(keyId_);
}

Ptr<_kelInfo> KeyField::info() const {
    return AskObject<_kelInfo>([&](_kelInfo** to) { return item_->mvInfo(to); });
}

Tools KeyField::tools() const {
    return Tools(AskObject<_kelTools>([&](_kelTools** to) { return item_->Tools(to); }));
}

}  // namespace kel::binding
