// A key field as a form knows it: the record that its controls share, read, written and undone as a
// whole.
#pragma once

#include "apps/binding/client.h"
#include "apps/binding/events.h"

namespace kel::binding {

// How text goes into records and comes out of them. A record's marks are characters that some
// languages use as letters, so a program may give these letters other codes inside records.
struct Letters {
    std::function<std::wstring(std::wstring_view)> toRecord = [](std::wstring_view text) {
        return std::wstring(text);
    };
    std::function<std::wstring(std::wstring_view)> fromRecord = toRecord;
};

enum class ReadAnswer { kFound = 0, kNew = 1, kLocked = 2, kRefused = 3 };

class KeyField {
public:
    // Ties the key field `keyId` to a session, by name, and to the file that holds its records.
    KeyField(Base base,
             std::wstring session,
             std::wstring keyId,
             std::wstring fileName,
             Letters letters = {});
    KeyField(const KeyField&) = delete;
    KeyField& operator=(const KeyField&) = delete;

    const std::wstring& session() const { return session_; }
    const std::wstring& keyId() const { return keyId_; }
    const std::wstring& fileName() const { return fileName_; }
    const Letters& letters() const { return letters_; }
    // What raises the key field's events.
    _kelFieldCallBack& callback() const { return callback_.raw(); }
    // Follows a change of name that an event told.
    void sessionChanged(std::wstring session);
    void keyIdChanged(std::wstring keyId);

    // Reads a record, with its lock if asked. A lock on another record, taken by an earlier read,
    // is given up first.
    ReadAnswer read(const std::wstring& id, bool lock);
    // Writes the buffer; keeps the lock if there is one.
    //   false  there is no id to write it under
    bool write();
    // Deletes the record and begins a new one.
    void remove();
    // Begins a new, empty record.
    void clear();
    // Drops every change made since the record was read or begun.
    void undo();
    // Gives up the lock.
    void release();

    std::wstring id() const;
    bool isRead() const;
    bool isNew() const;
    bool isChanged() const;
    bool hasLock() const { return hasLock_; }

    // Asks every control of the key field to show its value again.
    void refresh() const;

private:
    Ptr<_kelInfo> info() const;
    Tools tools() const;
    void empty() const;

    const Base base_;
    std::wstring session_;
    std::wstring keyId_;
    const std::wstring fileName_;
    const Letters letters_;
    const Field callback_;
    Ptr<_kelDictItem> item_;  // attribute 0: the record's id
    bool hasLock_ = false;
};

}  // namespace kel::binding
