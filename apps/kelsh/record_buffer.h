// The one record that the shell works on, in a key field of its own.
//
// On a line, values of an attribute are parted by "|" and subvalues by "~"; a backslash before one
// of them makes it a character like others. It is the notation of cells in CSV.
#pragma once

#include <vector>

#include "apps/binding/dict_item.h"
#include "apps/kelsh/connection.h"

namespace kel::kelsh {

// An attribute as people read it, and back.
Text AsTyped(TextView stored);
Text AsStored(TextView typed);

struct Position {
    long amc = 0;
    long vmc = 0;
    long smc = 0;
};

// "3", "3.2" or "3.2.1". Throws std::runtime_error.
Position PositionIn(const Text& text);

class RecordBuffer {
public:
    // As the component numbers the outcomes of reading.
    enum class Found : short { kFound, kMissing, kLocked, kRefused };

    explicit RecordBuffer(Connection& connection);

    // A record that is missing leaves an empty buffer under its id, a new record.
    Found Read(const Text& file, const Text& id, bool lock);
    void Write(const Text& id, bool keepLock);  // an empty id: the one it was read under
    void Delete();
    void Release();

    bool isOpen() const { return !file_.empty(); }
    const Text& file() const { return file_; }
    const Text& id() const { return id_; }
    bool isChanged() const { return isChanged_; }

    Text Extract(const Position& at) const;
    void Replace(const Position& at, TextView value);
    void Insert(const Position& at, TextView value);
    void Remove(const Position& at);
    std::vector<Text> Attributes() const;  // stored, without empty ones at the end
    void ReplaceAll(const std::vector<Text>& attributes);

private:
    Connection& connection_;
    binding::DictItem key_;
    Text file_;
    Text id_;
    bool isChanged_ = false;
};

}  // namespace kel::kelsh
